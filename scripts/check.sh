#!/bin/sh
# Builds everything and runs every test: scripts/check.sh [PRESET] [CTEST-OPTION...], by default the preset
# dev. scripts/check.sh PRESET --build-only builds and runs nothing. ZEV_CMAKE_FLAGS goes to cmake, and
# ZEV_TARGETS are built instead of everything. ZEV_SKIP_BROWSER=1 leaves the tests in a browser out. A run of all
# tests of the preset dev also checks that others can install ZEV and build with it, and that GCC and Clang make the same
# numbers of it.
set -eu
cd "$(dirname "$0")/.."
preset="${1:-dev}"
[ $# -eq 0 ] || shift

# Builds in several folders share what is compiled.
export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$PWD}" CCACHE_NOHASHDIR=1
sh scripts/install-packages.sh tests
# The page is tested in a browser with the presets whose program is neither slow nor a debugging one.
case "$preset" in
    dev | release)
        if [ "${ZEV_SKIP_BROWSER:-}" = 1 ]; then
            echo "check: the page is not tested in a browser, since ZEV_SKIP_BROWSER is 1"
        elif [ "${1:-}" != --build-only ]; then
            sh scripts/install-packages.sh browser
        fi
        ;;
esac
# shellcheck disable=SC2086  # flags and targets are meant to be split
cmake --preset "$preset" -DZEV_BUILD_TESTS=ON ${ZEV_CMAKE_FLAGS:-}
# shellcheck disable=SC2086
cmake --build --preset "$preset" ${ZEV_TARGETS:+--target $ZEV_TARGETS}
[ "${1:-}" = --build-only ] || ctest --preset "$preset" "$@"
if [ "$preset" = dev ] && [ $# -eq 0 ] && [ -z "${ZEV_TARGETS:-}" ]; then
    sh scripts/check-install.sh
    sh scripts/worlds.sh gcc clang
fi
