#!/usr/bin/env bash
# A program that derives from every class is built with each compiler, also without run-time type information and without
# exceptions, without a warning, and does what it should.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=settings.sh.in
source "$1"

for builder in "$compiler" $other_compiler; do
    for option in -frtti -fno-rtti -fno-exceptions; do
        program=$work_dir/deriving-$(basename "$builder")$option
        echo "$program"
        build_outside "$builder" "$option" "$source_dir/deriving.cpp" "$program"
        run_outside "$program" >"$program.out"
        expect_same "last line" "$(tail -n 1 "$program.out")" "all as derived"
    done
done
