#!/usr/bin/env bash
# Of the installed headers, those that are internal, and no others, say so, and each is there because another one includes it.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=settings.sh.in
source "$1"

cd "$prefix/$includedir"
expect_same "headers that say they are internal" \
    "$(grep --recursive --files-with-matches '^/// Internal: ..*\.$' qzsignal | LC_ALL=C sort)" \
    "$(tr ';' '\n' <<<"$internal_headers" | LC_ALL=C sort)"

status=0
for header in ${internal_headers//;/ }; do
    if ! grep --recursive --quiet "^#include \"$header\"" qzsignal; then
        echo "no installed header includes $header"
        status=1
    fi
done
exit "$status"
