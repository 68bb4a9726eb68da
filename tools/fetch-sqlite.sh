#!/usr/bin/env bash
# Makes SQLite's amalgamation from Debian's source package:
#
#   tools/fetch-sqlite.sh FOLDER
#
# Creates FOLDER with sqlite3.c, sqlite3.h and LICENSE.md. If it has them already, nothing is done and
# no network is needed. The machine's own package lists aren't changed.
set -euo pipefail
export LC_ALL=C

readonly version=3.40.1
readonly keyring=/usr/share/keyrings/debian-archive-keyring.gpg
readonly mirror=http://deb.debian.org/debian
readonly release=bookworm

fail() {
  echo "fetch-sqlite.sh: $*" >&2
  exit 1
}

is_complete() {
  [[ -f $1/sqlite3.c && -f $1/LICENSE.md ]] && grep -qs "^#define SQLITE_VERSION  *\"$version\"" "$1/sqlite3.h"
}

# Uses its own lists and sources; apt checks signatures as usual.
private_apt() {
  apt-get -q -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=- \
    -o Dir::State::Lists="$work/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache= \
    -o APT::Sandbox::User=root -o Acquire::Retries=3 "$@"
}

download() {
  mkdir -p "$work/lists/partial"
  echo "deb-src [signed-by=$keyring] $mirror $release main" >"$work/sources.list"
  private_apt -o APT::Update::Error-Mode=any update &&
    (cd "$work" && private_apt source --download-only sqlite3) &&
    dpkg-source -x "$work"/sqlite3_*.dsc "$work/sqlite"
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
if ! download >"$work/log" 2>&1; then
  tail -n 20 "$work/log" >&2
  fail "the source package sqlite3 can't be downloaded from $mirror. This needs a network, once."
fi
found=$(<"$work/sqlite/VERSION")
[[ $found == "$version" ]] || fail "$release has SQLite $found; Larder is built with $version."
# main.mk needs no configuration.
if ! make -C "$work/sqlite" -f main.mk TOP=. BCC=cc TCC=cc TCLSH_CMD=tclsh sqlite3.c >"$work/log" 2>&1; then
  tail -n 20 "$work/log" >&2
  fail "the amalgamation of SQLite can't be made."
fi
install_files "$1"
