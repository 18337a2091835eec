#!/usr/bin/env bash
# The installed command finds the installed library by itself.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=settings.sh.in
source "$1"

program=$prefix/$bindir/$command
expect_same "library" "$(ldd "$program" | sed -n 's/.*libqzsignal[^ ]* => \([^ ]*\) .*/\1/p' | xargs realpath)" \
    "$(realpath "$prefix/$libdir/libqzsignal.so")"
"$program" --version | grep --fixed-strings "$version"
