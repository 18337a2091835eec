#!/usr/bin/env bash
# The example of an outside CMake project finds the package, builds against it and runs.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=settings.sh.in
source "$1"

example=$source_dir/../../examples/installed
build=$work_dir/cmake-package
rm -rf "$build"
"$cmake" -S "$example" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$prefix"
"$cmake" --build "$build"
expect_same "output" "$("$build/installed")" "105.5 at 1234, fast"

# The library that was found is the installed one.
expect_same "library" "$(ldd "$build/installed" | sed -n 's/.*libqzsignal[^ ]* => \([^ ]*\) .*/\1/p')" \
    "$prefix/$libdir/libqzsignal.so.$soversion"

# Before 1.0, a program written for another minor version is refused.
other=$work_dir/other-version
rm -rf "$other"
cp -r "$example" "$other"
sed -i "s/find_package(qzsignal [0-9.]*/find_package(qzsignal ${version%%.*}.0/" "$other/CMakeLists.txt"
if "$cmake" -S "$other" -B "$other/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$prefix" >"$work_dir/other.log" 2>&1; then
    echo "found version $version for a program that asks for another one"
    exit 1
fi
grep --quiet "qzsignalConfig.cmake, version: $version" "$work_dir/other.log"
