#!/usr/bin/env bash
# The trigger comes in a process that knows nothing of the bus.
set -euo pipefail
read -r -a emulator <<<"$1"

scratch=$(mktemp)
trap 'wait; rm -f "$scratch" /tmp/Example.Speed' EXIT
"${emulator[@]}" "$2" 3000 &
"${emulator[@]}" "$3" 1 >"$scratch" 2>/dev/null
wait # the writer removes the signal
cat "$scratch"
grep --quiet --extended-regexp '^[0-9]+: too fast$' "$scratch"
