#!/usr/bin/env bash
# The shared library exports the public names and nothing else, and needs only the C and C++ run-time libraries.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=settings.sh.in
source "$1"

library=$prefix/$libdir/libqzsignal.so

# Each symbol is reduced to its line in the list of public names. Symbols of any other form stay as they are, and so fail
# the comparison.
owners=$("$nm" --dynamic --defined-only --demangle "$library" | cut -d ' ' -f 3- | sed -E '
    s/^([A-Za-z_0-9]+)$/variable \1/
    s/^(vtable|typeinfo|typeinfo name) for ([A-Za-z_0-9]+)$/class \2/
    s/^operator<<\(std::ostream&, ([A-Za-z_0-9]+) const&\)$/operator<< \1/
    s/^([A-Za-z_0-9]+)::.*/class \1/' | LC_ALL=C sort --unique)
expect_same "exported names" "$owners" "$(grep '^[^#]' "$public_names" | LC_ALL=C sort)"

needed=$("$readelf" --dynamic "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
expect_same "libraries needed at run time" \
    "$(grep -v -E '^(libstdc\+\+|libgcc_s|libc|libm|libpthread|ld|ld-linux[-a-z0-9_]*)\.so\.[0-9]+$' <<<"$needed")" ""
# Otherwise the list was not parsed.
grep --quiet "^libstdc++" <<<"$needed"
