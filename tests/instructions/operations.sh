#!/usr/bin/env bash
# Every hot operation runs and checks that it has done what its name says; an unknown operation is refused.
set -euo pipefail
read -r -a emulator <<<"$1"
program=("${emulator[@]}" "$2")

mapfile -t names < <("${program[@]}" --list)
[[ ${#names[@]} -gt 0 ]]
for name in "${names[@]}"; do
    "${program[@]}" "$name" 1000
done

refuses() {
    local status=0
    "${program[@]}" "$@" 2>/dev/null || status=$?
    [[ $status -eq 64 ]]
}
refuses
refuses --list "${names[0]}"
refuses "${names[0]}"
refuses "${names[0]}" 0
refuses "${names[0]}" 1001
refuses none 1000
