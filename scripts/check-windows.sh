#!/bin/sh
# Builds the library and its unit tests for Windows, by MinGW, and runs them under Wine, after the comparison of
# scripts/worlds.sh. GoogleTest comes from the distribution's sources.
set -eu
cd "$(dirname "$0")/.."
rooms="params tables regions dicom presets autowindow host"

[ -d /usr/src/googletest ] || sh scripts/install-packages.sh tests
ZEV_WORLD_FLAGS=-DZEV_BUILD_TESTS=ON sh scripts/worlds.sh windows
[ -e build/worlds/windows/worlds.exe ] || exit 0
for room in $rooms; do
    echo "test_$room under Wine"
    timeout 300 sh scripts/wine.sh "build/worlds/windows/test_$room.exe" --gtest_brief=1
done
