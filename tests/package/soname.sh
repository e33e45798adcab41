#!/usr/bin/env bash
# soname.sh PREFIX LIBRARY: a linked program needs the library of the present major version.
. "$(dirname "$0")/common.sh"
library="libKXAPI_$2.so"

soname=$(readelf -d "$1/$KX_LIBDIR/$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
[ "$soname" = "$library.$KX_MAJOR" ] || fail "the SONAME of $library is '$soname', not $library.$KX_MAJOR"
[ -f "$1/$KX_LIBDIR/$soname" ] || fail "there is no $soname"
