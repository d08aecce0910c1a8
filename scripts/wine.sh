#!/bin/sh
# Runs a Windows program of the build under Wine: scripts/wine.sh PROGRAM.exe [ARGUMENT...]. The libraries of the
# compiler and those beside the program are found; what Wine keeps goes into build/wine.
set -eu
top=$(cd "$(dirname "$0")/.." && pwd)
program=$1
shift
gcc=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++-6.dll)")
windows() { printf 'Z:%s;' "$1" | tr / '\\'; }
WINEPATH="$(windows "$gcc")$(windows /usr/x86_64-w64-mingw32/lib)$(windows "$(dirname "$(realpath "$program")")")"
export WINEPATH WINEPREFIX="${ZEV_WINE:-$top/build/wine}" WINEDEBUG="${WINEDEBUG:--all}"
mkdir -p "$WINEPREFIX"
exec /usr/lib/wine/wine64 "$program" "$@"
