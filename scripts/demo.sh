#!/usr/bin/env bash
# Shows the command at work: one process replays a recorded drive while others read its signals and wait for a trigger.
set -euo pipefail

# Read during the drive; scripts/generate-demo-drive.py defines them.
shown=(VehicleSpeed.Speed Engine.Speed Transmission.Gear)
condition='VehicleSpeed.Speed > 50 && RemoteControl.Trigger == pressed'

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
qzsignal=$root/build/release/tools/qzsignal
scratch=$(mktemp -d)
replay=
watcher=

# Interrupts a process, if it was started, and waits for its end.
end() {
    if [[ -n $1 ]]; then
        kill -INT "$1" 2>/dev/null || true
        wait "$1" || true
    fi
}
end_replay() {
    end "$replay"
    replay=
}
end_watcher() {
    end "$watcher"
    watcher=
}
trap 'end_watcher; end_replay; rm -rf "$scratch"' EXIT
trap 'exit 130' INT TERM

heading() {
    printf '\n== %s\n' "$1"
}

# Prints a command as a user would type it, and runs it.
show() {
    echo "\$ qzsignal $*"
    "$qzsignal" "$@"
}

build() {
    cmake --preset release && cmake --build --preset release --parallel "$(nproc)" --target qzsignal_command
}

"$root/scripts/setup.sh" base
cd "$root"
heading "Build the command"
if ! build >"$scratch/build.log" 2>&1; then
    cat "$scratch/build.log"
    exit 1
fi
"$qzsignal" --version

heading "Make a recorded drive and its signal database"
python3 scripts/generate-demo-drive.py "$scratch"
head -n 3 "$scratch/drive.log"
echo "... $(wc -l <"$scratch/drive.log") frames in all"

heading "Replay it in a process of its own, as fast as it was driven"
echo "\$ qzsignal replay --dbc drive.dbc drive.log &"
# Job control gives the replay its default response to an interrupt; scripts otherwise start what runs in the background
# with interrupts ignored.
set -m
"$qzsignal" replay --dbc "$scratch/drive.dbc" "$scratch/drive.log" >"$scratch/replay.out" 2>&1 </dev/null &
replay=$!

heading "Watch for a trigger in another process: fast, while a key of the remote control is held"
echo "\$ qzsignal eval --follow --wait 10 '$condition' &"
"$qzsignal" eval --follow --wait 10 "$condition" >"$scratch/watcher.out" 2>&1 </dev/null &
watcher=$!
set +m

for _ in {1..50}; do
    if "$qzsignal" read "${shown[@]}" >/dev/null 2>&1; then
        break
    fi
    if ! kill -0 "$replay" 2>/dev/null; then
        break
    fi
    sleep 0.1
done
if ! "$qzsignal" read "${shown[@]}" >/dev/null; then
    echo "The signals did not appear; the replay says:"
    cat "$scratch/replay.out"
    exit 1
fi

heading "Which signals are there"
show list

heading "Read some of them from other processes while it drives"
for _ in {1..5}; do
    show read --dbc "$scratch/drive.dbc" "${shown[@]}"
    sleep 3
done

heading "The same for programs"
show read --json "${shown[@]}"

heading "End the replay; its signals go with it"
end_replay
cat "$scratch/replay.out"

if show read "${shown[0]}"; then
    echo "The signal is still there."
    exit 1
fi
echo "It is gone."

heading "What the process that watched for the trigger has seen"
sleep 0.2 # it looks every 20 ms
end_watcher
cat "$scratch/watcher.out"

heading "Find the same in the recording, without any process beside"
echo "\$ qzsignal trigger --dbc drive.dbc --level '$condition' drive.log"
"$qzsignal" trigger --dbc "$scratch/drive.dbc" --level "$condition" "$scratch/drive.log"

heading "Values of the drive as a table, and its speed as a picture"
results=${TMPDIR:-/tmp}/qzsignal-demo
mkdir -p "$results"
(
    cd "$scratch"
    show export -d drive.dbc --only 'VehicleSpeed.Speed' --only 'Transmission.Gear' --format wide --step 0.1 drive.log \
        -o "$results/drive.csv"
    show plot -d drive.dbc --svg drive.log "${shown[@]}" --mark 'Brake.PedalPressed' -o "$results/drive.svg"
    if show plot -d drive.dbc drive.log "${shown[@]}" --mark 'Brake.PedalPressed' -o "$results/drive.html"; then
        echo "Open $results/drive.html in a browser."
    fi
)
ls "$results"
