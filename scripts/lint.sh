#!/bin/sh
# Checks the formatting of every source and runs clang-tidy, with warnings as errors, over all but the tests:
# scripts/lint.sh [--format | --quick] [FILE...]. --format is the formatting alone, --quick leaves out the
# static analyzer, which takes most of the time. The preset clang must be built.
set -eu
cd "$(dirname "$0")/.."

git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run -Werror
checks=""
case "${1:-}" in
    --format) exit 0 ;;
    --quick) checks="-clang-analyzer-*"; shift ;;
esac
if [ $# -gt 0 ]; then
    printf '%s\n' "$@"
else
    git ls-files 'src/*.cpp' 'io/*.cpp' 'present/*.cpp' 'web/*.cpp' 'cli/*.cpp'
fi | xargs -P "$(nproc)" -n 4 clang-tidy -p build/clang --quiet --checks="$checks" --warnings-as-errors='*'
