#!/bin/sh
# Runs a Windows program under wine: tools/wine-run.sh PROGRAM [ARGUMENT...]
# The windows preset runs its tests through it (CMAKE_CROSSCOMPILING_EMULATOR).
#
# Plain wine starts its server and services for each program, which takes seconds, and the services
# keep the caller's output open, so that the reader of a pipe waits for them. This script starts a
# detached server at the first call; later calls use it, and it ends when nothing has run for a while.
#
# The prefix (registry and drive C:) is WINEPREFIX if that is set, else the folder "wine" in the build
# folder that contains the program, else a folder in the user's cache.
set -eu

idle_seconds=30
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
server=$(command -v wineserver64 || echo /usr/lib/wine/wineserver64)

if [ $# -eq 0 ]; then
  echo "usage: tools/wine-run.sh PROGRAM [ARGUMENT...]" >&2
  exit 2
fi
if ! [ -x "$wine" ]; then
  echo "wine-run.sh: $wine isn't there (Debian's package wine64)" >&2
  exit 1
fi

build_folder_of() {
  folder=$(cd "$(dirname "$1")" 2>/dev/null && pwd) || return 1
  while [ -n "$folder" ]; do
    if [ -e "$folder/CMakeCache.txt" ]; then
      echo "$folder"
      return
    fi
    folder=${folder%/*}
  done
  return 1
}

if [ -z "${WINEPREFIX:-}" ]; then
  if build=$(build_folder_of "$1"); then
    WINEPREFIX=$build/wine
  else
    WINEPREFIX=${XDG_CACHE_HOME:-${HOME:?neither WINEPREFIX nor HOME is set}/.cache}/larder-wine
  fi
fi
mkdir -p "$WINEPREFIX"
WINEPREFIX=$(cd "$WINEPREFIX" && pwd)
export WINEPREFIX
export HOME="${HOME:-$WINEPREFIX}"
export WINEDEBUG="${WINEDEBUG:--all}"
# No desktop entries, no debugger window after a crash, no offers to download anything.
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:+$WINEDLLOVERRIDES;}winemenubuilder.exe,winedbg.exe,mscoree,mshtml=d"
# File names are UTF-8, whatever the caller's locale is.
export LC_ALL=C.UTF-8
# A message box would wait for a user.
unset DISPLAY WAYLAND_DISPLAY

# The server holds this lock while it runs, however it ends; a process number could be stale.
serving="$WINEPREFIX/.larder-serving"
# Held while a prefix is created; other callers wait.
booting="$WINEPREFIX/.larder-booting"
touch "$serving" "$booting"

server_lives() { ! flock --nonblock --shared "$serving" true; }

boot() {
  (
    flock 8
    exec setsid "$server" -f -p"$idle_seconds"
  ) >/dev/null 2>&1 </dev/null 8>"$serving" 9>&- &
  "$wine" wineboot >/dev/null 2>&1 </dev/null 9>&- || true
}

if ! (flock --shared 9 && server_lives) 9>"$booting"; then
  (flock 9 && { server_lives || boot; }) 9>"$booting"
fi
exec "$wine" "$@"
