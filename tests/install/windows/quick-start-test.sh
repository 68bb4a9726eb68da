#!/usr/bin/env bash
# Follows the quick start for Windows: quick-start-test.sh PAGE ZIP FOLDER EMULATOR PREFIX
# The page's "wine" is the emulator, with the wine prefix of the other tests.
set -euo pipefail
page=$1 zip=$2 folder=$3 emulator=$4
export WINEPREFIX=${WINEPREFIX:-$5}

rm -rf "$folder"
mkdir -p "$folder/programs"
ln -s "$emulator" "$folder/programs/wine"
cp "$zip" "$folder"
awk -v folder="$folder" -f "$(dirname "$0")/../../docs/code-of-page.awk" "$page"
cd "$folder"
PATH=$folder/programs:$PATH bash -ex on-windows.sh >out 2>&1 </dev/null || { cat out; exit 1; }

tr -d '\r' <out >lines
expect() {
  grep -q "$1" lines || { cat lines; echo "missing: $1"; exit 1; }
}
expect "^LarderInit will return Success (0)$"
expect "^$(sha256sum <facts/CMakeLists.txt | cut -d ' ' -f 1)$"
expect "my-feed-keeps-the-rules .* Passed "
expect "^type        5$"
