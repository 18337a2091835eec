#!/usr/bin/env bash
# Counts are reported, recorded and compared with the recorded ones. Scripts that invent the counts of a program with two
# operations stand in for valgrind and the emulator.
set -euo pipefail
script=$1

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
bounds=$scratch/bounds.txt

# A program is known by the beginning of its header. The one for valgrind also names its operations by itself.
mkdir -p x86/benchmarks ppc/benchmarks none/benchmarks
g++ -x c++ -o x86/benchmarks/hot_operations - <<'PROGRAM'
#include <cstdio>
int main() { std::puts("first\nsecond"); }
PROGRAM
printf '\x7fELF\x01\x02\x01\0\0\0\0\0\0\0\0\0\0\x03\0\x14' >ppc/benchmarks/hot_operations
printf '\x7fELF\x01\x01\x01\0\0\0\0\0\0\0\0\0\x03\0\x28\0' >none/benchmarks/hot_operations

mkdir counters
cat >counters/valgrind <<'VALGRIND'
#!/usr/bin/env bash
case "${*: -2:1}" in
    first) echo "==1== Collected : $((123456 + first * ${*: -1}))" >&2 ;;
    second) echo "==1== Collected : $((234567 + second * ${*: -1}))" >&2 ;;
    *) exit 1 ;;
esac
VALGRIND
cat >counters/qemu-ppc <<'EMULATOR'
#!/usr/bin/env bash
case "${*: -2:1} ${*: -1}" in
    *" --list") printf '%s\n' first second ;;
    "first "*) echo "instructions: $((345678 + 3 * first * ${*: -1}))" >&2 ;;
    "second "*) echo "instructions: $((456789 + 3 * second * ${*: -1}))" >&2 ;;
    *) exit 1 ;;
esac
EMULATOR
chmod +x counters/*
PATH=$scratch/counters:$PATH
export first=100 second=2000

# Runs the script. Fails, with its output, unless it ends with the given status and prints all of the texts.
expect() {
    local status=0 expected=$1 options=$2
    shift 2
    # shellcheck disable=SC2086 # several words
    "$script" --bounds "$bounds" $options >said 2>&1 || status=$?
    if [[ $status -ne $expected ]]; then
        echo "$options: status $status instead of $expected"
        cat said
        return 1
    fi
    for text in "$@"; do
        if ! grep --quiet --fixed-strings -- "$text" said; then
            echo "$options: does not say '$text'"
            cat said
            return 1
        fi
    done
}

expect 0 "x86 --json x86.json" "first                                 100.0"
expect 0 "ppc --json ppc.json" "second                               6000.0"
python3 - <<'PYTHON'
import json
for name, counts in (
    ("x86.json", {"target": "x86-64", "operations": {"first": 100, "second": 2000}}),
    ("ppc.json", {"target": "ppc", "operations": {"first": 300, "second": 6000}}),
):
    with open(name) as file:
        assert json.load(file) == counts, name
PYTHON

[[ ! -e $bounds ]]
expect 0 "x86 --update"
expect 0 "x86 --check" "passed  first: 100.0 of 100.0" "passed  second: 2000.0 of 2000.0"

# Five percent above the bound pass, six fail.
first=105
expect 0 "x86 --check" "passed  first: 105.0 of 100.0"
first=106
expect 1 "x86 --check" "FAILED  first: 106.0, 6.0% above the bound of 100.0" "passed  second"
expect 0 "x86 --update"
expect 0 "x86 --check" "passed  first: 106.0 of 106.0"

# A bound that has become too high is reported.
second=1900
expect 0 "x86 --check" "passed  second: 1900.0, 5.0% below the bound of 2000.0: lower the bound"
second=1901
expect 0 "x86 --check" "passed  second: 1901.0 of 2000.0"

# Each operation has a bound, and each bound an operation.
sed -i '/^second/d' "$bounds"
expect 1 "x86 --check" "passed  first" "FAILED  second: 1901.0, and no bound"
echo "third 5.0" >>"$bounds"
expect 1 "x86 --check" "FAILED  second" "FAILED  third: has a bound of 5.0, but is no operation"

# The bounds are those of one target; what fails is not counted.
expect 1 "ppc --check" "the bounds are those of x86-64"
expect 1 "ppc --update" "the bounds are those of x86-64"
expect 1 "none" "is for none of the targets"
expect 1 "missing" "No such file"
printf '#!/bin/sh\nexit 3\n' >counters/valgrind
expect 1 "x86 --check" "ended with status 3"
