#!/usr/bin/env bash
# Checks rules that no compiler checks. Prints each violation as FILE:LINE: RULE and exits with 1.
#
#   tools/check-layers.sh [ROOT]
#       Includes go one way between the rooms, system headers and #if on the system are in the
#       folders linux/ and windows/ only. ROOT: the project's folder, by default the one this is in.
#   tools/check-layers.sh --no-build-paths FOLDER... -- FILE...
#       The built files contain none of these folders' paths.
set -euo pipefail
export LC_ALL=C

check_sources() {
  cd "$1" || exit 2
  local folders=() folder
  for folder in src include providers tools tests samples bench soak fuzz; do
    if [[ -d $folder ]]; then folders+=("$folder"); fi
  done
  if [[ ${#folders[@]} -eq 0 ]]; then
    echo "no sources below $PWD" >&2
    exit 2
  fi
  find "${folders[@]}" -type f \( -name '*.h' -o -name '*.hpp' -o -name '*.c' -o -name '*.cpp' \) -print0 | sort -z |
    xargs -0 awk "$rules"
}

# shellcheck disable=SC2016  # awk's own dollar signs
rules='
BEGIN {
  # api -> providers, notify, log-file -> support -> log -> product -> platform; records beside.
  reach["api"] = "api providers notify log-file support log product platform"
  reach["providers"] = "providers support log product platform"
  reach["notify"] = "notify support log product platform"
  reach["log-file"] = "log-file support log product platform"
  reach["records"] = "records log product platform"
  reach["support"] = "support log product platform"
  reach["log"] = "log product platform"
  reach["product"] = "product platform"
  reach["platform"] = "platform"
  # Beside the library: what each may take out of src/. A module is built as an outside author
  # builds one, with the seam for its system calls; the tool is a client that also edits the registry.
  outside["providers"] = "product platform records"
  outside["tools"] = "product platform log support log-file records"
  outside["soak"] = "product platform"
  outside["samples"] = ""
  outside["include"] = ""
  # Within the tool: check and setup -> status; check -> query; find, log, scan and status -> query,
  # registry -> cli; completion -> log, registry; manual, new and trace -> cli.
  tool["check"] = "check status query cli"
  tool["cli"] = "cli"
  tool["completion"] = "completion log registry cli"
  tool["manual"] = "cli"
  tool["registry"] = "registry cli"
  tool["query"] = "query cli"
  tool["find"] = "find query cli"
  tool["new"] = "new cli"
  tool["log"] = "log registry cli"
  tool["scan"] = "scan query cli"
  tool["status"] = "status log query registry cli"
  tool["setup"] = "setup status registry cli"
  tool["trace"] = "trace cli"
  tool["linux"] = "linux check status scan trace query cli"
  tool["windows"] = "windows check status scan trace query cli"

  split("assert complex ctype errno fenv float inttypes iso646 limits locale math setjmp signal " \
        "stdalign stdarg stdatomic stdbool stddef stdint stdio stdlib stdnoreturn string tgmath " \
        "threads time uchar wchar wctype", names, " ")
  for (i in names) standard[names[i] ".h"] = 1

  systems = "(_WIN32|_WIN64|WIN32|WIN64|__WIN32__|_WINDOWS|__MINGW32__|__MINGW64__|__CYGWIN__|" \
            "_MSC_VER|__linux__|__linux|linux|__gnu_linux__|__unix__|__unix|unix|__APPLE__|" \
            "__ANDROID__|__FreeBSD__|__NetBSD__|__OpenBSD__)"
  failed = 0
}

function report(rule) {
  printf "%s:%d: %s\n", FILENAME, FNR, rule
  failed = 1
}

function has_word(words, word) { return index(" " words " ", " " word " ") > 0 }

function system_folder() {
  return FILENAME ~ /^(src\/platform|tools\/larder|providers\/feed-file|soak|bench|samples)\/(linux|windows)\// || FILENAME ~ /^tests\/(.*\/)?(linux|windows)\//
}

# <header>: the standard library anywhere, the rest where it belongs.
function check_angle(header) {
  if (header ~ /^larder\// || header in standard || header ~ /^[a-z0-9_]+$/) return
  if (header ~ /^(gtest|gmock)\//) {
    if (top != "tests" && top != "bench") report("<" header "> outside tests/")
    return
  }
  if (header ~ /^(sqlite3|xxhash)\.h$/ && (top == "providers" || top == "tests")) return
  if (header == "sqlite3.h" && top == "bench") return
  if (header ~ /^CLI\// && top == "tools") return
  if (header ~ /^nlohmann\// && FILENAME ~ /^(tests\/)?tools\//) return
  if (header ~ /^benchmark\// && top == "bench") return
  if (header == "cxxabi.h" && FILENAME ~ /^src\/platform\//) return  # the C++ runtime, on both systems
  if (system_folder()) return
  report("<" header "> outside the folders of a system: system and foreign headers stay behind the seam")
}

# "tools/larder/<room>/...": by the path in the project, because src/ has a room called log too.
function check_tool(header,    path) {
  split(header, path, "/")
  if (path[2] != "larder" || !(path[3] in tool)) report("\"" header "\" does not begin with a room of tools/larder/")
  else if (part[3] in tool && !has_word(tool[part[3]], path[3])) report("tools/larder/" part[3] " includes \"" header "\": " part[3] " may reach " tool[part[3]])
}

# "header": the path from src/, as far as the includer may reach.
function check_quoted(header,    room) {
  room = header
  if (!sub(/\/.*/, "", room)) room = ""
  if (top == "src") {
    if (!(room in reach)) report("\"" header "\" does not begin with a room of src/")
    else if (!has_word(reach[part[2]], room)) report("src/" part[2] " includes \"" header "\": " part[2] " may reach " reach[part[2]])
  } else if (top == "tools" && !(room in reach)) {
    check_tool(header)
  } else if (top in outside && room in reach && !has_word(outside[top], room)) {
    report(top "/ includes \"" header "\": not a part of what it may use")
  } else if (top == "include") {
    report("a public header includes \"" header "\": <larder/...> is the form that works installed")
  }
}

FNR == 1 {
  split(FILENAME, part, "/")
  top = part[1]
  in_condition = 0
}

/^[[:space:]]*#[[:space:]]*include[[:space:]]*</ {
  header = $0
  sub(/^[^<]*</, "", header)
  sub(/>.*/, "", header)
  check_angle(header)
}

/^[[:space:]]*#[[:space:]]*include[[:space:]]*"/ {
  header = $0
  sub(/^[^"]*"/, "", header)
  sub(/".*/, "", header)
  check_quoted(header)
}

/^[[:space:]]*#[[:space:]]*(if|ifdef|ifndef|elif|elifdef|elifndef)[^a-z]/ { in_condition = 1 }
in_condition {
  text = " " $0 " "
  # The public headers need to know how a system spells its exports, its wide units and its file
  # times. The samples are for readers outside.
  if (top == "include" || top == "samples") gsub(/[^A-Za-z0-9_]_WIN32[^A-Za-z0-9_]/, " ", text)
  if (!system_folder() && FILENAME !~ /^src\/platform\// && text ~ ("[^A-Za-z0-9_]" systems "[^A-Za-z0-9_]"))
    report("#if on the system outside the folders of a system")
  if ($0 !~ /\\$/) in_condition = 0
}

END { exit failed }
'

check_binaries() {
  local folders=() failed=0 folder file pattern found
  while [[ $# -gt 0 && $1 != -- ]]; do
    folders+=("${1%/}")
    shift
  done
  if [[ $# -lt 2 || ${#folders[@]} -eq 0 ]]; then usage; fi
  shift
  for file in "$@"; do
    for folder in "${folders[@]}"; do
      # As a whole path: "/src" must not be found in "/usr/src".
      pattern="(^|[^A-Za-z0-9_./-])${folder//[^A-Za-z0-9_\/-]/.}(/|$)"
      found=$(grep -azoE "${pattern}[^[:cntrl:]]*" "$file" | tr '\0' '\n' | head -n 1) || true
      if [[ -n $found ]]; then
        echo "$file:1: a path of the build machine: $found"
        failed=1
      fi
    done
  done
  return $failed
}

usage() {
  sed -n '2,9s/^# \{0,1\}//p' "$0" >&2
  exit 2
}

case "${1:-}" in
  --no-build-paths) shift && check_binaries "$@" || exit 1 ;;
  -*) usage ;;
  *) check_sources "${1:-$(dirname "$0")/..}" || exit 1 ;;
esac
