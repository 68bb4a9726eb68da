#!/usr/bin/env bash
# Unpacks one of Debian's source packages:
#
#   tools/fetch-source.sh NAME VERSION FOLDER
#
# Creates FOLDER with the package's sources. If it exists, nothing is done and no network is needed.
# VERSION: the upstream version. The machine's own package lists aren't changed.
set -euo pipefail
export LC_ALL=C

readonly keyring=/usr/share/keyrings/debian-archive-keyring.gpg
readonly mirror=http://deb.debian.org/debian
readonly release=bookworm

fail() {
  echo "fetch-source.sh: $*" >&2
  exit 1
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
    (cd "$work" && private_apt source --download-only "$name") &&
    dpkg-source -x "$work/${name}"_*.dsc "$work/unpacked"
}

[[ $# -eq 3 ]] || fail "usage: fetch-source.sh NAME VERSION FOLDER"
readonly name=$1 version=$2 folder=$3
if [[ -d $folder ]]; then exit 0; fi
for program in apt-get dpkg-source; do
  command -v "$program" >/dev/null || fail "$program is missing (Debian: dpkg-dev)"
done
mkdir -p "$(dirname "$folder")"
work=$(mktemp -d -p "$(cd "$(dirname "$folder")" && pwd)")
trap 'rm -rf "$work"' EXIT
if ! download >"$work/log" 2>&1; then
  tail -n 20 "$work/log" >&2
  fail "the source package $name can't be downloaded from $mirror. This needs a network, once."
fi
found=$(sed -n 's/^Version: \(.*:\)\{0,1\}\(.*\)-[^-]*$/\2/p' "$work/${name}"_*.dsc)
[[ $found == "$version" ]] || fail "$release has $name $found; Larder is built with $version."
mv "$work/unpacked" "$folder"
