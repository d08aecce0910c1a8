#!/bin/bash
# Draws a folder with render-array.sbatch on a Slurm of one machine and two nodes, kills a process and a task
# in the middle, submits the job again, and compares the pictures with those of one run of the program:
#
#     test.sh PROGRAM
#
# Exit status 77: this needs root and the packages slurmctld, slurmd, slurm-client and munge.
set -eu
PATH=$PATH:/usr/sbin:/sbin
here=$(cd "$(dirname "$0")" && pwd)
ZEV=$(realpath "$1")
export ZEV

skip() {
    echo "skipped: $1"
    exit 77
}
[ "$(id -u)" -eq 0 ] || skip "needs root"
for tool in munged slurmctld slurmd sbatch squeue scancel scontrol sinfo; do
    command -v $tool >/dev/null || skip "there is no $tool"
done

dir=$(mktemp -d /tmp/zev-slurm-XXXXXX)
chmod 755 "$dir"
export SLURM_CONF=$dir/slurm.conf
daemons=()

clean_up() {
    local status=$?
    trap - EXIT
    timeout 10 scancel --user=root --signal=KILL --full 2>/dev/null || true
    timeout 10 scancel --user=root 2>/dev/null || true
    await 10 jobs_are_done || true
    for ((i = ${#daemons[@]} - 1; i >= 0; --i)); do kill "${daemons[i]}" 2>/dev/null || true; done
    sleep 1
    for daemon in "${daemons[@]}"; do kill -9 "$daemon" 2>/dev/null || true; done
    wait
    if [ $status -ne 0 ] && [ $status -ne 77 ]; then
        tail -n 20 "$dir"/*.log "$dir"/slurm-*.out 2>/dev/null || true
    fi
    rm -rf "$dir"
    exit $status
}
trap clean_up EXIT
trap 'exit 143' INT TERM

fail() {
    echo "failed: $1"
    exit 1
}

# Waits until a command succeeds, for so many seconds; in all not so long that somebody ends this script.
await() {
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        [ $SECONDS -lt $end ] && [ $SECONDS -lt 150 ] || return 1
        sleep 0.2
    done
}

start() {
    "$@" >>"$dir/start.log" 2>&1 &
    daemons+=($!)
}

is_free() { ! (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }
port=$((20000 + RANDOM % 10000))
until is_free $port && is_free $((port + 1)) && is_free $((port + 2)); do port=$((port + 3)); done

host=$(hostname -s)
mkdir "$dir/state" "$dir/munge"
(umask 077 && head -c 128 /dev/urandom >"$dir/munge/key")
cat >"$SLURM_CONF" <<END
ClusterName=zev
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$port
SlurmctldTimeout=5
SlurmctldPidFile=$dir/slurmctld.pid
SlurmctldLogFile=$dir/slurmctld.log
SlurmdPidFile=$dir/%n.pid
SlurmdLogFile=$dir/%n.log
SlurmdSpoolDir=$dir/%n
StateSaveLocation=$dir/state
SlurmUser=root
AuthType=auth/munge
AuthInfo=socket=$dir/munge/socket
ProctrackType=proctrack/pgid
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SlurmdParameters=config_overrides
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
MpiDefault=none
ReturnToService=2
KillWait=5
NodeName=zev1 NodeHostname=$host NodeAddr=127.0.0.1 Port=$((port + 1)) CPUs=2 RealMemory=4000
NodeName=zev2 NodeHostname=$host NodeAddr=127.0.0.1 Port=$((port + 2)) CPUs=2 RealMemory=4000
PartitionName=all Nodes=zev[1-2] Default=YES MaxTime=10 State=UP
END

start munged --foreground --force --key-file="$dir/munge/key" --socket="$dir/munge/socket" \
    --pid-file="$dir/munge/pid" --log-file="$dir/munged.log" --seed-file="$dir/munge/seed"
await 10 test -S "$dir/munge/socket" || fail "munged does not start"
start slurmctld -D -c
for node in zev1 zev2; do
    mkdir "$dir/$node"
    start slurmd -D -N $node
done
nodes_are_idle() { [ "$(sinfo --noheader --Node --format=%t 2>/dev/null | grep -c '^idle$')" -eq 2 ]; }
await 30 nodes_are_idle || fail "the nodes do not come up"

# A few hundred images in a few folders, large enough to be on the way for some seconds.
"$ZEV" sample "$dir/samples" >/dev/null
rm "$dir/samples/ct-state.dcm"
for folder in 1 2 3 4; do
    for copy in 1 2 3 4 5 6 7; do
        mkdir -p "$dir/in/$folder/$copy"
        cp "$dir"/samples/*.dcm "$dir/in/$folder/$copy"
    done
done
cp "$dir"/samples/*.dcm "$dir/in"
"$ZEV" render "$dir/in" -o "$dir/expected" --zoom 3 --format tiff --quiet
count() { find "$1" -name '*.tif' 2>/dev/null | wc -l; }
expected=$(count "$dir/expected")
[ "$expected" -eq "$(find "$dir/in" -type f | wc -l)" ] || fail "$expected pictures of one run"

submit() {
    job=$(sbatch --parsable --array=1-4 --cpus-per-task=2 --mem-per-cpu=500M --output="$dir/slurm-%A-%a.out" \
        "$here/render-array.sbatch" "$dir/in" "$dir/out" --zoom 3 --format tiff)
}
jobs_are_done() { [ -z "$(squeue --noheader 2>/dev/null || echo unknown)" ]; }
states() { scontrol --oneliner show job "$1" | grep -o 'JobState=[A-Z]*' | sort | uniq -c | tr -s ' \n' ' '; }
# Processes of the job whose parent is one as well.
workers() {
    local all
    all=" $(pgrep -f -- "--output $dir/out" | tr '\n' ' ')"
    for process in $all; do
        parent=$(awk '/^PPid/ { print $2 }' "/proc/$process/status" 2>/dev/null) || continue
        case $all in *" $parent "*) echo "$process" ;; esac
    done
}

task_of() { tr '\0' '\n' <"/proc/$1/environ" | sed -n 's/^SLURM_ARRAY_TASK_ID=//p'; }

submit
has_begun() {
    worker=$(workers | head -n 1)
    [ -n "$worker" ] && [ "$(count "$dir/out")" -ge 10 ] || return 1
    task=$(task_of "$worker")
    other=$(squeue --noheader --array --states=RUNNING --format=%K | grep -v "^$task\$" | head -n 1)
    [ -n "$other" ]
}
await 60 has_begun || fail "the job does not begin"
kill -9 "$worker"
scancel "${job}_$other"
await 90 jobs_are_done || fail "the job does not end"
first=$(count "$dir/out")
echo "first run: $first of $expected pictures,$(states "$job")"
states "$job" | grep -q ' 1 JobState=CANCELLED 2 JobState=COMPLETED 1 JobState=FAILED ' || fail "states"
[ "$first" -lt "$expected" ] || fail "nothing was interrupted"
grep -q 'was killed' "$dir"/out.reports/*.jsonl || fail "the killed process is not in a report"

submit
await 90 jobs_are_done || fail "the second job does not end"
echo "second run: $(count "$dir/out") of $expected pictures,$(states "$job")"
states "$job" | grep -q '^ 4 JobState=COMPLETED $' || fail "a task of the second run failed"
diff -r "$dir/expected" "$dir/out" || fail "the pictures are not those of one run"
drawn=$(cat "$dir"/out.reports/*.jsonl | grep -c '"error":null')
echo "passed: $expected pictures, $drawn drawn in all"
