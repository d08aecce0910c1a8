#!/bin/sh
# Makes docs/view.png, the page in the README, from the built-in samples: scripts/screenshot.sh [FILE].
set -eu
cd "$(dirname "$0")/.."
sh scripts/install-packages.sh browser
sh scripts/check.sh dev --build-only
sh tests/web/browser/run.sh "$PWD/build/dev/zev" "$PWD/build/dev/tests/browser" "$PWD/scripts/screenshot.mjs" \
    "${1:-docs/view.png}"
