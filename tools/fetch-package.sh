#!/usr/bin/env bash
# Downloads a Debian binary package without installing it, and prints the file's path:
#
#   tools/fetch-package.sh NAME FOLDER
#
# FOLDER is created and keeps the packages; a package that is there isn't downloaded again. Several
# instances may run at the same time.
set -euo pipefail
export LC_ALL=C

fail() {
  echo "fetch-package.sh: $*" >&2
  exit 1
}

there() { find "$folder" -maxdepth 1 -name "${name}_*.deb" -print -quit; }

# If the package lists are missing or out of date, root can update them.
fetch() {
  local options=(-q -o APT::Sandbox::User=root -o Acquire::Retries=3)
  (cd "$1" && apt-get "${options[@]}" download "$name") && return
  [[ $(id -u) -eq 0 ]] && apt-get "${options[@]}" -o DPkg::Lock::Timeout=300 update &&
    (cd "$1" && apt-get "${options[@]}" download "$name")
}

download() {
  local log=$folder/$name.log part=$folder/part
  rm -rf "$part"
  mkdir "$part"
  if ! fetch "$part" >"$log" 2>&1; then
    cat "$log" >&2
    fail "the package $name can't be downloaded, and none is in $folder." \
      "This needs Debian's package lists (apt-get update) and a network, once."
  fi
  mv "$part"/*.deb "$folder"
}

[[ $# -eq 2 ]] || fail "usage: fetch-package.sh NAME FOLDER"
name=$1
mkdir -p "$2"
folder=$(cd "$2" && pwd)
exec 9>"$folder/.lock"
flock 9
if [[ -z $(there) ]]; then download; fi
there
