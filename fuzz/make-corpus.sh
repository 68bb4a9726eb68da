#!/usr/bin/env bash
# Generates the corpus of record-fuzz again. The committed files are its output.
# usage: fuzz/make-corpus.sh, which needs openssl
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
certificates=$(mktemp -d)
trap 'rm -rf "$certificates"' EXIT
../tests/certificates/make-certificates.sh "$certificates"
corpus=corpus/record-fuzz
mkdir -p $corpus

word() {  # NUMBER: prints 32 bits, least significant byte first
  local number=$1 i
  for i in 1 2 3 4; do
    # shellcheck disable=SC2059  # the bytes are the format
    printf "\\x$(printf %02x $((number & 255)))"
    number=$((number >> 8))
  done
}

size() { stat -c %s "$certificates/$1.der"; }

certificate() {  # LINK NAME
  word "$1"
  word "$(size "$2")"
  cat "$certificates/$2.der"
}

chain() {  # LINK; certificates follow
  word "$1"
  word 0
}

record() {  # NAME; standard input has the chains
  local chains=$certificates/chains
  cat >"$chains"
  {
    word $((384 + $(stat -c %s "$chains")))
    word 1
    head -c 376 /dev/zero
    cat "$chains"
  } >"$corpus/$1"
}

{ chain 0; word 0; word 0; } | record no-certificate
{ chain 0; certificate 0 rsa; } | record rsa
{
  chain $((8 + 8 + $(size signer) + 8 + $(size ca)))
  certificate $((8 + $(size signer))) signer
  certificate 0 ca
  chain 0
  certificate 0 ecdsa
} | record two-chains
for name in quotes bmp teletex universal empty-value unknown-key no-text; do
  { chain 0; certificate 0 $name; } | record $name
done
{ chain 0; certificate 4 negative; } | record overlapping
