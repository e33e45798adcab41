#!/usr/bin/env bash
# own-platform.sh PREFIX: the library is built and used on an integrator's platform libraries, in a folder of their own.
# The installed example of a port makes them.
. "$(dirname "$0")/common.sh"
port="$1/share/doc/KXAPI_Events/examples/port_posix"
make_scratch
own="$scratch/own"

# run COMMAND...: it succeeds; what it prints is kept for a failure.
run() {
    "$@" >"$scratch/log" 2>&1 || fail "$* ended with status $?: $(cat "$scratch/log")"
}

options=(-G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_INSTALL_LIBDIR="$KX_LIBDIR")
without_platform=("$CMAKE" -S "$KX_SOURCE" -DKXAPI_PLATFORM=none -DKXAPI_BUILD_TERMINAL=OFF "${options[@]}")

! "${without_platform[@]}" -B "$scratch/without" >"$scratch/log" 2>&1 || fail "it was configured without a platform"
grep -q 'libKXAPI_OS_ABS is not found' "$scratch/log" || fail "the error names no library: $(cat "$scratch/log")"

run "$CMAKE" -S "$port" -B "$scratch/port" -DCMAKE_PREFIX_PATH="$1" "${options[@]}"
run "$CMAKE" --build "$scratch/port"
run "$CMAKE" --install "$scratch/port" --prefix "$own"

run "${without_platform[@]}" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$own"
run "$CMAKE" --build "$scratch/build"
run "$CMAKE" --install "$scratch/build" --prefix "$own"
[ -f "$own/$KX_LIBDIR/libKXAPI_Events.so" ] || fail "libKXAPI_Events is not installed"
[ ! -e "$own/$KX_LIBDIR/libKXAPI_OS_ABS.so.$KX_MAJOR" ] || fail "a platform library of our own is installed"

build_with_cmake "$own" "$scratch/consumer"
expect_loads_from "$own" "$scratch/consumer/build/keypress"
cd "$scratch/consumer/build"
expect_output 'KEY_PRESS_EVENT key=0' ./keypress
