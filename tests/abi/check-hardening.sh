#!/usr/bin/env bash
# check-hardening.sh READELF OBJDUMP FOLDER PROTECTION...: checks every program and library below
# the folder, except in its subfolder images, where tests keep foreign files. PROTECTION: stack,
# branch and fortify if the library is compiled with them. Prints each violation as FILE: TEXT and
# exits with 1.
set -euo pipefail
export LC_ALL=C
readonly readelf=$1 objdump=$2 folder=$3 protections=" ${*:4} "
failed=0 checked=0

report() {
  echo "$file: $*"
  failed=1
}

# EXPRESSION TEXT: reports the text unless $headers match.
must_have() {
  grep -qE -- "$1" <<<"$headers" || report "$2"
}

check_runpath() {
  local paths path
  paths=$(sed -nE 's/.*\((RUNPATH|RPATH)\).*\[(.*)\]$/\2/p' <<<"$headers")
  while IFS= read -r -d : path; do
    [[ $path == "\$ORIGIN" || $path == "\$ORIGIN/"* ]] || report "RUNPATH has the entry '$path'"
  done <<<"${paths:+$paths:}"
}

check_elf() {
  headers=$("$readelf" --wide --file-header --dynamic --program-headers "$file")
  check_runpath
  must_have '^ *GNU_RELRO ' 'not RELRO'
  must_have '\(BIND_NOW\)|\(FLAGS_1\).* NOW' 'not linked with -z now'
  must_have '^ *GNU_STACK .* RW +0x' 'the stack is executable'
  if grep -qE '^ *LOAD .* RWE ' <<<"$headers"; then report 'a segment is writable and executable'; fi
  must_have '^ *Type: +DYN ' 'not position-independent'
}

check_pe() {
  headers=$("$objdump" --private-headers --section-headers --wide "$file")
  must_have '^\s+DYNAMIC_BASE$' 'not DYNAMIC_BASE'
  must_have '^\s+HIGH_ENTROPY_VA$' 'not HIGH_ENTROPY_VA'
  must_have '^\s+NX_COMPAT$' 'not NX_COMPAT'
  if grep -E ' CODE' <<<"$headers" | grep -qv READONLY; then
    report 'a section is writable and executable'
  fi
}

check_file() {
  case $(head -c 4 "$file" | od -An -tx1 | tr -d ' ') in
    7f454c46) check_elf ;;
    4d5a*) check_pe ;;
    *) return ;;
  esac
  checked=$((checked + 1))
}

# WORD EXPRESSION TEXT: what the compiler leaves of a protection in the library.
check_protection() {
  [[ $protections == *" $1 "* ]] || return 0
  grep -qE -- "$2" <<<"$traces" || report "$3"
}

check_library() {
  file=$1 traces=$("$readelf" --wide --dyn-syms "$1")
  check_protection stack ' __stack_chk_fail(@|$)' 'no stack protector'
  check_protection fortify ' __[a-z]+_chk(@|$)' 'no _FORTIFY_SOURCE'
  traces=$("$objdump" --disassemble --no-show-raw-insn "$1" | grep -A 1 '<LarderQuery[^>]*>:$')
  check_protection branch 'endbr64' 'no -fcf-protection'
}

while IFS= read -r -d '' file; do check_file; done < <(find "$folder" -name images -prune -o -type f -print0)
if [[ -e $folder/liblarder.so ]]; then check_library "$folder/liblarder.so"; fi
echo "$checked files"
if ((failed)); then echo "If these are files of an earlier build: delete $folder"; fi
exit $((failed || checked < 10))
