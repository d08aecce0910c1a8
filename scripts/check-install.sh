#!/bin/sh
# Checks that others can build with ZEV: scripts/check-install.sh [BUILD], by default build/dev, which has to be built.
# Installs it, moves the installed tree, builds the programs of examples/ there by CMake and by pkg-config, and compares
# the pictures they draw; the same with static libraries, with ZEV as a part of another project, and with a host of
# somebody else's. Also compares the README's code with the example it is from.
set -eu
cd "$(dirname "$0")/.."
source=$PWD
build=${1:-build/dev}
jobs=$(nproc)

# With what scripts/check.sh compiled before, where ccache is.
export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$PWD}" CCACHE_NOHASHDIR=1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT INT TERM
say() { echo "check-install: $*"; }
quietly() { "$@" >"$folder/log" 2>&1 || { cat "$folder/log" >&2; say "failed: $*" >&2; exit 1; }; }

# What the README shows is in examples/minimal.cpp, indented.
sed -n '/^```cpp$/,/^```$/p' README.md | sed '1d;$d' >"$folder/readme"
sed -n '/\/\/! \[draw\]/,/\/\/! \[draw\]/p' examples/minimal.cpp | sed '1d;$d;s/^    //' >"$folder/example"
diff "$folder/readme" "$folder/example" || { say "the README's code is not that of examples/minimal.cpp" >&2; exit 1; }

# draw_all PROGRAM...: runs programs of examples/ and compares what they draw.
draw_all() {
    rm -rf "$folder/drawn" && mkdir "$folder/drawn"
    (
        cd "$folder/drawn"
        for program; do
            case "$program" in
                *open_dicom) set -- "$folder/samples/ct.dcm" open_dicom.ppm "$folder/samples/ct-state.dcm" ;;
                *) set -- ;;
            esac
            timeout 60 "$program" "$@" >/dev/null || exit 1
        done
        sha256sum -c --quiet --ignore-missing "$source/examples/pictures.sha256"
    ) || { say "not the pictures of examples/pictures.sha256: $*" >&2; exit 1; }
}

# check_tree NAME BUILD MODULES: installs, moves, builds in both ways, draws. MODULES is where programs find what is
# loaded at run time, if not by themselves.
check_tree() {
    quietly cmake --install "$2" --prefix "$folder/$1-before"
    mv "$folder/$1-before" "$folder/$1"
    if grep -rlF -e "$source" -e "$folder" "$folder/$1/lib/cmake" "$folder/$1/lib/pkgconfig"; then
        say "these files name a folder of this machine" >&2
        exit 1
    fi
    rm -rf "$folder/samples"
    "$folder/$1/bin/zev" sample "$folder/samples" >/dev/null

    quietly cmake -S examples -B "$folder/$1-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$folder/$1"
    quietly cmake --build "$folder/$1-cmake" -j "$jobs"
    export ZEV_MODULES="$3"
    draw_all "$folder/$1-cmake/minimal" "$folder/$1-cmake/viewer_loop" "$folder/$1-cmake/settings" \
        "$folder/$1-cmake/open_dicom"
    # The modules were found: the annotations of the state have their texts.
    "$folder/$1/bin/zev" render "$folder/samples/ct.dcm" --gsps "$folder/samples/ct-state.dcm" \
        -o "$folder/drawn/zev.ppm"
    cmp "$folder/drawn/open_dicom.ppm" "$folder/drawn/zev.ppm"
    say "$1: found by CMake"

    export PKG_CONFIG_PATH="$folder/$1/lib/pkgconfig"
    for program in minimal viewer_loop settings open_dicom; do
        package=zev
        [ $program != open_dicom ] || package=zevpresent
        # shellcheck disable=SC2046  # flags are meant to be split
        quietly g++ -std=c++17 "examples/$program.cpp" -o "$folder/$program" $(pkg-config --cflags --libs $package)
    done
    LD_LIBRARY_PATH=$folder/$1/lib draw_all "$folder/minimal" "$folder/viewer_loop" "$folder/settings" \
        "$folder/open_dicom"
    say "$1: found by pkg-config"
}

check_tree shared "$build" ""
# shellcheck disable=SC2086  # flags are meant to be split
quietly cmake -S . -B build/static -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_SHARED_LIBS=OFF \
    -DZEV_BUILD_TESTS=OFF ${ZEV_CMAKE_FLAGS:-}
quietly cmake --build build/static -j "$jobs"
check_tree static build/static "$folder/static/lib/zev"

launcher=$(command -v ccache || true)
quietly cmake -S examples/fetch -B build/fetched -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DCMAKE_CXX_COMPILER_LAUNCHER="$launcher"
quietly cmake --build build/fetched -j "$jobs"
draw_all "$source/build/fetched/minimal"
if grep 'minimal.cpp.o' build/fetched/compile_commands.json | grep -e -ffp-contract -e -Wconversion -e c++17; then
    say "the other project is compiled with our flags" >&2
    exit 1
fi
say "a part of another project: good"

quietly cmake -S examples/own_host -B build/own_host -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_CXX_COMPILER_LAUNCHER="$launcher"
quietly cmake --build build/own_host -j "$jobs"
draw_all "$source/build/own_host/viewer"
if nm -C build/own_host/viewer | grep -E ' [TW] (refhost::|KIT_LinesMask::AddRun)'; then
    say "the reference host is linked beside the other one" >&2
    exit 1
fi
# The reference host gives the same picture.
# shellcheck disable=SC2046
quietly g++ -std=c++17 examples/own_host/viewer.cpp -o "$folder/viewer" \
    $(PKG_CONFIG_PATH=$folder/shared/lib/pkgconfig pkg-config --cflags --libs zev)
LD_LIBRARY_PATH=$folder/shared/lib draw_all "$folder/viewer"
say "a host of somebody else's: good"
