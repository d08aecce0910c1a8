#!/bin/sh
# Builds the program and lets it draw its own sample images into build/demo/.
set -eu
cd "$(dirname "$0")/.."

sh scripts/install-packages.sh
cmake --preset release -DZEV_BUILD_TESTS=OFF
cmake --build --preset release --target zev_program
build/release/zev demo build/demo
echo "Open build/demo/contact.png"
