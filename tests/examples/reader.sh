#!/usr/bin/env bash
# Reader and writer meet by the signal's name alone, whichever starts first.
set -euo pipefail
read -r -a emulator <<<"$1"

scratch=$(mktemp)
trap 'wait; rm -f "$scratch" /tmp/Example.Speed' EXIT
"${emulator[@]}" "$3" 5 >"$scratch" 2>/dev/null &
reading=$!
"${emulator[@]}" "$2" 1000 &
wait "$reading"
wait # the writer removes the signal
cat "$scratch"
[[ $(grep --count --extended-regexp '^[0-9]+: [0-9.]+ rpm$' "$scratch") -eq 5 ]]
