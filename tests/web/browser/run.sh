#!/bin/sh
# Runs the browser tests: run.sh PROGRAM SCRATCH-FOLDER [SCRIPT]. Packages of Node.js go into the folder, never
# into the sources. Ends with 77 where something that the tests need is missing, and says what.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
skip() { echo "skipped: $1"; exit 77; }

[ "${ZEV_SKIP_BROWSER:-}" != 1 ] || skip "ZEV_SKIP_BROWSER is 1"
command -v node >/dev/null || skip "there is no node"
[ "$(node -p 'process.versions.node.split(".")[0]')" -ge 18 ] || skip "node is older than 18"
ZEV_CHROMIUM=$(command -v chromium || command -v chromium-browser) || skip "there is no chromium"
mkdir -p "$2"
if ! cmp -s "$here/package-lock.json" "$2/package-lock.json" || [ ! -d "$2/node_modules/playwright-core" ]; then
    command -v npm >/dev/null || skip "there is no npm"
    cp "$here/package.json" "$here/package-lock.json" "$2"
    (cd "$2" && npm ci --ignore-scripts --no-audit --no-fund --fetch-retries=1 --fetch-timeout=20000) ||
        { rm -f "$2/package-lock.json"; skip "the packages of Node.js cannot be had"; }
fi
ZEV_PROGRAM=$1 ZEV_NODE_MODULES="$2/node_modules/" ZEV_CHROMIUM=$ZEV_CHROMIUM
export ZEV_PROGRAM ZEV_NODE_MODULES ZEV_CHROMIUM
if [ $# -gt 2 ]; then
    script=$3
    shift 3
    exec node "$script" "$@"
fi
exec node --test "$here/browser_test.mjs"
