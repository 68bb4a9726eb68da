#!/usr/bin/env bash
# Creates the executable images that the tests read:
#
#   tests/providers/make-images.sh FOLDER DOWNLOADS
#
# in FOLDER, unless they exist: files of Debian's packages, and some of them signed with keys that
# are created here. DOWNLOADS keeps the packages; once they are there, no network is needed.
set -euo pipefail
export LC_ALL=C

# shim-signed: two signatures, time stamped. grub: megabytes. memtest86+: PE32 with sections in
# unusual places. win32-loader: overlapping sections. libz: sizes that need padding.
readonly packages=(shim-signed grub-efi-amd64-signed memtest86+ win32-loader libz-mingw-w64)

fail() {
  echo "make-images.sh: $*" >&2
  exit 1
}

unpack() {
  local package root=$work/root
  for package in "${packages[@]}"; do
    dpkg-deb -x "$("$project/tools/fetch-package.sh" "$package" "$downloads")" "$root"
  done
  cp "$root/usr/lib/shim/shimx64.efi.signed" "$made/shim.efi"
  cp "$root/usr/lib/grub/x86_64-efi-signed/grubx64.efi.signed" "$made/grub.efi"
  cp "$root/boot/memtest86+ia32.efi" "$made/memtest32.efi"
  cp "$root/boot/memtest86+x64.efi" "$made/memtest64.efi"
  cp "$root/usr/share/win32/win32-loader.exe" "$made/overlapping.exe"
  cp "$root/usr/x86_64-w64-mingw32/lib/zlib1.dll" "$made/zlib64.dll"
  cp "$root/usr/i686-w64-mingw32/lib/zlib1.dll" "$made/zlib32.dll"
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

# "earlier-issuer" has the name of "issuer" but another key; "stranger" belongs to no chain.
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

end() {  # STATUS
  rm -rf "$work"
  [[ $1 -eq 0 ]] || fail "the images couldn't be created:
$(tail -n 20 "$folder/log")"
}

[[ $# -eq 2 ]] || fail "usage: make-images.sh FOLDER DOWNLOADS"
for program in dpkg-deb openssl osslsigncode sbsign flock; do
  command -v "$program" >/dev/null ||
    fail "$program is missing; see Debian's packages dpkg, openssl, osslsigncode, sbsigntool and util-linux"
done
mkdir -p "$1" "$2"
folder=$(cd "$1" && pwd)
downloads=$(cd "$2" && pwd)
if [[ $folder/made -nt ${BASH_SOURCE[0]} ]]; then exit 0; fi

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
work=$(mktemp -d)
made=$work/made
mkdir "$made"
# Not in a condition: there, bash would ignore a command that fails.
trap 'end $?' EXIT
{
  unpack
  cd "$work"
  certificates
  sign_all
} >"$folder/log" 2>&1
cp "$made"/* "$folder"
touch "$folder/made"
