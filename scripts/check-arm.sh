#!/bin/sh
# Builds the library for 64-bit ARM and runs the tests of tables and painting under qemu: the same bytes must
# come out. Installs the cross compiler and ARM packages, as root or with sudo; where that cannot be done, it
# says so and checks nothing.
set -eu
cd "$(dirname "$0")/.."

as_root=""
[ "$(id -u)" -eq 0 ] || as_root=sudo
packages="g++-aarch64-linux-gnu qemu-user libhwy-dev:arm64 libspdlog-dev:arm64 libgtest-dev:arm64"
# shellcheck disable=SC2086  # the list is meant to be split
if ! dpkg -s $packages >/dev/null 2>&1; then
    {
        $as_root dpkg --add-architecture arm64 && $as_root apt-get update &&
            $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $packages
    } || {
        echo "check-arm: NOT CHECKED, since the ARM packages cannot be installed" >&2
        exit 0
    }
fi
cmake -S . -B build/arm64 -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEV_BUILD_APP=OFF
cmake --build build/arm64 --target test_tables
# A test that starts its own program again cannot do so under qemu.
qemu-aarch64 build/arm64/test_tables --gtest_filter=-GammaTables.TheDeepIdentity*
