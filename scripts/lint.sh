#!/bin/sh
# Checks the formatting of every source and runs clang-tidy, with warnings as errors, over all but the tests:
# scripts/lint.sh [FILE...] for some sources, scripts/lint.sh --format for the formatting alone. The preset clang must
# be built. The whole takes a quarter of an hour on two cores.
set -eu
cd "$(dirname "$0")/.."

git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run -Werror
[ "${1:-}" != --format ] || exit 0
if [ $# -gt 0 ]; then
    printf '%s\n' "$@"
else
    git ls-files 'src/*.cpp' 'io/*.cpp' 'present/*.cpp' 'cli/*.cpp'
fi | xargs -P "$(nproc)" -n 4 clang-tidy -p build/clang --quiet --warnings-as-errors='*'
