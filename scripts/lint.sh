#!/bin/sh
# Checks the formatting of every source and runs clang-tidy over all but the tests, with warnings as errors:
# scripts/lint.sh [PRESET], by default clang; the preset must be configured and built.
set -eu
cd "$(dirname "$0")/.."
preset="${1:-clang}"

git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run -Werror
# Each source once: most take some seconds, so two run side by side.
git ls-files 'src/*.cpp' 'io/*.cpp' 'present/*.cpp' 'cli/*.cpp' |
    xargs -P "$(nproc)" -n 4 clang-tidy -p "build/$preset" --quiet --warnings-as-errors='*'
