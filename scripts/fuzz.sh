#!/bin/sh
# Runs the programs of fuzz/: scripts/fuzz.sh SECONDS [PROGRAM...], by default each of them for so long, one after the
# other. Seeds are made by the project, what is worth keeping is added to build/fuzz/corpus. Prints for each how many
# inputs ran; ends with 1 when one had a finding, whose file it names. `build/fuzz/PROGRAM FILE` runs it again; once it
# is mended it becomes a row of an ordinary test.
set -eu
cd "$(dirname "$0")/.."
[ $# -ge 1 ] || { echo "usage: scripts/fuzz.sh SECONDS [PROGRAM...]" >&2; exit 2; }
seconds=$1
shift

sh scripts/install-packages.sh fuzz
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz >/dev/null
top=build/fuzz
seeds=$top/seeds
mkdir -p "$top/findings" "$seeds"

# seed PROGRAM NAME LAST [FIRST]: standard input with the bytes before and behind it that choose what is done.
seed() {
    mkdir -p "$seeds/$1"
    { printf '%b' "${4:-}"; cat; printf '%b' "$3"; } >"$seeds/$1/$2"
}
seed fuzz_config builtin "" <config/builtin.json
head -c 3000 config/builtin.json | seed fuzz_config part ""
echo 'polygon:10,10 200,10 100,180;center=-600;width=1600' | tr -d '\n' | seed fuzz_regions polygon '\001'
echo 'rect:10,20,110,80;preset=lung;negate;gamma=0.5' | tr -d '\n' | seed fuzz_regions rectangle '\001'
echo 'runs:12,40,60 13,38,62;center=300;width=600;invert' | tr -d '\n' | seed fuzz_regions runs '\001'
for last in 1 2 3 4 5 6 7 8; do
    printf '{"id":0,"frame":0,"state":-1,"center":40,"width":400,"regions":["rect:1,1,9,9;center=0;width=9"]}' |
        seed fuzz_requests "request$last" "\\000\\000\\00$last\\001"
done
[ -e "$top/samples/ct.dcm" ] || $top/zev sample "$top/samples" >/dev/null
$top/zev save "$top/samples/ct.dcm" --gsps-out "$top/samples/written.dcm" --force --preset Bone \
    --region 'ellipse:150,250,70,110;center=-600;width=1600' >/dev/null 2>&1 || true
$top/zev save "$top/samples/ct.dcm" --ddp-out "$top/samples/ddp.dcm" --invert >/dev/null 2>&1 || true
for state in "$top"/samples/*state*.dcm "$top/samples/written.dcm"; do
    [ ! -e "$state" ] || seed fuzz_state "$(basename "$state")" "" '\000' <"$state"
done
for file in "$top"/samples/*.dcm; do
    head -c 6000 "$file" | seed fuzz_dicom "$(basename "$file")" "" '\005'
done

# In memory.
TMPDIR=$(mktemp -d -p /dev/shm)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT INT TERM

failed=0
[ $# -gt 0 ] || set -- $(cd fuzz && ls fuzz_*.cpp | sed 's/\.cpp$//')
for program; do
    mkdir -p "$top/corpus/$program" "$seeds/$program"
    log=$top/$program.log
    result="no finding"
    "$top/$program" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=3000 -max_len=8192 -print_final_stats=1 \
        -dict=fuzz/words.dict -artifact_prefix="$top/findings/$program-" "$top/corpus/$program" "$seeds/$program" \
        >"$log" 2>&1 || {
        failed=1
        result="FINDING $(grep -o "$top/findings/[^ ]*" "$log" | tail -n 1), see $log"
    }
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "$program: ${runs:-0} inputs, $result"
done
exit $failed
