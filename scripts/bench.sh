#!/bin/sh
# Measures everything that is said to be fast, each figure as a ratio to a baseline in the same run, and prints one
# table: the benchmark programs, then the program itself against dcm2pnm where DCMTK is installed, then the page of zev
# view in Chromium. OpenCV is measured beside the painter where it is installed. Takes some minutes; a quiet machine gives steadier figures.
set -eu
cd "$(dirname "$0")/.."

sh scripts/install-packages.sh bench
cmake --preset bench >/dev/null
cmake --build --preset bench
build=build/bench

echo
echo "figure                                                            ratio    p10..p90   to"
for program in build_table painter autowindow regions; do
    "$build/bench_$program" 2>/dev/null | awk -v program="$program" '
        / x_|_x_/ {
            if ($1 ~ /unsigned$/) $1 = $1 " " $2
            for (i = 2; i <= NF; ++i) {
                if (split($i, part, "=") != 2) continue
                value[part[1]] = part[2]
                if (part[1] !~ /_p[19]0$/ && part[1] ~ /x_/) names[++count] = part[1]
            }
            for (n = 1; n <= count; ++n) {
                what = names[n]; to = what; sub(/.*x_/, "", to)
                printf "%-64s %6.3f  %.2f..%.2f  %s\n", program " " $1, value[what], value[what "_p10"], \
                    value[what "_p90"], to
            }
            count = 0
        }
        /^set_up/ { printf "%-64s %s %s\n", program " " $1, $4, $5 }'
done

zev=$PWD/$build/zev
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT INT TERM
cd "$folder"
"$zev" sample samples >/dev/null
mkdir slices
for i in $(seq 1 500); do cp samples/ct.dcm "slices/$i.dcm"; done

# milliseconds NAME COMMAND...: the best of five runs of the command, in hundredths of a millisecond, kept as $NAME.
milliseconds() {
    name=$1 best=
    shift
    for _ in 1 2 3 4 5; do
        rm -rf out && mkdir out
        begin=$(date +%s%N)
        "$@" >/dev/null 2>&1
        took=$((($(date +%s%N) - begin) / 10000))
        [ -n "$best" ] && [ "$best" -le "$took" ] || best=$took
    done
    eval "$name=$best"
}
report() {
    awk -v name="$1" -v a="$2" -v b="$3" -v to="$4" \
        'BEGIN { printf "%-64s %6.3f  %.1f / %.1f ms  %s\n", name, a / b, a / 100, b / 100, to }'
}
loop() {
    for file in slices/*.dcm; do dcm2pnm +on "$file" "out/$(basename "$file" .dcm).png"; done
}

milliseconds one "$zev" render samples/ct.dcm -o out/ct.png
milliseconds many "$zev" render slices -o out --jobs 1
milliseconds two "$zev" render slices -o out --jobs 2
report "render: 500 CT to PNG, --jobs 1 against --jobs 2" "$many" "$two" "two processes"
if command -v dcm2pnm >/dev/null; then
    milliseconds other dcm2pnm +on samples/ct.dcm out/ct.png
    report "render: one CT to PNG" "$one" "$other" dcm2pnm
    milliseconds others loop
    report "render: 500 CT to PNG, --jobs 1" "$many" "$others" "a loop of dcm2pnm"
    # 300 frames of 512 x 512 words: the header with another number of frames and length, then the pixels again.
    dcmodify --no-backup --insert "(0028,0008)=300" samples/ct.dcm
    pixels=$((512 * 512 * 2))
    head -c -$((pixels + 4)) samples/ct.dcm >frames.dcm
    printf '\000\000\140\011' >>frames.dcm
    for i in $(seq 1 300); do tail -c $pixels samples/ct.dcm; done >>frames.dcm
    for format in pgm png; do
        [ $format = pgm ] && option=+op || option=+on
        milliseconds frames "$zev" render frames.dcm -o out --frame all --jobs 1 --format $format
        milliseconds others dcm2pnm $option --all-frames frames.dcm out/frame
        report "render: 300 frames to $format, --jobs 1" "$frames" "$others" "dcm2pnm --all-frames"
    done
fi

# The page of zev view, where a browser is at hand.
cd - >/dev/null
sh scripts/install-packages.sh browser
sh tests/web/browser/run.sh "$zev" "$PWD/$build/browser" "$PWD/bench/page.mjs" || [ $? -eq 77 ]
