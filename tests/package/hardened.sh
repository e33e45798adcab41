#!/usr/bin/env bash
# hardened.sh PREFIX: each installed program and library has a protected stack, checked copies, and tables of the
# linker that become read-only before main. Files of any architecture will do.
. "$(dirname "$0")/common.sh"
prefix=$1
failed=0

# must FILE WHAT PATTERN READELF-OPTION: what readelf prints has the pattern.
must() {
    grep -qE -e "$3" <<<"$(readelf -W "$4" "$1")" || complain "$1" "$2"
}

complain() {
    echo "FAILED: ${1##*/}: $2"
    failed=1
}

# The compiler replaces each of these calls by a checked one. Whether it replaces others depends on what it knows. It
# cannot replace vsnprintf in std::to_string of a floating-point number, which takes the address of the function.
check_copies() {
    local unchecked
    unchecked=$(readelf -W --dyn-syms "$1" | grep -oE 'UND (v?(f|d|s)?printf|snprintf)(@|$)' || true)
    [ -z "$unchecked" ] || complain "$1" "calls are not checked: $unchecked"
}

files=("$prefix"/bin/kx* "$prefix/$KX_LIBDIR"/libKXAPI_*.so.*.*.*)
for file in "${files[@]}"; do
    [ -f "$file" ] || fail "$file is not installed"
    must "$file" "its load address is fixed" 'Type: *DYN' -h
    must "$file" "tables of the linker stay writable" 'GNU_RELRO' -l
    must "$file" "functions are bound when they are called" 'BIND_NOW|FLAGS_1.*NOW' -d
    must "$file" "the stack is not protected" '__stack_chk_fail' --dyn-syms
    check_copies "$file"
done
for file in "$prefix"/bin/kx* "$prefix/$KX_LIBDIR"/libKXAPI_{Utility,OS_ABS}.so.*.*.*; do
    must "$file" "copies are not checked" 'UND __[a-z]+_chk' --dyn-syms
done
exit "$failed"
