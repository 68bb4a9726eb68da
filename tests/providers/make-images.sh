#!/usr/bin/env bash
# Makes the executable images that the tests read:
#
#   tests/providers/make-images.sh FOLDER DOWNLOADS
#
# FOLDER holds them afterwards: files of Debian's packages as their makers signed them (or didn't),
# and some of these signed anew with keys that are made here. The packages are only unpacked, not
# installed. DOWNLOADS keeps them, for all presets; with them there no network is needed. Nothing is
# done if the images are there already.
set -euo pipefail
export LC_ALL=C

# shim-signed: two signatures side by side, time stamped. grub: megabytes. memtest86+: PE32 without
# any section's usual place. win32-loader: sections that overlap. libz: sizes of any remainder.
readonly packages=(shim-signed grub-efi-amd64-signed memtest86+ win32-loader libz-mingw-w64)

fail() {
  echo "make-images.sh: $*" >&2
  exit 1
}

# PATH NAME: a file of the unpacked packages becomes an image of that name.
take() {
  [[ -f $work/root/$1 ]] || fail "no $1 in the packages of $downloads"
  cp "$work/root/$1" "$made/$2"
}

unpack() {
  local package file
  for package in "${packages[@]}"; do
    file=$("$project/tools/fetch-package.sh" "$package" "$downloads")
    dpkg-deb -x "$file" "$work/root"
  done
  take usr/lib/shim/shimx64.efi.signed shim.efi
  take usr/lib/grub/x86_64-efi-signed/grubx64.efi.signed grub.efi
  take boot/memtest86+ia32.efi memtest32.efi
  take boot/memtest86+x64.efi memtest64.efi
  take usr/share/win32/win32-loader.exe overlapping.exe
  take usr/x86_64-w64-mingw32/lib/zlib1.dll zlib64.dll
  take usr/i686-w64-mingw32/lib/zlib1.dll zlib32.dll
}

# NAME SUBJECT ISSUER EXTENSIONS: NAME.key and NAME.pem; issued by itself if the issuer is its name.
certificate() {
  local issuer=(-key "$1.key")
  if [[ $3 != "$1" ]]; then issuer=(-CA "$3.pem" -CAkey "$3.key"); fi
  openssl genpkey -quiet -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out "$1.key"
  openssl req -new -key "$1.key" -subj "/CN=$2" -out "$1.csr"
  printf '%s\nsubjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n' "$4" >"$1.ext"
  openssl x509 -req -in "$1.csr" "${issuer[@]}" -days 36500 -sha256 -extfile "$1.ext" -out "$1.pem"
  openssl x509 -in "$1.pem" -outform DER -out "$made/$1.der"
}

# "earlier-issuer" bears the name of "issuer", as an issuer does that was given a new key, and signed
# nothing here; "stranger" is of no chain, as the certificates of time stamps are.
certificates() {
  certificate root 'Images Root' root basicConstraints=critical,CA:true
  certificate earlier-issuer 'Images Issuer' root basicConstraints=critical,CA:true
  certificate issuer 'Images Issuer' root basicConstraints=critical,CA:true
  certificate signer 'Images Signer' issuer extendedKeyUsage=codeSigning
  certificate stranger 'Images Stranger' stranger extendedKeyUsage=timeStamping
  certificate lone 'Images Lone' lone extendedKeyUsage=codeSigning
  cat signer.pem issuer.pem root.pem >chain.pem
  cat earlier-issuer.pem stranger.pem >others.pem
}

# IN OUT KEY CERTIFICATES [OPTION...]
sign() {
  osslsigncode sign -key "$3.key" -certs "$4" "${@:5}" -in "$made/$1" -out "$made/$2"
}

sign_all() {
  sign zlib32.dll signed32.dll signer chain.pem -h sha512 -ac others.pem
  sign overlapping.exe signed-overlapping.exe signer chain.pem -h sha256 -ph
  sign memtest32.efi signed-memtest32.efi lone lone.pem -h md5
  sign zlib64.dll nested1 signer chain.pem -h sha1 -ac others.pem
  sign nested1 nested2 lone lone.pem -h sha256 -nest
  sign nested2 nested.dll signer chain.pem -h sha384 -nest
  rm "$made"/nested[12]
  sbsign --key signer.key --cert signer.pem --addcert chain.pem --output once.efi "$made/memtest64.efi"
  sbsign --key lone.key --cert lone.pem --output "$made/twice.efi" once.efi
}

make_all() {
  unpack
  cd "$work"
  certificates
  sign_all
}

end() {
  if [[ $1 -ne 0 ]]; then
    tail -n 20 "$folder/log" >&2
    echo "make-images.sh: the images couldn't be made; the whole log is $folder/log" >&2
  fi
  rm -rf "$work"
}

[[ $# -eq 2 ]] || fail "usage: make-images.sh FOLDER DOWNLOADS"
for program in dpkg-deb openssl osslsigncode sbsign flock; do
  command -v "$program" >/dev/null ||
    fail "$program isn't there; Debian's packages dpkg, openssl, osslsigncode, sbsigntool and util-linux have what is needed"
done
mkdir -p "$1" "$2"
folder=$(cd "$1" && pwd)
downloads=$(cd "$2" && pwd)
if [[ $folder/made -nt ${BASH_SOURCE[0]} ]]; then exit 0; fi

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
work=$(mktemp -d)
made=$work/made
mkdir "$made"
# Not in a condition: there, bash would go on behind a command that fails.
trap 'end $?' EXIT
make_all >"$folder/log" 2>&1
cp "$made"/* "$folder"
touch "$folder/made"
