#!/usr/bin/env bash
# Wanted records are fed, all others skipped.
set -euo pipefail
read -r -a emulator <<<"$1"

diff <("${emulator[@]}" "$2") - <<END
CAN at 10: fed
CAN at 20: skipped
FlexRay at 30: fed
FlexRay at 40: skipped
LIN at 50: no signal found
input at 60: fed
input at 70: fed
DI.3 = 1  at 60
DI.4 = 1  at 70
Example.Blower has no value
Example.Pedal = 50 % at 10
Example.Steering = 45 deg at 30
Example.StoredPedal = 50 % at 10
END
