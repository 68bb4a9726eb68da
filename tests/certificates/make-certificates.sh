#!/usr/bin/env bash
# Generates certificates for tests with openssl. Names, serials and kinds of text are fixed; keys and
# times differ each time, and no test depends on them.
# usage: make-certificates.sh FOLDER
set -euo pipefail
mkdir -p "$1"
cd "$1"

key() {  # NAME GENPKEY-ARGUMENT...
  openssl genpkey "${@:2}" -out "$1.key" 2>genpkey.log || { cat genpkey.log >&2; return 1; }
}

# NAME SERIAL SUBJECT [REQ-ARGUMENT...]: self-signed unless the arguments name a CA. $mask chooses the
# kind of text, by default UTF8String, as openssl's ASN1_STRING_set_default_mask_asc does.
mask=0x2000
key=ed25519
certificate() {
  printf '%s\n' 'oid_section = oids' '[oids]' 'unheard-of = 1.2.3.4' '[req]' \
    'distinguished_name = dn' "string_mask = MASK:$mask" '[dn]' >"$1.cnf"
  openssl req -config "$1.cnf" -new -x509 -key "$key.key" -utf8 -days 36500 \
    -set_serial "$2" -subj "$3" "${@:4}" -outform DER -out "$1.der"
}

# NAME SERIAL ATTRIBUTE...: a certificate that openssl req can't generate, without a real signature. An
# attribute is an identifier and a value, both as openssl asn1parse -genconf takes them.
odd_certificate() {
  local name=$1 serial=$2 i
  shift 2
  {
    printf '%s\n' 'asn1=SEQUENCE:certificate' '[certificate]' 'data=SEQUENCE:data' \
      'algorithm=SEQUENCE:algorithm' 'signature=FORMAT:HEX,BITSTRING:00' '[algorithm]' \
      'id=OID:1.3.101.112' '[data]' 'version=EXPLICIT:0,INTEGER:2' "serial=$serial" \
      'algorithm=SEQUENCE:algorithm' 'issuer=SEQUENCE:none' 'validity=SEQUENCE:validity' \
      'subject=SEQUENCE:subject' 'key=SEQUENCE:key' '[none]' '[validity]' \
      'from=UTCTIME:240101000000Z' 'to=UTCTIME:440101000000Z' '[key]' \
      'algorithm=SEQUENCE:algorithm' "key=FORMAT:HEX,BITSTRING:$(printf '11%.0s' {1..32})" '[subject]'
    for ((i = 1; i < $#; i += 2)); do echo "set$i=SET:set$i"; done
    for ((i = 1; i < $#; i += 2)); do
      printf '%s\n' "[set$i]" "pair=SEQUENCE:pair$i" "[pair$i]" "id=OID:${!i}" "value=${*:i+1:1}"
    done
  } >"$name.cnf"
  openssl asn1parse -genconf "$name.cnf" -noout -out "$name.der"
}

key ed25519 -algorithm ed25519
key ecdsa -algorithm EC -pkeyopt ec_paramgen_curve:P-256
key rsa -algorithm RSA -pkeyopt rsa_keygen_bits:2048

# A chain.
certificate ca 1 '/C=US/O=Example/CN=Example CA'
openssl x509 -inform DER -in ca.der -out ca.pem
certificate signer 0x0b1f22a0 '/C=US/O=Example/CN=Example Signer' -CA ca.pem -CAkey ed25519.key

# Keys, with serials of 20 bytes and with the highest bit set.
key=rsa certificate rsa 0x0102030405060708090a0b0c0d0e0f1011121314 '/CN=Key of RSA'
key=ecdsa certificate ecdsa 0xfedcba98 '/CN=Key of ECDSA'
certificate negative -129 '/CN=Below zero'
certificate zero 0 '/CN=Zero'

# Names.
certificate keys 2 "$(printf '/%s=xy' CN O OU C L ST street title GN initials SN DC emailAddress \
  serialNumber description postalCode postOfficeBox telephoneNumber x121Address dnQualifier)" 2>keys.log ||
  { cat keys.log >&2; exit 1; }
certificate unknown-key 2 '/CN=x/UID=y/unheard-of=z'
certificate multiple 2 '/O=One/CN=Two+OU=Three/OU=Four'
certificate quotes 2 '/CN=a,b/CN=a\+b/CN=a=b/CN="a"/CN=a<b/CN=a>b/CN=a#b/CN=a;b/CN= a/CN=a\\b/CN=a\/b'
certificate blanks 2 '/CN=a /CN=a  bc'
certificate utf8 2 '/CN=Žluť €/O=ä'
mask=0x800 certificate bmp 2 '/CN=Žluť €/O=ä'
mask=0x4 certificate teletex 2 '/CN=ä/O=plain'
# 1023 characters, one more, and a character that ends with the 1024th byte.
units=$(printf '/OU=%064d' {1..14})
certificate full 2 "$units/CN=$(printf '%054d' 1)"
certificate too-long 2 "$units/CN=$(printf '%055d' 1)"
certificate cut-character 2 "$units/CN=$(printf '%053d' 1)ä"

odd_certificate empty-value INTEGER:2 2.5.4.3 UTF8: 2.5.4.10 UTF8:x
odd_certificate empty-name INTEGER:2
odd_certificate universal INTEGER:2 2.5.4.3 IMPLICIT:28U,FORMAT:HEX,OCTETSTRING:000000410001F5DD
odd_certificate teletex-utf8 INTEGER:2 2.5.4.3 IMPLICIT:20U,FORMAT:HEX,OCTETSTRING:C3A4
odd_certificate broken-utf8 INTEGER:2 2.5.4.3 IMPLICIT:12U,FORMAT:HEX,OCTETSTRING:61FF21
# "good.com", NUL, "evil"; CR LF and a field of the dump; U+202E and U+0085.
hex() { printf "$1" | od -An -tx1 -v | tr -d ' \n'; }
odd_certificate hostile INTEGER:2 \
  2.5.4.3 "IMPLICIT:12U,FORMAT:HEX,OCTETSTRING:$(hex 'good.com\x00evil')" \
  2.5.4.10 "IMPLICIT:12U,FORMAT:HEX,OCTETSTRING:$(hex 'a\r\n  fileSHA256:       ')" \
  2.5.4.11 "IMPLICIT:12U,FORMAT:HEX,OCTETSTRING:$(hex '\xe2\x80\xae\xc2\x85b')"
odd_certificate no-text INTEGER:2 2.5.4.3 FORMAT:HEX,BITSTRING:0A56CF

# A serial with more leading zero bytes than DER allows, by a patch.
certificate padded-serial 0x01020b1f '/CN=x'
LC_ALL=C sed -i 's/\x02\x04\x01\x02\x0b\x1f/\x02\x04\x00\x00\x0b\x1f/' padded-serial.der

# Not certificates.
head -c -1 signer.der >cut.der
printf 'no certificate' >text.der
rm -f ./*.key ./*.cnf ./*.log ./*.pem
