#!/usr/bin/env bash
# Signs a large image: a small one of a Debian package, with appended bytes.
#
#   make-image.sh FILE SIZE
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
work=$(mktemp -d -p "$(dirname "$1")")
trap 'rm -rf "$work"' EXIT
dpkg-deb -x "$(tools/fetch-package.sh memtest86+ build/downloads)" "$work/package"
cp "$work/package/boot/memtest86+x64.efi" "$work/unsigned"
truncate -s "$2" "$work/unsigned"
openssl req -x509 -newkey rsa:2048 -nodes -keyout "$work/key" -out "$work/certificate" \
  -subj /CN=Example -days 2
osslsigncode sign -key "$work/key" -certs "$work/certificate" -in "$work/unsigned" -out "$1"
