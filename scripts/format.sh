#!/usr/bin/env bash
# Formats C++ files by .clang-format, without braces around single statements.
set -euo pipefail

usage="Usage: scripts/format.sh [--check] [FILE...]

Formats the given C++ files, by default all of the tree, new ones included.

Options:
  --check  change nothing; name the files that are not formatted and fail if there are any"

cd "$(dirname "${BASH_SOURCE[0]}")/.."

check=no
files=()
for argument in "$@"; do
    case $argument in
        --check) check=yes ;;
        -h | --help)
            echo "$usage"
            exit 0
            ;;
        -*)
            echo "format.sh: unknown option '$argument'" >&2
            echo "$usage" >&2
            exit 64
            ;;
        *) files+=("$argument") ;;
    esac
done
if [[ ${#files[@]} -eq 0 ]]; then
    mapfile -t files < <(git ls-files --cached --others --exclude-standard '*.h' '*.cpp')
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
{
    cat .clang-format
    echo "RemoveBracesLLVM: true"
} >"$scratch/without-braces"

# Two passes, since a pass that also removes braces breaks lines at other places.
format() {
    clang-format --style="file:$1/without-braces" "$3" | clang-format --assume-filename="$3" >"$1/$$"
    if cmp --silent "$1/$$" "$3"; then
        return 0
    fi
    if [[ $2 == yes ]]; then
        echo "$3 is not formatted: scripts/format.sh $3"
        return 1
    fi
    cat "$1/$$" >"$3"
}
export -f format
printf '%s\0' "${files[@]}" |
    xargs --null --max-procs="$(nproc)" --replace bash -c 'format "$@"' format "$scratch" "$check" '{}'
