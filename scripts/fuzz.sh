#!/usr/bin/env bash
# Searches for inputs that a fuzz target fails on, one target after the other.
set -euo pipefail

usage="Usage: scripts/fuzz.sh [--scratch] [--no-setup] [TARGET|all [SECONDS]]

Runs a fuzz target, or all of them, for the given time each (default: 600 seconds), on one core. What it
learns is kept in build/fuzz/corpus/TARGET and used by the next run. The first finding ends a run; its input
is put into build/fuzz/findings/TARGET. Once it is understood, keep it in tests/fuzz/TARGET/corpus, whose
entries every test run goes through.

Options:
  --scratch   start from tests/fuzz/TARGET/corpus alone, the same way each time, and keep nothing but findings
  --no-setup  do not look for missing packages"

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
all_targets=()
for folder in "$root"/tests/fuzz/*/; do
    all_targets+=("$(basename "$folder")")
done
# Bytes of the longest inputs that are worth trying; 2000 for other targets.
declare -A longest=([dbc]=4000 [fibex]=6000 [kcd]=4000 [ldf]=4000 [records]=300 [shared]=600)

scratch=
setup=yes
while [[ ${1:-} == -* ]]; do
    case $1 in
        -h | --help)
            echo "$usage"
            echo
            echo "Targets: ${all_targets[*]}"
            exit 0
            ;;
        --scratch) scratch=yes ;;
        --no-setup) setup=no ;;
        *)
            echo "fuzz.sh: unknown option '$1'" >&2
            echo "$usage" >&2
            exit 64
            ;;
    esac
    shift
done
targets=("${all_targets[@]}")
if [[ ${1:-all} != all ]]; then
    if [[ " ${targets[*]} " != *" $1 "* ]]; then
        echo "fuzz.sh: unknown target '$1'; there are: ${targets[*]}" >&2
        exit 64
    fi
    targets=("$1")
fi
seconds=${2:-600}
if [[ ! $seconds =~ ^[1-9][0-9]*$ || $# -gt 2 ]]; then
    echo "$usage" >&2
    exit 64
fi

if [[ $setup == yes ]]; then
    "$root/scripts/setup.sh" base fuzz
fi
cd "$root"
cmake --preset fuzz
cmake --build --preset fuzz --parallel "$(nproc)"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The compiler's address sanitizer is older than kernels that spread mappings widely, and fails on them by chance.
fixed=()
if setarch --addr-no-randomize true 2>/dev/null; then
    fixed=(setarch --addr-no-randomize)
fi

# Freed memory is reused soon: the targets allocate and free large blocks with each input.
export ASAN_OPTIONS=quarantine_size_mb=4 UBSAN_OPTIONS=print_stacktrace=1
# The leak checker traces its own process, which a container or debugger may forbid.
echo 'int main() {}' | clang++ -fsanitize=address -x c++ -o "$work/probe" -
if ! "${fixed[@]}" "$work/probe" >/dev/null 2>&1; then
    echo "Leaks are not checked: tracing is restricted here."
    ASAN_OPTIONS+=:detect_leaks=0
fi

# Ends with a line for each target: passed, or FAILED and why.
status=0
for target in "${targets[@]}"; do
    learned=build/fuzz/corpus/$target
    options=()
    if [[ -n $scratch ]]; then
        learned=$work/$target
        options=(-seed=1 -verbosity=0) # the same inputs each time, so that a test run fails for a reason
    fi
    findings=build/fuzz/findings/$target/
    mkdir -p "$learned" "$findings"
    echo "== $target"
    touch "$work/started"
    if "${fixed[@]}" build/fuzz/tests/fuzz/fuzz_"$target" -max_total_time="$seconds" -timeout=10 \
        -max_len="${longest[$target]:-2000}" -print_final_stats=1 "${options[@]}" \
        -dict="tests/fuzz/$target/$target.dict" -artifact_prefix="$findings" "$learned" "tests/fuzz/$target/corpus"; then
        echo "passed $target"
    else
        found=$(find "$findings" -type f -newer "$work/started")
        echo "FAILED $target: ${found:-it ended without a finding}"
        status=1
    fi
done
exit "$status"
