#!/usr/bin/env bash
# An outside CMake project finds the package, builds against it and runs.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=settings.sh.in
source "$1"

build=$work_dir/cmake-consumer
rm -rf "$build"
"$cmake" -S "$source_dir/consumer" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$prefix" -DWANTED_VERSION="${version%.*}"
"$cmake" --build "$build"
expect_same "output" "$("$build/consumer")" "speed = 105.5 at 1234"

# The library that was found is the installed one.
expect_same "library" "$(ldd "$build/consumer" | sed -n 's/.*libqzsignal[^ ]* => \([^ ]*\) .*/\1/p')" \
    "$prefix/$libdir/libqzsignal.so.$soversion"

# Before 1.0 a program that was written for another minor version is turned away.
other=${version%%.*}.0
if "$cmake" -S "$source_dir/consumer" -B "$build-other" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$prefix" -DWANTED_VERSION="$other" >"$work_dir/other.log" 2>&1; then
    echo "version $other was asked for and $version found"
    exit 1
fi
grep --quiet "qzsignalConfig.cmake, version: $version" "$work_dir/other.log"
