#!/usr/bin/env bash
# port.sh PREFIX: a porter builds the installed port with the platform tests, without the library, and finds the fault
# in a platform that has one class so far.
. "$(dirname "$0")/common.sh"
prefix=$1
port="$prefix/share/doc/KXAPI_Events/examples/port_posix"
make_scratch

lines=$(cat "$port"/{end_points,hardware,os_abs,utility}.cpp | wc -l)
[ "$lines" -le 700 ] || fail "the port has $lines lines, too many for an example"

# build FOLDER: what is in it, with the compiler's usual warnings as errors.
build() {
    {
        "$CMAKE" -G Ninja -S "$1" -B "$1/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$CXX" \
            -DCMAKE_CXX_FLAGS='-Wall -Wextra -Wpedantic -Wshadow -Werror' -DCMAKE_BUILD_TYPE=Debug &&
            "$CMAKE" --build "$1/build"
    } >"$1/log" 2>&1 || fail "$1 does not build: $(cat "$1/log")"
}

cp -R "$port" "$scratch/port"
build "$scratch/port"
! grep -q 'Boost\|Qt5' "$scratch/port/build/CMakeCache.txt" || fail "the tests need more than GoogleTest"
"$CTEST" --test-dir "$scratch/port/build" -j 3 -E '^LostEndPoint|^ClosedEndPoint' >"$scratch/log" ||
    fail "the port does not pass: $(cat "$scratch/log")"
[ "$("$CTEST" --test-dir "$scratch/port/build" -N | grep -c 'Test *#')" -gt 100 ] || fail "tests are missing"

# The first steps of the guide: a project of three files.
mkdir "$scratch/first"
awk -v folder="$scratch/first" '
    /^```/ { file = ""; next }
    /^<!-- file: / { file = folder "/" $3; getline; next }
    file { print > file }' "$KX_SOURCE/docs/guide/porting.md"
build "$scratch/first"
! "$scratch/first/build/platform_tests" >"$scratch/log" || fail "a clock of seconds passes"
grep -q '^\[  FAILED  \] Tick.countsMilliseconds' "$scratch/log" || fail "another test fails: $(cat "$scratch/log")"
sed -i 's|seconds>(now)|milliseconds>(now)|' "$scratch/first/KXTick.cpp"
build "$scratch/first"
"$scratch/first/build/platform_tests" >"$scratch/log" || fail "a clock of milliseconds fails: $(cat "$scratch/log")"
