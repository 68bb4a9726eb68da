#!/usr/bin/env bash
# BUILD PAGES PYTHON COMPILER: runs what the pages tell users of an installation to type, in an
# installation and on a machine of its own. PAGES has the code of the pages, see code-of-page.awk.
set -euo pipefail
build=$1 pages=$2 python=$3
export CXX=$4

folder=$(mktemp -d)  # its path is short, as that of the modules must be
trap 'rm -rf "$folder"' EXIT
cmake --install "$build" --prefix "$folder/prefix" >"$folder/log"
mkdir "$folder/machine" "$folder/work"
export PATH=$folder/prefix/bin:$PATH LARDER_ROOT=$folder/machine
cd "$folder/work"
echo abc >FILE

# PAGE/SECTION...: the commands of these sections, in one shell
run() {
  local section
  for section in "$@"; do
    [[ -s $pages/$section ]] || { echo "the page has no code for $section" >&2; return 1; }
  done
  if ! (cd "$pages" && cat "$@") | bash -eux >"$folder/log" 2>&1; then
    cat "$folder/log"
    return 1
  fi
}

run README/setting-up-a-machine.sh
run troubleshooting/from-symptom-to-cause.sh
run notifications/with-the-tool.sh

# The provider, in a project of its own.
cp "$pages/provider-guide/a-complete-provider.cpp" length-provider.cpp
cp "$pages/provider-guide/building-it.cmake" CMakeLists.txt
run provider-guide/{building-it,checking-it,registering-it}.sh

# The clients.
mkdir client
cp "$pages/README/a-client.cpp" client/read-facts.cpp
{
  echo "cmake_minimum_required(VERSION 3.25)"
  echo "project(read-facts LANGUAGES CXX)"
  cat "$pages/README/a-client.cmake"
} >client/CMakeLists.txt
cmake -S client -B client/build >"$folder/log"
cmake --build client/build >"$folder/log"
[[ $(client/build/read-facts FILE) == $(sha256sum <FILE | cut -d ' ' -f 1) ]]
PYTHONPATH=$folder/prefix/share/larder/python "$python" -B "$pages/client-guide/examples.python"
