#!/usr/bin/env bash
# The layers check reports the lines that end with "// refused", and no others.
# usage: check-layers-test.sh CHECK FOLDER, which is created again
set -euo pipefail
check=$1 tree=$2
rm -rf "$tree"
mkdir -p "$tree"
cd "$tree"

file() {  # PATH; standard input has the content
  mkdir -p "$(dirname "$1")"
  cat >"$1"
}

file src/api/a.cpp <<'END'
#include <cstdint>
#include "providers/b.h"
#include "a.h"  // refused
#include "../providers/b.h"  // refused
 # include <sys/types.h>  // refused
#include <sqlite3.h>  // refused
#include <gtest/gtest.h>  // refused
#ifdef _WIN32  // refused
#if 1 && !defined(__linux__)  // refused
#elif defined _MSC_VER  // refused
END
file src/log/a.cpp <<'END'
#include "platform/b.h"
#include "support/b.h"  // refused
#include <nlohmann/json.hpp>  // refused
END
file src/platform/a.h <<'END'
#ifdef _WIN32
#include <unistd.h>  // refused
#include "support/b.h"  // refused
END
file include/larder/a.h <<'END'
#ifdef _WIN32
#if defined(__linux__)  // refused
#include "larder/b.h"  // refused
#include <windows.h>  // refused
END
file providers/feed/a.cpp <<'END'
#include <sqlite3.h>
#  include "log/b.h"  // refused
END
file tools/larder/log/a.cpp <<'END'
#include "log/b.h"
#include "tools/larder/registry/b.h"
#include <nlohmann/json.hpp>
#include "tools/larder/scan/b.h"  // refused
#include "api/b.h"  // refused
#include "b.h"  // refused
#include <unistd.h>  // refused
END
file tools/larder/main.cpp <<<'#include "tools/larder/status/b.h"'
for folder in src/platform/linux tools/larder/linux tests/host/windows; do
  file $folder/a.cpp <<<$'#include <unistd.h>\n#if defined(_WIN64)'
done
file tests/host/a.cpp <<<$'#include <dlfcn.h>  // refused\n#ifndef __unix__  // refused'

if "$check" . >"$tree.log"; then exit 1; fi
diff <(grep -rn '// refused$' -- * | cut -d: -f1,2 | sort) <(cut -d: -f1,2 "$tree.log" | sort)

printf 'text\0/usr%s/a.cpp\0%s-other/a.cpp\0' "$tree" "$tree" >built
"$check" --no-build-paths "$tree" -- built  # paths that only resemble it
printf 'text\0%s/a.cpp\0' "$tree" >built
if "$check" --no-build-paths /nowhere "$tree" -- built; then exit 1; fi
