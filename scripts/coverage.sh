#!/usr/bin/env bash
# Prints the line coverage of the library's files by the tests; fails if it is too low.
set -euo pipefail

minimum=95 # percent of all lines of the library

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)
"$root/scripts/setup.sh" base coverage
cd "$root"

cmake --preset coverage
cmake --build --preset coverage --parallel "$jobs"
# Counts of earlier runs would hide what the tests no longer reach.
find build/coverage -name '*.gcda' -delete
ctest --preset coverage --parallel "$jobs" </dev/null

gcovr --root "$root" --object-directory build/coverage --filter 'qzsignal/' \
    --sort-percentage --fail-under-line "$minimum"
