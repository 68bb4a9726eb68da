#!/usr/bin/env bash
# Fetches the sources of LMDB, out of Debian's source package, for the Windows build:
#
#   tools/fetch-lmdb.sh FOLDER
#
# FOLDER is made and holds the unpacked package afterwards. Nothing is done if it does so already,
# and then no network is needed. The machine's own package lists stay as they are.
set -euo pipefail
export LC_ALL=C

readonly keyring=/usr/share/keyrings/debian-archive-keyring.gpg
readonly mirror=http://deb.debian.org/debian
readonly release=bookworm

fail() {
  echo "fetch-lmdb.sh: $*" >&2
  exit 1
}

# With lists and sources of its own; signatures are checked as always.
private_apt() {
  apt-get -q -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=- \
    -o Dir::State::Lists="$work/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache= \
    -o APT::Sandbox::User=root -o Acquire::Retries=3 "$@"
}

fetch() {
  mkdir -p "$work/lists/partial"
  echo "deb-src [signed-by=$keyring] $mirror $release main" >"$work/sources.list"
  private_apt -o APT::Update::Error-Mode=any update || return
  (cd "$work" && private_apt source --download-only lmdb) || return
  dpkg-source -x "$work"/lmdb_*.dsc "$work/lmdb" || return
  [[ -f $work/lmdb/libraries/liblmdb/mdb.c ]]
}

[[ $# -eq 1 ]] || fail "usage: fetch-lmdb.sh FOLDER"
if [[ -f $1/libraries/liblmdb/mdb.c ]]; then exit 0; fi
for program in apt-get dpkg-source; do
  command -v "$program" >/dev/null || fail "$program isn't there (Debian: dpkg-dev). Unpack the" \
    "sources of LMDB 0.9 into $1 by hand, so that $1/libraries/liblmdb/mdb.c is there."
done
mkdir -p "$(dirname "$1")"
work=$(mktemp -d -p "$(cd "$(dirname "$1")" && pwd)")
trap 'rm -rf "$work"' EXIT
if ! fetch >"$work/log" 2>&1; then
  tail -n 20 "$work/log" >&2
  fail "the source package of LMDB can't be had from $mirror; this needs a network, once."
fi
rm -rf "$1"
mv "$work/lmdb" "$1"
