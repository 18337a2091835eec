#!/usr/bin/env bash
# Looks for inputs that a fuzz target fails on, one target after the other.
set -euo pipefail

usage="Usage: scripts/fuzz.sh [TARGET [SECONDS]]

Runs a fuzz target, or all of them, for the given time each (default: 600 seconds), on one core. What it
learns is kept in build/fuzz/corpus/TARGET and used by the next run. The first finding ends a run; its input
is put into build/fuzz/findings/TARGET. Once it is understood, keep it in tests/fuzz/TARGET/corpus, whose
entries every test run goes through."

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
targets=()
for folder in "$root"/tests/fuzz/*/; do
    targets+=("$(basename "$folder")")
done

case ${1:-} in
    -h | --help)
        echo "$usage"
        echo
        echo "Targets: ${targets[*]}"
        exit 0
        ;;
    "") ;;
    *)
        if [[ " ${targets[*]} " != *" $1 "* ]]; then
            echo "fuzz.sh: unknown target '$1'; there are: ${targets[*]}" >&2
            exit 64
        fi
        targets=("$1")
        ;;
esac
seconds=${2:-600}
if [[ ! $seconds =~ ^[1-9][0-9]*$ || $# -gt 2 ]]; then
    echo "$usage" >&2
    exit 64
fi

"$root/scripts/setup.sh" base fuzz
cd "$root"
cmake --preset fuzz
cmake --build --preset fuzz --parallel "$(nproc)"

status=0
for target in "${targets[@]}"; do
    learned=build/fuzz/corpus/$target
    findings=build/fuzz/findings/$target/
    mkdir -p "$learned" "$findings"
    echo "== $target"
    build/fuzz/tests/fuzz/fuzz_"$target" -max_total_time="$seconds" -timeout=10 -max_len=2000 -print_final_stats=1 \
        -dict="tests/fuzz/$target/$target.dict" -artifact_prefix="$findings" \
        "$learned" "tests/fuzz/$target/corpus" || status=1
done
exit "$status"
