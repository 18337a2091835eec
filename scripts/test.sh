#!/usr/bin/env bash
# The test command: builds and tests all targets, or those named, and reports the number of tests in its last line.
set -euo pipefail

all_targets=(dev i686 ppc asan tsan fuzz instructions lint)
usage="Usage: scripts/test.sh [--no-setup] [TARGET...]

Targets (default: all but release):
  dev           x86-64, with debug information and a checked standard library
  release       x86-64, as installed
  i686          32-bit x86
  ppc           32-bit big-endian PowerPC, under qemu-user
  asan          address and undefined-behaviour sanitizers
  tsan          thread sanitizer
  fuzz          each fuzzer for ten seconds, starting from its corpus
  instructions  instruction counts of hot operations in the release build, against recorded bounds
  lint          format, static checks, scripts, comments and pages

Options:
  --no-setup  do not look for missing packages"

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)
setup=yes
targets=()
for argument in "$@"; do
    case $argument in
        -h | --help)
            echo "$usage"
            exit 0
            ;;
        --no-setup) setup=no ;;
        dev | release | i686 | ppc | asan | tsan | fuzz | instructions | lint) targets+=("$argument") ;;
        *)
            echo "test.sh: unknown argument '$argument'" >&2
            echo "$usage" >&2
            exit 64
            ;;
    esac
done
if [[ ${#targets[@]} -eq 0 ]]; then
    targets=("${all_targets[@]}")
fi

# Tests must not depend on how they were started.
exec </dev/null

if [[ $setup == yes ]]; then
    groups=(base)
    if [[ " ${targets[*]} " == *" i686 "* || " ${targets[*]} " == *" ppc "* ]]; then
        groups+=(cross)
    fi
    if [[ " ${targets[*]} " == *" dev "* ]]; then
        groups+=(page)
    fi
    for group in fuzz instructions; do
        if [[ " ${targets[*]} " == *" $group "* ]]; then
            groups+=("$group")
        fi
    done
    if [[ " ${targets[*]} " == *" lint "* ]]; then
        groups+=(lint docs)
    fi
    "$root/scripts/setup.sh" "${groups[@]}"
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$root"

# True if an empty program with the given sanitizer runs under the command that follows.
sanitizer_runs() {
    local sanitizer=$1
    shift
    echo 'int main() {}' | g++ "-fsanitize=$sanitizer" -x c++ -o "$scratch/probe" - &&
        "$@" "$scratch/probe" >/dev/null 2>&1
}

# Sets `wrapper`, the command that ctest runs under, to what the target's tests need.
prepare() {
    wrapper=(env)
    case $1 in
        asan)
            local asan_options=halt_on_error=1:detect_stack_use_after_return=1:strict_string_checks=1:detect_leaks=1
            # The leak checker traces its own process, which a container or debugger may forbid.
            if ! sanitizer_runs address env "ASAN_OPTIONS=$asan_options"; then
                echo "Leaks are not checked: tracing is restricted here."
                asan_options=${asan_options%=1}=0
            fi
            wrapper+=("ASAN_OPTIONS=$asan_options" UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1)
            ;;
        tsan)
            # A robust mutex refuses to be unlocked by a thread that does not hold it. Accesses that went on without the
            # lock try that, and tests; the sanitizer takes it for a mistake.
            wrapper+=(TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:report_mutex_bugs=0)
            # Kernels that randomise addresses widely place mappings where the sanitizer's shadow memory has to be.
            if ! sanitizer_runs thread env; then
                wrapper+=(setarch --addr-no-randomize)
            fi
            ;;
    esac
}

# Prints "passed failed skipped" for a result file of ctest. A test that did not run counts as failed unless it was
# skipped on purpose: its program may be missing, or a test that it depends on may have failed.
count() {
    python3 - "$1" <<'PYTHON'
import sys
import xml.etree.ElementTree as ElementTree

passed = failed = skipped = 0
for case in ElementTree.parse(sys.argv[1]).getroot().iter("testcase"):
    reason = case.find("skipped")
    if case.get("status") == "run":
        passed += 1
    elif case.get("status") == "disabled" or (reason is not None and reason.get("message", "").startswith("SKIP_")):
        skipped += 1
    else:
        failed += 1
print(passed, failed, skipped)
PYTHON
}

passed=0
failed=0
skipped=0
summary=()

# Adds to the totals and to the summary, whose lines deliberately differ in form from the closing line.
report() {
    local target=$1 seconds=$2 note=$6
    passed=$((passed + $3))
    failed=$((failed + $4))
    skipped=$((skipped + $5))
    summary+=("$(printf '%-12s %4d of %d tests passed, %d skipped, in %d s%s' \
        "$target" "$3" "$(($3 + $4 + $5))" "$5" "$seconds" "${note:+; $note}")")
}

run() {
    local target=$1 start=$SECONDS results=$root/build/$1/test-results.xml
    echo "== $target"
    rm -f "$results"
    if ! { cmake --preset "$target" && cmake --build --preset "$target" --parallel "$jobs"; }; then
        report "$target" $((SECONDS - start)) 0 1 0 "the build failed"
        return
    fi

    local wrapper status=0 counts
    prepare "$target"
    "${wrapper[@]}" ctest --preset "$target" --parallel "$jobs" --output-junit "$results" || status=$?
    if [[ ! -f $results ]] || ! counts=$(count "$results"); then
        report "$target" $((SECONDS - start)) 0 1 0 "ctest left no results"
        return
    fi
    local target_passed target_failed target_skipped note=
    read -r target_passed target_failed target_skipped <<<"$counts"
    # For example, a test program that could not list its tests.
    if [[ $status -ne 0 && $target_failed -eq 0 ]]; then
        target_failed=1
        note="ctest ended with status $status"
    fi
    report "$target" $((SECONDS - start)) "$target_passed" "$target_failed" "$target_skipped" "$note"
}

# Runs a command that prints a line for each of its tests, beginning with "passed" or "FAILED". `trouble` is the note if
# it fails without such a line.
run_command() {
    local target=$1 trouble=$2 start=$SECONDS results=$scratch/$1 status=0
    shift 2
    echo "== $target"
    "$@" | tee "$results" || status=$?
    local target_passed target_failed note=
    target_passed=$(grep --count '^passed ' "$results") || true
    target_failed=$(grep --count '^FAILED ' "$results") || true
    if [[ $status -ne 0 && $target_failed -eq 0 ]]; then
        target_failed=1
        note=$trouble
    fi
    report "$target" $((SECONDS - start)) "$target_passed" "$target_failed" 0 "$note"
}

for target in "${targets[@]}"; do
    case $target in
        # Each fuzzer, each operation and each check counts as a test.
        fuzz) run_command fuzz "the fuzzers did not run" scripts/fuzz.sh --no-setup --scratch all 10 ;;
        instructions) run_command instructions "they could not be counted" scripts/instructions.py --check ;;
        lint) run_command lint "the checks did not run" scripts/lint.sh --no-setup ;;
        *) run "$target" ;;
    esac
done

printf '\n'
printf '%s\n' "${summary[@]}"
closing="$passed passed, $failed failed"
if [[ $skipped -gt 0 ]]; then
    closing+=", $skipped skipped"
fi
echo "$closing"
[[ $failed -eq 0 && $passed -gt 0 ]]
