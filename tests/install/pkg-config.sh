#!/usr/bin/env bash
# A program outside the tree is built with a plain compiler call and the flags from pkg-config, and runs.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=settings.sh.in
source "$1"

export PKG_CONFIG_LIBDIR=$prefix/$libdir/pkgconfig
expect_same "version" "$(pkg-config --modversion qzsignal)" "$version"

program=$work_dir/pkg-config-consumer
read -r -a flags < <(pkg-config --cflags --libs qzsignal)
"$compiler" -std=c++17 "$source_dir/../../examples/installed/main.cpp" -o "$program" "${flags[@]}"
expect_same "output" "$(LD_LIBRARY_PATH=$prefix/$libdir "$program")" "105.5 at 1234, fast"
