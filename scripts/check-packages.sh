#!/bin/sh
# Builds the Debian packages, lets lintian look at them, and tries them in a clean Debian 12: installed with apt, the
# first example compiled and run, pictures drawn, all of it removed again without a trace. Needs root and a mirror; where
# the clean system cannot be made it says so and exits 77.
set -eu
cd "$(dirname "$0")/.."
build=build/package

sh scripts/install-packages.sh packages
cmake --preset package >/dev/null
cmake --build --preset package
rm -f $build/*.deb
cmake --build --preset package --target package -- --quiet
lintian --fail-on error --allow-root $build/*.deb

folder=$(mktemp -d)
root=$folder/root
# Nothing is mounted there; a system that was made halfway goes as well.
trap 'rm -rf "$folder"' EXIT INT TERM
if [ "$(id -u)" -ne 0 ] || ! mmdebstrap --variant=apt --quiet bookworm "$root" 2>"$folder/log"; then
    [ ! -s "$folder/log" ] || tail -n 3 "$folder/log" >&2
    echo "check-packages: NOT TRIED, since no clean Debian can be made here: it takes root and a mirror" >&2
    exit 77
fi
inside() { chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin DEBIAN_FRONTEND=noninteractive HOME=/root "$@"; }
quietly() { "$@" >"$folder/log" 2>&1 || { tail -n 30 "$folder/log" >&2; exit 1; }; }
files() { (cd "$root" && find . -path ./proc -prune -o -path ./tmp -prune -o -print | sort); }

quietly inside apt-get update
quietly inside apt-get install -y --no-install-recommends g++ pkg-config
files >"$folder/before"
mkdir "$root/tmp/packages"
cp $build/*.deb "$root/tmp/packages"
inside dpkg-query -W -f '${Package}\n' | sort >"$folder/packages"
quietly inside sh -c 'apt-get install -y /tmp/packages/*.deb'

quietly inside sh -ec 'cd /tmp
    cp /usr/share/doc/zev-doc/examples/minimal.cpp .
    g++ -std=c++17 minimal.cpp -o minimal $(pkg-config --cflags --libs zev)
    ./minimal
    sha256sum -c --ignore-missing /usr/share/doc/zev-doc/examples/pictures.sha256
    zev demo drawn
    zev --version'
echo "check-packages: $(tail -n 1 "$folder/log") compiles, and drew $(find "$root/tmp/drawn" -name '*.png' | wc -l) pictures"

# Whatever came with them goes with them.
quietly inside sh -c 'apt-get purge -y zev libzev0 libzev-dev zev-doc && apt-get autoremove --purge -y'
inside dpkg-query -W -f '${Package}\n' | sort | diff "$folder/packages" - >&2
files >"$folder/after"
if diff "$folder/before" "$folder/after" | grep -i zev >&2; then
    echo "check-packages: these files stay behind" >&2
    exit 1
fi
echo "check-packages: removed without a trace"
for package in $build/*.deb; do
    echo "$(($(stat -c %s "$package") / 1024)) KiB, $(dpkg-deb -f "$package" Installed-Size) KiB installed: ${package##*/}"
done
