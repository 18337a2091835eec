#!/usr/bin/env bash
# Measures the performance of the library and the command, and writes docs/performance.md with its plots.
set -euo pipefail

usage="Usage: scripts/bench.sh [--quick] [--output DIR]

Builds the release preset with its benchmarks in build/benchmarks, runs all of them, and writes the page on
performance and its plots. The results stay in build/benchmarks/results. That takes about ten minutes, on a
machine that should have nothing else to do.

Options:
  --quick       measure only briefly, to see that everything works; nothing is written without --output
  --output DIR  write page and plots into DIR instead of docs"

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
arguments=("$@")
quick=
output=
while [[ $# -gt 0 ]]; do
    case $1 in
        -h | --help)
            echo "$usage"
            exit 0
            ;;
        --quick) quick=yes ;;
        --output)
            if [[ $# -lt 2 ]]; then
                echo "$usage" >&2
                exit 64
            fi
            output=$(realpath --canonicalize-missing "$2")
            shift
            ;;
        *)
            echo "bench.sh: unknown argument '$1'" >&2
            echo "$usage" >&2
            exit 64
            ;;
    esac
    shift
done

# Debian's own Python, for which its matplotlib is packaged.
python=/usr/bin/python3
build=$root/build/benchmarks
results=$build/results
scratch=$(mktemp -d)

running= # the measurement, if there is one

# Removes what an interrupted measurement leaves: segments, of which the kernel allows few. Shared signals leave their
# key files in /tmp in any case; these are of the generated drive and of other benchmarks.
clean_up() {
    if [[ -n $running ]]; then
        kill "$running" 2>/dev/null || true
        wait "$running" || true
        awk -v creator="$running" '$5 == creator { print $2 }' /proc/sysvipc/shm |
            xargs --no-run-if-empty --max-args=1 ipcrm --shmem-id
    fi
    rm -rf "$scratch"
    find /tmp -maxdepth 1 -type f -empty '(' -name 'Message_[0-9A-F]*_Unit*.Signal*' -o -name 'qzbench_*' ')' -delete
}
trap clean_up EXIT
trap 'exit 130' INT TERM

repetitions=11
least_time=0.1 # seconds of a repetition
commands=()
contention=(1 5) # seconds of a round, rounds
if [[ -n $quick ]]; then
    repetitions=1
    least_time=0.001
    commands=(--frames 50000 --runs 1)
    contention=(0.02 1)
    results=$scratch/results
    output=${output:-$scratch/page}
fi
output=${output:-$root/docs}

# Sets `load`, and checks that the machine has enough of what the benchmarks take.
check_machine() {
    read -r load _ </proc/loadavg
    if ! awk -v load="$load" 'BEGIN { exit !(load < 0.5) }'; then
        echo "bench.sh: the machine is busy (load $load); times will be too long, and spread" >&2
    fi
    # 4,000 shared signals are defined at once.
    local used limit
    used=$(($(wc -l </proc/sysvipc/shm) - 1))
    limit=$(</proc/sys/kernel/shmmni)
    if ((limit - used < 4000)); then
        echo "bench.sh: too few System V segments are free: $used of $limit are in use (ipcs -m, kernel.shmmni)" >&2
        exit 69
    fi
}

# Runs a command so that the script can still be interrupted.
run() {
    local status=0
    "$@" &
    running=$!
    wait "$running" || status=$?
    running=
    return "$status"
}

# Runs a command on one core: the last one, as interrupts and system work tend to be on the first.
run_pinned() {
    local core
    core=$("$python" -c 'import os; print(max(os.sched_getaffinity(0)))')
    run taskset --cpu-list "$core" "$@"
}

heading() {
    printf '\n== %s\n' "$1"
}

check_machine
unset QZSIGNAL_DRIVE_DBC QZSIGNAL_DRIVE_LOG # the page is about the generated drive
"$root/scripts/setup.sh" base benchmarks cross instructions
cd "$root"

heading "Build"
cmake --preset release -B "$build" -DQZSIGNAL_BUILD_BENCHMARKS=ON -DQZSIGNAL_BUILD_TESTS=OFF -DQZSIGNAL_BUILD_EXAMPLES=OFF
cmake --build "$build" --parallel "$(nproc)"
cmake --preset ppc
cmake --build --preset ppc --parallel "$(nproc)" --target hot_operations

rm -rf "$results"
mkdir -p "$results"
"$python" -B benchmarks/describe-machine.py "$build" "$build/benchmarks/drive/drive.dbc" \
    "scripts/bench.sh${arguments[*]:+ ${arguments[*]}}" "$load" >"$results/machine.json"

heading "Operations"
run_pinned "$build/benchmarks/qzsignal_benchmarks" --benchmark_out="$results/times.json" --benchmark_out_format=json \
    --benchmark_repetitions="$repetitions" --benchmark_min_time="$least_time" \
    --benchmark_enable_random_interleaving=true --benchmark_display_aggregates_only=true \
    2>"$scratch/messages" || {
    cat "$scratch/messages" >&2
    exit 1
}
# For example a segment that was not available: then something else was measured.
if grep --fixed-strings '[ERROR]' "$scratch/messages" >&2; then
    exit 1
fi

heading "Commands"
run_pinned "$python" -B benchmarks/measure-commands.py "$build" "${commands[@]}" >"$results/commands.json"

heading "Contention"
run "$build/benchmarks/qzsignal_contention" "${contention[@]}" >"$results/contention.json"

heading "Instructions"
scripts/instructions.py "$build" --json "$results/instructions-x86-64.json"
scripts/instructions.py build/ppc --json "$results/instructions-ppc.json"

"$python" -B benchmarks/report "$results" "$output"
if [[ -d $output && $output != "$scratch"/* ]]; then
    echo "Written: $output/performance.md"
fi
