#!/usr/bin/env bash
# What can be called after including an installed header can also be linked: by every caller, and by every derived class.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=settings.sh.in
source "$1"

# Functions that the library defines, but does not export. Those of classes and functions that an installed header declares
# would compile and then fail to link.
names() {
    "$nm" --demangle --defined-only "$@" | sed -nE 's/^[0-9a-f]+ [TBDRS] //p' | LC_ALL=C sort --unique
}
status=0
hidden=0
cd "$prefix/$includedir"
while read -r symbol; do
    hidden=$((hidden + 1))
    name=${symbol%%(*}
    class=${name%::*}
    class=${class##*::}
    class=${class%%<*}
    function=${name##*::}
    # Before the name of a class that is defined there may be an attribute; a class that is only declared ends with ";".
    if [[ $name == *::* && $class != qzsignal ]]; then
        pattern="(class|struct) ([A-Z_]+ )*$class\b[^;]*$"
    else
        # Functions of a namespace are not indented, unlike members.
        pattern="^[A-Za-z_][A-Za-z_0-9:<>,&* ]*[ &*]$function\("
    fi
    if grep --recursive --extended-regexp --quiet -- "$pattern" qzsignal; then
        echo "declared in an installed header, but not exported: $symbol"
        status=1
    fi
done < <(LC_ALL=C comm -23 <(names "$build_dir/qzsignal/libqzsignal_internal.a") \
    <(names --dynamic "$prefix/$libdir/libqzsignal.so"))
# Otherwise the lists were not parsed.
[[ $hidden -gt 0 ]]

# Inline functions are compiled even if nothing calls them, and of templates all members.
program=$work_dir/inline-members
{
    for header in ${installed_headers//;/ }; do
        echo "#include \"$header\""
    done
    cat "$source_dir/members.cpp"
} >"$program.cpp"
build_outside "$compiler" -fkeep-inline-functions "$program.cpp" "$program" || status=1

for builder in "$compiler" $other_compiler; do
    for option in -frtti -fno-rtti -fno-exceptions; do
        program=$work_dir/members-$(basename "$builder")$option
        build_outside "$builder" "$option" "$source_dir/members.cpp" "$program" || status=1
    done
done
exit "$status"
