#!/usr/bin/env bash
# Installs the build and checks that exactly the expected files are there. The other tests use the result.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=settings.sh.in
source "$1"

rm -rf "$work_dir"
DESTDIR=$destdir "$cmake" --install "$build_dir" --prefix /opt/qzsignal

expected=$(
    for header in ${installed_headers//;/ }; do
        echo "$includedir/$header"
    done
    echo "$libdir/libqzsignal.so"
    echo "$libdir/libqzsignal.so.$soversion"
    echo "$libdir/libqzsignal.so.$version"
    echo "$libdir/cmake/qzsignal/qzsignalConfig.cmake"
    echo "$libdir/cmake/qzsignal/qzsignalConfigVersion.cmake"
    echo "$libdir/cmake/qzsignal/qzsignalTargets.cmake"
    echo "$libdir/cmake/qzsignal/qzsignalTargets-$configuration.cmake"
    echo "$libdir/pkgconfig/qzsignal.pc"
    if [[ -n $command ]]; then
        echo "$bindir/$command"
        echo "$mandir/man1/$command.1"
    fi
)
expect_same "files" "$(cd "$prefix" && find . -not -type d -printf '%P\n' | LC_ALL=C sort)" \
    "$(LC_ALL=C sort <<<"$expected")"
expect_same "files outside the prefix" "$(find "$destdir" -not -type d -not -path "$prefix/*")" ""

library=$prefix/$libdir/libqzsignal.so
expect_same "target of the link name" "$(readlink "$library")" "libqzsignal.so.$soversion"
expect_same "target of the run-time name" "$(readlink "$library.$soversion")" "libqzsignal.so.$version"
expect_same "SONAME" "$("$readelf" --dynamic "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')" \
    "libqzsignal.so.$soversion"

# A path of the build machine in the package would break it elsewhere.
if grep --recursive --fixed-strings "$build_dir" "$prefix/$libdir/cmake" "$prefix/$libdir/pkgconfig"; then
    echo "the package refers to the build folder"
    exit 1
fi
