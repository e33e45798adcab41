#!/usr/bin/env bash
# own-platform.sh PREFIX: the library is built and used on an integrator's platform libraries. The test takes the
# ones at PREFIX as such.
. "$(dirname "$0")/common.sh"
prefix=$1
make_scratch

configure() {
    "$CMAKE" -G Ninja -S "$KX_SOURCE" -B "$1" -DKXAPI_PLATFORM=none -DKXAPI_BUILD_TERMINAL=OFF \
        -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_INSTALL_LIBDIR="$KX_LIBDIR" \
        "${@:2}" >"$scratch/log" 2>&1
}

! configure "$scratch/without" || fail "it was configured without any platform library"
grep -q 'KXAPI_OS_ABS' "$scratch/log" || fail "the error does not name the library: $(cat "$scratch/log")"

configure "$scratch/build" -DCMAKE_PREFIX_PATH="$prefix" || fail "not configured: $(cat "$scratch/log")"
"$CMAKE" --build "$scratch/build" >"$scratch/log" 2>&1 || fail "not built: $(cat "$scratch/log")"
"$CMAKE" --install "$scratch/build" --prefix "$scratch/installed" >"$scratch/log"
[ -f "$scratch/installed/$KX_LIBDIR/libKXAPI_Events.so" ] || fail "libKXAPI_Events is not installed"
[ ! -e "$scratch/installed/$KX_LIBDIR/libKXAPI_OS_ABS.so" ] || fail "a platform library of our own is installed"

build_with_cmake "$scratch/installed;$prefix" "$scratch/consumer"
cd "$scratch/consumer/build"
# The integrator's libraries are in a folder of their own; a terminal's loader would know it.
expect_output 'KEY_PRESS_EVENT key=0' env LD_LIBRARY_PATH="$prefix/$KX_LIBDIR" ./keypress
