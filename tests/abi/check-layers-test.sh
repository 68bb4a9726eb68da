#!/usr/bin/env bash
# The layers check finds what it is there to find: a small tree with one violation in each file.
# usage: check-layers-test.sh CHECK FOLDER (made anew)
set -euo pipefail
check=$1 tree=$2
rm -rf "$tree"
mkdir -p "$tree"
cd "$tree"
failures=0

fail() {
  echo "FAILED: $1"
  failures=$((failures + 1))
}

file() {  # PATH LINE: a source whose second line is LINE
  mkdir -p "$(dirname "$1")"
  printf '// A source.\n%s\n' "$2" >"$1"
}

refuses() {  # PATH LINE
  file "$1" "$2"
  local said
  if said=$("$check" "$tree"); then
    fail "accepted in $1: $2"
  elif [[ $said != "$1:2: "* || $said == *$'\n'* ]]; then
    fail "expected one line about $1:2, got: $said"
  fi
  rm "$1"
}

accepts() {
  file "$1" "$2"
  local said
  said=$("$check" "$tree") || fail "refused in $1: $2: $said"
  rm "$1"
}

accepts src/api/a.cpp '#include "providers/b.h"'
accepts src/log-file/a.cpp '#include "support/b.h"'
accepts src/support/a.cpp '#include "log/b.h"'
refuses src/log/a.cpp '#include "support/b.h"'
refuses src/support/a.cpp '#include "log-file/b.h"'
refuses src/providers/a.cpp '#include "api/b.h"'
refuses src/notify/a.cpp '#include "providers/b.h"'
refuses src/support/a.h '#include "notify/b.h"'
refuses src/log-file/a.cpp '#include "providers/b.h"'
refuses src/platform/linux/a.cpp '#include "support/b.h"'
refuses src/api/a.cpp '#include "a.h"'
refuses src/api/a.cpp '#include "../providers/b.h"'
refuses include/larder/a.h '#include "larder/b.h"'
refuses providers/feed/a.cpp '#  include "log/b.h"'
refuses tools/larder/a.cpp '#include "api/b.h"'
accepts tools/larder/log/a.cpp '#include "log/b.h"'
accepts tools/larder/log/a.cpp '#include "tools/larder/registry/b.h"'
accepts tools/larder/main.cpp '#include "tools/larder/status/b.h"'
refuses tools/larder/log/a.cpp '#include "b.h"'
refuses tools/larder/cli/a.h '#include "tools/larder/registry/b.h"'
refuses tools/larder/scan/a.cpp '#include "tools/larder/log/b.h"'

accepts src/api/a.cpp '#include <cstdint>'
accepts src/platform/windows/a.cpp '#include <windows.h>'
accepts src/platform/linux/a.cpp '#include <sys/stat.h>'
accepts tests/host/linux/a.cpp '#include <unistd.h>'
accepts providers/feed/a.cpp '#include <lmdb.h>'
accepts src/platform/linux/a.cpp '#include <openssl/x509.h>'
accepts tools/larder/cli/a.cpp '#include <nlohmann/json.hpp>'
accepts tools/larder/linux/a.cpp '#include <unistd.h>'
accepts tools/larder/windows/a.cpp '#include "tools/larder/status/b.h"'
refuses src/support/a.cpp '#include <windows.h>'
refuses tools/larder/cli/a.cpp '#include <unistd.h>'
refuses tools/larder/windows/a.cpp '#include "tools/larder/scan/b.h"'
refuses src/log/a.cpp '#include <openssl/x509.h>'
refuses src/log/a.cpp '#include <nlohmann/json.hpp>'
refuses src/platform/a.h '#include <unistd.h>'
refuses src/api/a.cpp ' # include <sys/types.h>'
refuses include/larder/a.h '#include <windows.h>'
refuses tests/host/a.cpp '#include <dlfcn.h>'
refuses src/api/a.cpp '#include <lmdb.h>'
refuses src/api/a.cpp '#include <gtest/gtest.h>'

accepts include/larder/a.h '#ifdef _WIN32'
accepts src/platform/a.h '#ifdef _WIN32'
accepts tests/host/windows/a.cpp '#if defined(_WIN64)'
refuses include/larder/a.h '#if defined(__linux__)'
refuses src/api/a.cpp '#ifdef _WIN32'
refuses src/api/a.cpp '#if 1 && !defined(__linux__)'
refuses tools/larder/cli/a.cpp '#elif defined _MSC_VER'
accepts tools/larder/windows/a.cpp '#ifdef _WIN64'
refuses tests/host/a.cpp '#ifndef __unix__'

built=$tree/built
printf 'text\0/usr%s/a.cpp\0%s-other/a.cpp\0' "$tree" "$tree" >"$built"
"$check" --no-build-paths "$tree" -- "$built" || fail "a path that only resembles the build's was refused"
printf 'text\0%s/a.cpp\0' "$tree" >"$built"
if "$check" --no-build-paths /nowhere "$tree" -- "$built"; then fail "a path of the build was accepted"; fi

if [[ $failures -ne 0 ]]; then exit 1; fi
echo "all found"
