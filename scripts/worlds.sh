#!/bin/sh
# Builds libzev, the reference host and tests/worlds for other compilers, processors and systems, runs the program
# there and compares what it prints with tests/worlds/expected.txt: scripts/worlds.sh [WORLD...], by default all of
# them. Installs the compilers, as root or with sudo; a world whose compiler cannot be installed is said to be left
# out. Ends with 1 if a world differs. ZEV_WORLDS=FILE also gets one line for each: name, result, compiler.
# ZEV_WORLD_FLAGS goes to cmake.
set -eu
cd "$(dirname "$0")/.."
all="gcc-O0 gcc gcc-native gcc-lto clang clang-O3 libc++ i386 arm64 armhf s390x windows wasm"
top=$PWD/build/worlds
mkdir -p "$top"

as_root=""
[ "$(id -u)" -eq 0 ] || as_root=sudo

# need PACKAGE...
need() {
    [ "$(dpkg-query -W -f='${db:Status-Status}\n' "$@" 2>/dev/null | grep -cx installed)" -lt $# ] || return 0
    set -- env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@"
    { $as_root "$@" || { $as_root apt-get update && $as_root "$@"; }; } >"$top/apt.log" 2>&1
}

sh scripts/install-packages.sh
other="-DCMAKE_PROJECT_TOP_LEVEL_INCLUDES=$PWD/cmake/worlds/headers.cmake"

# cross PROCESSOR TRIPLET QEMU [FLAGS]
cross() {
    need "g++-$2" qemu-user || return 1
    compiler=$2-g++
    configure="$other -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=$1"
    flags="-O2 ${4:-}"
    run="$3 -L /usr/$2"
}

world() {
    compiler=g++ flags=-O2 configure="" run="" type=None suffix=""
    case "$1" in
        gcc) ;;
        gcc-O0) flags=-O0 type=Debug ;;
        gcc-native) flags="-O3 -march=native" ;;
        gcc-lto) flags="-O2 -flto=auto" ;;
        clang | clang-O3)
            need clang || return 1
            compiler=clang++
            [ "$1" = clang ] || flags=-O3
            ;;
        libc++)
            need clang libc++-dev libc++abi-dev || return 1
            compiler=clang++ flags="-O2 -stdlib=libc++" configure=$other
            ;;
        # The registers of x87 do not round to float.
        i386) cross i686 i686-linux-gnu qemu-i386 "-msse2 -mfpmath=sse" ;;
        arm64) cross aarch64 aarch64-linux-gnu qemu-aarch64 ;;
        armhf) cross arm arm-linux-gnueabihf qemu-arm "-mfpu=neon" ;;
        s390x) cross s390x s390x-linux-gnu qemu-s390x ;;
        windows)
            need g++-mingw-w64-x86-64-posix wine64 || return 1
            compiler=x86_64-w64-mingw32-g++-posix suffix=.exe
            configure="$other -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR=x86_64"
            run="sh $PWD/scripts/wine.sh"
            ;;
        wasm)
            need emscripten node-acorn || return 1
            # The compiler is older than the fetch of Node.js, and calls it with a path.
            run="node --no-experimental-fetch"
            # A Node.js that is not Debian's does not look where Debian has the optimiser's parser.
            export NODE_PATH=/usr/share/nodejs
            compiler=em++ flags="-O2 -msimd128 -fexceptions -sALLOW_MEMORY_GROWTH" suffix=.js
            toolchain=/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake
            configure="$other -DBUILD_SHARED_LIBS=OFF -DCMAKE_TOOLCHAIN_FILE=$toolchain"
            ;;
        *)
            echo "worlds: no world $1; there are $all" >&2
            exit 2
            ;;
    esac
}

failed=""
for name in ${*:-$all}; do
    build=$top/$name
    result=differs
    if ! world "$name"; then
        result="not checked: its packages cannot be installed"
    else
        [ "$name" = wasm ] || configure="$configure -DCMAKE_CXX_COMPILER=$compiler"
        # shellcheck disable=SC2086  # the lists are meant to be split
        if cmake -S . -B "$build" -G Ninja $configure -DCMAKE_BUILD_TYPE=$type "-DCMAKE_CXX_FLAGS=$flags" \
            -DZEV_BUILD_APP=OFF -DZEV_BUILD_TESTS=OFF -DZEV_BUILD_WORLDS=ON ${ZEV_WORLD_FLAGS:-} >"$build.log" 2>&1 &&
            cmake --build "$build" >>"$build.log" 2>&1; then
            # Only what differs shows.
            # shellcheck disable=SC2086
            $run "$build/worlds$suffix" 2>>"$build.log" | tr -d '\r' >"$build.txt" || true
            ! grep -v '^#' tests/worlds/expected.txt | diff - "$build.txt" || result=equal
        else
            grep -E 'error|undefined' "$build.log" | head -20 || true
            result="does not build, see $build.log"
        fi
        version=$($compiler --version | head -n 1)
    fi
    echo "$name: $result"
    [ -z "${ZEV_WORLDS:-}" ] || echo "$name | $result | ${version:-} $flags" >>"$ZEV_WORLDS"
    case "$result" in
        equal | "not checked"*) ;;
        *) failed="$failed $name" ;;
    esac
done
[ -z "$failed" ] || { echo "worlds:$failed" >&2; exit 1; }
