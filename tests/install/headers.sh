#!/usr/bin/env bash
# Every installed header compiles on its own, without warnings, against the installed headers alone.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=settings.sh.in
source "$1"

status=0
checked=0
cd "$prefix/$includedir"
while read -r header; do
    checked=$((checked + 1))
    # Twice, to check the include guard.
    printf '#include "%s"\n' "$header" "$header" |
        "$compiler" -std=c++17 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I . -x c++ - || {
        echo "$header does not compile on its own"
        status=1
    }
done < <(find qzsignal -name '*.h')

if [[ $checked -eq 0 ]]; then
    echo "no headers in $PWD"
    status=1
fi
exit "$status"
