#!/usr/bin/env bash
# readme.sh PREFIX: the README is short, and its program can be built with the installation and starts.
. "$(dirname "$0")/common.sh"
prefix=$1
make_scratch

readme=$KX_SOURCE/README.md
[ "$(wc -l <"$readme")" -le 150 ] || fail "README.md has more than 150 lines"
sed -n '/^```cpp$/,/^```$/p' "$readme" | grep -v '^```' >"$scratch/readme.cpp"
[ -s "$scratch/readme.cpp" ] || fail "README.md shows no program"

export PKG_CONFIG_PATH="$prefix/$KX_LIBDIR/pkgconfig"
# shellcheck disable=SC2046 # several words
"$CXX" -std=c++17 -fPIC -Wall -Wextra -Wpedantic -Wshadow "$scratch/readme.cpp" -o "$scratch/readme" \
    $(pkg-config --cflags --libs kxapi-toolkit) "-Wl,-rpath,$prefix/$KX_LIBDIR" || fail "the README's program does not build"
expect_loads_from "$prefix" "$scratch/readme"

# It runs until its window is closed, so the test ends it when the worker has been started.
cd "$scratch"
QT_QPA_PLATFORM=offscreen ./readme &
program=$!
trap 'kill "$program" 2>/dev/null || true; rm -rf "$scratch"' EXIT
until grep -qs inputEventMgr "/proc/$program/task/"*/comm; do
    kill -0 "$program" 2>/dev/null || fail "the README's program ended at once"
    sleep 0.05
done
