#!/usr/bin/env bash
# version.sh PREFIX: a program sees whether it was compiled with the version of the library that runs.
. "$(dirname "$0")/common.sh"
prefix=$1
make_scratch
export PKG_CONFIG_PATH="$prefix/$KX_LIBDIR/pkgconfig"

cp "$KX_SOURCE/tests/package/consumer/version.cpp" "$scratch"
build_with_pkgconfig "$prefix" version.cpp "$scratch/version"
version=$(pkg-config --modversion kxapi-events)
expect_output "compiled with $version, the library is the same" "$scratch/version"

# The headers of the next version, and the library of this one.
cp -R "$prefix" "$scratch/next"
header=$scratch/next/$KX_INCLUDEDIR/events/KXVersion.h
minor=$(sed -n 's/^#define KXAPI_EVENTS_VERSION_MINOR //p' "$header")
sed -i "s/^\(#define KXAPI_EVENTS_VERSION_MINOR \).*/\1$((minor + 1))/" "$header"
build_with_pkgconfig "$scratch/next" version.cpp "$scratch/newer"
newer=$(awk -F. '{ print $1 "." $2 + 1 "." $3 }' <<<"$version")
expect_output "compiled with $newer, the library is older" "$scratch/newer"
