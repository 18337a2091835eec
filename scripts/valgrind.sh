#!/usr/bin/env bash
# Runs the tests with every program under valgrind's memory checker; fails if it reports an error in any process. Arguments
# are passed on to ctest, for example -R NAME.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)
"$root/scripts/setup.sh" base valgrind
cd "$root"

left_out=(
    segmentThatAnotherUserKeepsToHimselfIsReported # valgrind answers shmat() itself, with another error
    KilledFeeder                                   # feeders that are so slow are killed before their first frame
    Soak                                           # asks the allocator, whose place valgrind takes
)

cmake --preset valgrind
cmake --build --preset valgrind --parallel "$jobs"
logs=build/valgrind/logs
rm -rf "$logs"
mkdir "$logs"
status=0
ctest --preset valgrind --parallel "$jobs" --exclude-regex "$(IFS='|' && echo "${left_out[*]}")" "$@" </dev/null ||
    status=$?

found=$(find "$logs" -type f -size +0 -print -exec cat {} \;)
if [[ -n $found ]]; then
    printf '%s\n' "$found" >&2
    status=1
fi
exit "$status"
