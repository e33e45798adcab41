#!/usr/bin/env bash
# abi-notices.sh: packaging/abi/check refuses each kind of change that breaks programs, and lets additions pass.
. "$(dirname "$0")/common.sh"
command -v abidiff >/dev/null || { echo "skipped: abidiff of the Debian package abigail-tools is not installed" && exit 77; }
. "$KX_SOURCE/packaging/abi/common.sh"
make_scratch
prefix=$scratch/prefix
mkdir -p "$prefix/include/KXAPI" "$prefix/lib"

# make_library MACRO...: with the changes that the macros make. Takes soname and an option in options, too.
make_library() {
    cp "$KX_SOURCE/tests/package/abi/Trial.h" "$prefix/include/KXAPI"
    "$CXX" -std=c++17 -g -fPIC -shared "${@/#/-D}" -I "$prefix/include/KXAPI" ${options:+"$options"} \
        -Wl,-soname,"${soname:-libKXAPI_Trial.so.1}" \
        -Wl,--version-script="$KX_SOURCE/cmake/exports.map" "$KX_SOURCE/tests/package/abi/Trial.cpp" \
        -o "$prefix/lib/libKXAPI_Trial.so"
}

check() {
    "$KX_SOURCE/packaging/abi/check" "$prefix" "$scratch/libKXAPI_Trial.abi" >"$scratch/output" 2>&1
}

# passes TEXT MACRO..., refuses TEXT MACRO...: and the output has the text.
passes() {
    make_library "${@:2}"
    check || fail "${*:2} is refused: $(cat "$scratch/output")"
    grep -qF "$1" "$scratch/output" || fail "with ${*:2} it does not say '$1' but: $(cat "$scratch/output")"
}
refuses() {
    make_library "${@:2}"
    ! check || fail "${*:2} passes: $(cat "$scratch/output")"
    grep -qF "$1" "$scratch/output" || fail "with ${*:2} it does not say '$1' but: $(cat "$scratch/output")"
}

make_library
describe "$prefix/lib/libKXAPI_Trial.so" "$prefix/include/KXAPI" "$scratch/libKXAPI_Trial.abi"

passes "nothing changed"
options=-O2 passes "nothing changed"
passes "nothing changed" OTHER_NAMES
passes "only additions" NEW_FUNCTION
passes "only additions" NEW_METHOD
passes "nothing changed" NEW_NUMBER
refuses "may break" GONE_FUNCTION
refuses "may break" OTHER_ARGUMENT
refuses "may break" NEW_VIRTUAL
refuses "may break" OTHER_ORDER_OF_VIRTUALS
refuses "may break" NEW_MEMBER
refuses "may break" OTHER_ORDER_OF_MEMBERS
refuses "may break" LARGER_MEMBER_OF_THE_STANDARD_LIBRARY
refuses "may break" OTHER_NUMBERS
soname=libKXAPI_Trial.so.2 passes "its SONAME is libKXAPI_Trial.so.2 now" GONE_FUNCTION NEW_VIRTUAL

# What cannot be compared does not pass.
make_library
strip -g "$prefix/lib/libKXAPI_Trial.so"
! check || fail "a library without debug information passes"
grep -qF "has no debug information" "$scratch/output" || fail "it does not say why: $(cat "$scratch/output")"
rm "$prefix/lib/libKXAPI_Trial.so"
! check || fail "a library that is gone passes"
