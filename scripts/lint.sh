#!/usr/bin/env bash
# Checks form and language of the tree, and runs the static checks on the library, the command and the examples.
#
# The functions are called by name, through `check`, which shellcheck does not see:
# shellcheck disable=SC2317
set -euo pipefail

usage="Usage: scripts/lint.sh [--no-setup]

Prints a line for each check, 'passed ...' or 'FAILED ...', after its findings. scripts/format.sh repairs the format.

Options:
  --no-setup  do not look for missing packages"

setup=yes
for argument in "$@"; do
    case $argument in
        -h | --help)
            echo "$usage"
            exit 0
            ;;
        --no-setup) setup=no ;;
        *)
            echo "lint.sh: unknown argument '$argument'" >&2
            echo "$usage" >&2
            exit 64
            ;;
    esac
done

cd "$(dirname "${BASH_SOURCE[0]}")/.."
if [[ $setup == yes ]]; then
    scripts/setup.sh base lint docs
fi

status=0
output=$(mktemp)
trap 'rm -f "$output"' EXIT

# Runs a check: a command that prints its findings and fails if there are any.
check() {
    local name=$1 start=$SECONDS
    shift
    if "$@" >"$output" 2>&1; then
        echo "passed $name, in $((SECONDS - start)) s"
    else
        cat "$output"
        echo "FAILED $name, in $((SECONDS - start)) s"
        status=1
    fi
}

# Files that are new but not yet added are checked as well.
files() {
    git ls-files --cached --others --exclude-standard "$@"
}

# Without the lines on suppressed warnings from system headers.
static_checks() {
    files 'qzsignal/*.cpp' 'tools/*.cpp' ':(glob)examples/*.cpp' |
        xargs --max-procs="$(nproc)" --max-args=1 clang-tidy --quiet -p build/dev 2> >(grep -v 'warnings\? generated' >&2)
}

scripts_check() {
    files '*.sh' .ci/run | xargs shellcheck --external-sources
}

# Helpers that tend to be written twice: each pattern may occur in only one file of the library and the command.
one_place_each() {
    local pattern found result=0
    while read -r pattern; do
        mapfile -t found < <(git grep --untracked --extended-regexp --files-with-matches "$pattern" -- \
            'qzsignal/*.h' 'qzsignal/*.cpp' 'tools/*.h' 'tools/*.cpp')
        if [[ ${#found[@]} -gt 1 ]]; then
            echo "$pattern is in several files: ${found[*]}"
            result=1
        fi
    done <<'PATTERNS'
>= '0' && .* <= '9'
"/tmp"
"\[ERROR\] "
"\[WARNING\] "
PATTERNS
    return "$result"
}

check format scripts/format.sh --check
check shell scripts_check
check one-place-each one_place_each
check wording scripts/wording.py

# Generated sources have to be there before anything that includes them can be parsed.
check configure cmake --preset dev
check library cmake --build --preset dev --parallel "$(nproc)" --target qzsignal

# Every public declaration has its comment.
check reference cmake --build --preset dev --target docs
check man-page mandoc -Tlint -Wwarning docs/qzsignal.1

# GCC's own analyzer is left out: in GCC 12 it assumes that `new` returns null, loses track inside the standard library, and
# needs 5 GB where CLI11 is used.
check clang-tidy static_checks

exit "$status"
