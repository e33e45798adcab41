#!/usr/bin/env bash
# examples.sh PREFIX BUILD: the installed examples are a project that a user can copy and build.
. "$(dirname "$0")/common.sh"
sources="$1/share/doc/KXAPI_Events/examples"
for file in "$sources"/*.cpp; do
    [ "$(wc -l <"$file")" -le 80 ] || fail "$(basename "$file") is too long for an example"
done
{
    "$CMAKE" -G Ninja -S "$sources" -B "$2" -DCMAKE_PREFIX_PATH="$1" -DCMAKE_CXX_COMPILER="$CXX" \
        -DCMAKE_CXX_FLAGS='-Wall -Wextra -Wpedantic -Wshadow -Werror' -DCMAKE_BUILD_TYPE=Debug &&
        "$CMAKE" --build "$2"
} >"$2.log" 2>&1 || fail "the examples do not build: $(cat "$2.log")"
