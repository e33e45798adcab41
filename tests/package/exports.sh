#!/usr/bin/env bash
# exports.sh PREFIX LIBRARY: the library exports exactly the symbols in exports/LIBRARY.txt.
. "$(dirname "$0")/common.sh"
make_scratch
library="libKXAPI_$2.so"
listed="$KX_SOURCE/tests/package/exports/libKXAPI_$2.txt"

# What the compiler makes for a header-only class stands in a library only where the library needs it. 64-bit numbers
# have another name where a long has 32 bits.
nm -D --defined-only --format=posix "$1/$KX_LIBDIR/$library" |
    cut -d ' ' -f 1 | c++filt | sed -E '/ for KX::(KXCANMessage|KXAction|Recording::BadFile)$/d; s/long long/long/g' | sort -u >"$scratch/exported"
[ -s "$scratch/exported" ] || fail "$library exports nothing"
if ! diff -U 0 --label listed --label exported "$listed" "$scratch/exported"; then
    fail "the symbols of $library have changed: + is not listed, - is gone; what is meant goes into $listed"
fi
