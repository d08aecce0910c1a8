#!/bin/sh
# Builds everything and runs every test: scripts/check.sh [PRESET], dev unless told otherwise.
set -eu
cd "$(dirname "$0")/.."
preset="${1:-dev}"

sh scripts/install-packages.sh
cmake --preset "$preset" -DZEV_BUILD_TESTS=ON
cmake --build --preset "$preset"
ctest --preset "$preset"
