#!/bin/sh
# Compares what programs that were built before rely on with the files beside this script: the symbols that the
# libraries export, and the order of the virtual operations of the classes in inc/ and host/.
# tests/abi/check.sh BUILD [--accept]; --accept writes the files anew, for a change that is meant.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
source=$here/../..
build=$(cd "$1" && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT INT TERM
export LC_ALL=C

# Inline functions are in a library or not as the optimizer likes; those of a template that is made there always are.
symbols() {
    nm -DC --defined-only "$1" | cut -c 18- |
        sed -nE 's/^[TDBR] //p; s/^W (ZEV_WindowingTable<|Dicom_NumberType<)/\1/p' | grep -vE '^(_init|_fini)$' | sort -u
}
symbols "$build/libzev.so" >"$folder/libzev.txt"
symbols "$build/libzevhost.so" >"$folder/libzevhost.txt"

# g++ writes the layout of every class that it sees; ours have names that no other library has. A pure virtual
# operation has no name there, so that those of a copy are not pure.
for root in "$source/inc" "$build/inc" "$source/host"; do cp -r "$root/." "$folder/headers"; done
find "$folder/headers" -name '*.h' -exec sed -i -E 's/\)( const)? = 0;/)\1;/' {} +
(cd "$folder/headers" && find . -name '*.h' | sort | sed 's|^\./\(.*\)|#include <\1>|') >"$folder/all.cpp"
(cd "$folder" && g++ -std=c++17 -fsyntax-only -fdump-lang-class -I headers all.cpp)
awk '/^Vtable for / {
         name = substr($0, 12)
         ours = name ~ /^(ZEV|KIT|BLK|DDP|Dicom|GFX|HST|Mapper|Mir|OBJ|PRM|RW|SPC|SRC|Mutex|Sync|I(Support)?Err|IUnk|_com)/
         if (ours) print name; next }
     /^$/ { ours = 0 }
     ours && /^[0-9]+ / { sub(/^[0-9]+ +/, ""); gsub(/\(int \(\*\)\(\.\.\.\)\)/, ""); print "    " $0 }' \
    "$folder"/*.class >"$folder/layouts"
# One block for each class, in the order of their names.
awk '/^[^ ]/ { class = $0 } { print class "\t" NR "\t" $0 }' "$folder/layouts" | sort -t "$(printf '\t')" -k1,1 -k2,2n |
    cut -f 3 >"$folder/virtual.txt"

result=0
for name in libzev.txt libzevhost.txt virtual.txt; do
    [ -s "$folder/$name" ] || { echo "abi: nothing found for $name" >&2; exit 1; }
    if [ "${2:-}" = --accept ]; then
        cp "$folder/$name" "$here/$name"
    elif ! diff -u "$here/$name" "$folder/$name" >&2; then
        result=1
    fi
done
if [ $result -ne 0 ]; then
    echo "abi: programs built before may not run with this (a line that is gone or moved), or there is more to keep" >&2
    echo "abi: (a line that is new). If that is meant: tests/abi/check.sh $1 --accept, and say why in the commit." >&2
fi
exit $result
