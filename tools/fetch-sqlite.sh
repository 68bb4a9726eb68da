#!/usr/bin/env bash
# Makes SQLite's amalgamation from Debian's source package:
#
#   tools/fetch-sqlite.sh FOLDER
#
# Creates FOLDER with sqlite3.c, sqlite3.h and LICENSE.md. If it has them already, nothing is done and
# no network is needed.
set -euo pipefail
export LC_ALL=C

readonly version=3.40.1

fail() {
  echo "fetch-sqlite.sh: $*" >&2
  exit 1
}

is_complete() {
  [[ -f $1/sqlite3.c && -f $1/LICENSE.md ]] && grep -qs "^#define SQLITE_VERSION  *\"$version\"" "$1/sqlite3.h"
}

# FOLDER: leaves the three files there; the header, which has the version, comes last.
install_files() {
  mkdir -p "$1"
  local file
  for file in LICENSE.md sqlite3.c sqlite3.h; do mv "$work/sqlite/$file" "$1" || return; done
}

[[ $# -eq 1 ]] || fail "usage: fetch-sqlite.sh FOLDER"
if is_complete "$1"; then exit 0; fi
for program in apt-get dpkg-source make cc tclsh; do
  command -v "$program" >/dev/null || fail "$program is missing (Debian: dpkg-dev, gcc, tcl). Install" \
    "it, or put sqlite3.c, sqlite3.h and LICENSE.md of SQLite $version into $1."
done
mkdir -p "$(dirname "$1")"
work=$(mktemp -d -p "$(cd "$(dirname "$1")" && pwd)")
trap 'rm -rf "$work"' EXIT
"$(dirname "$0")"/fetch-source.sh sqlite3 "$version" "$work/sqlite"
# main.mk needs no configuration.
if ! make -C "$work/sqlite" -f main.mk TOP=. BCC=cc TCC=cc TCLSH_CMD=tclsh sqlite3.c >"$work/log" 2>&1; then
  tail -n 20 "$work/log" >&2
  fail "the amalgamation of SQLite can't be made."
fi
install_files "$1"
