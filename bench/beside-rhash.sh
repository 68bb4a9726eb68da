#!/usr/bin/env bash
# Compares the tool's speed with that of rhash, which computes the same five digests:
#
#   bench/beside-rhash.sh BIN FOLDER
#
# BIN contains the tool and the modules. Prints rhash's time divided by the tool's for a file of
# 256 MiB, for a signed image of that size (ten digests, rhash five), and for all files below FOLDER
# with an empty and with a full store. Each figure is the median of five turns, in which the two
# programs alternate. The folder is read once first, so that no turn waits for the disk.
set -euo pipefail
export LC_ALL=C

readonly turns=5 digests=(--md5 --sha1 --sha256 --sha384 --sha512)

larder() { LARDER_ROOT=$work/machine "$bin/larder" "$@"; }
hash_all() { rhash "${digests[@]}" "$@"; }

# COMMAND...: prints the seconds it took. Unreadable files don't matter.
seconds() {
  local TIMEFORMAT=%R
  { time "$@" >/dev/null 2>"$work/errors" || true; } 2>&1
}

median() { sort -n | sed -n "$((turns / 2 + 1))p"; }

# LABEL TURN: TURN is a function that prints the seconds of rhash and of the tool.
compare() {
  local i
  for ((i = 0; i < turns; ++i)); do "$2"; done >"$work/times"
  local theirs ours
  theirs=$(cut -d ' ' -f 1 "$work/times" | median)
  ours=$(cut -d ' ' -f 2 "$work/times" | median)
  awk -v label="$1" -v theirs="$theirs" -v ours="$ours" \
    'BEGIN { printf "%-34s rhash %7.3f s, larder %7.3f s: %.2f times\n", label, theirs, ours, theirs / ours }'
}

large_file() { echo "$(seconds hash_all "$work/large") $(seconds larder query --option 2 "$work/large")"; }
large_image() { echo "$(seconds hash_all "$work/image") $(seconds larder query --option 2 "$work/image")"; }
empty_store() {
  larder setup >/dev/null
  larder remove --data --yes >/dev/null
  echo "$(seconds hash_all -r "$folder") $(seconds larder scan "$folder")"
}
full_store() { echo "$(seconds hash_all -r "$folder") $(seconds larder scan "$folder")"; }

# A small signed image with appended bytes.
make_image() {
  local package
  package=$(tools/fetch-package.sh memtest86+ build/downloads)
  dpkg-deb -x "$package" "$work/package"
  cp "$work/package/boot/memtest86+x64.efi" "$work/unsigned"
  truncate -s $((256 << 20)) "$work/unsigned"
  openssl req -x509 -newkey rsa:2048 -nodes -keyout "$work/key" -out "$work/certificate" \
    -subj /CN=Example -days 2 2>/dev/null
  osslsigncode sign -key "$work/key" -certs "$work/certificate" -in "$work/unsigned" \
    -out "$work/image" >/dev/null
}

[[ $# -eq 2 && -x $1/larder && -d $2 ]] || { echo "usage: bench/beside-rhash.sh BIN FOLDER" >&2; exit 2; }
bin=$(cd "$1" && pwd)
folder=$(cd "$2" && pwd)
cd "$(dirname "${BASH_SOURCE[0]}")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/machine"
larder setup >/dev/null
head -c $((256 << 20)) /dev/urandom >"$work/large"
make_image

compare "256 MiB, five digests" large_file
compare "256 MiB signed image, ten digests" large_image
find "$folder" -type f -exec cat {} + >/dev/null 2>&1 || true
compare "$folder, empty store" empty_store
compare "$folder, full store" full_store
