#!/usr/bin/env bash
# The two programs that the README shows work as they stand there: one process defines and feeds, another reads.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=settings.sh.in
source "$1"

export PKG_CONFIG_LIBDIR=$prefix/$libdir/pkgconfig LD_LIBRARY_PATH=$prefix/$libdir
instance=qzsignal_test_readme_$$
trap 'rm -f "/tmp/$instance"' EXIT

# The README's n-th piece of C++, with a signal name of the test's own.
piece() {
    awk -v wanted="$1" '/^```cpp/ {n++; on = 1; next} /^```/ {on = 0} on && n == wanted' \
        "$source_dir/../../README.md" | sed "s/Engine\.Speed/$instance/"
}

cat >"$work_dir/readme.cpp" <<END
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include <cstdlib>
#include <iostream>

CANExtTraceMessage nextFrame() {
    CANExtTraceMessage frame;
    frame.channel = 1;
    frame.identifier = 0x0A0;
    frame.length = 2;
    frame.payload[0] = 0xB2;
    frame.payload[1] = 0x0C;
    return frame;
}

int main(int argc, char** argv) {
    if (argc == 1) {
$(piece 2)
    } else {
$(piece 1)
        return std::system((std::string(argv[0])).c_str());
    }
}
END
read -r -a flags < <(pkg-config --cflags --libs qzsignal)
"$compiler" -std=c++17 "$work_dir/readme.cpp" -o "$work_dir/readme" "${flags[@]}"
expect_same "output" "$("$work_dir/readme" writer)" "812.5 rpm"
