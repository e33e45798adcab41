# shellcheck shell=bash
# Sourced by the tests of this folder.
set -euo pipefail
export LC_ALL=C
unset LD_LIBRARY_PATH LD_PRELOAD CMAKE_PREFIX_PATH PKG_CONFIG_PATH CXXFLAGS LDFLAGS

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# make_scratch: makes $scratch, a folder outside the tree. The end of the test removes it.
make_scratch() {
    scratch=$(mktemp -d)
    trap 'rm -rf "$scratch"' EXIT
}

# install_into PREFIX: empties PREFIX and installs.
install_into() {
    rm -rf "$1"
    "$CMAKE" --install "$KX_BUILD" --prefix "$1" >/dev/null
}

# expect_output EXPECTED PROGRAM...: runs it and compares what it prints.
expect_output() {
    local expected=$1 printed
    shift
    printed=$("$@") || fail "$1 ended with status $? after: $printed"
    [ "$printed" = "$expected" ] || fail "$1 printed"$'\n'"$printed"$'\n'"instead of"$'\n'"$expected"
}

# expect_loads_from PREFIX FILE: the loader finds each of our libraries that FILE needs below PREFIX.
expect_loads_from() {
    local needed
    needed=$(ldd "$2" | grep libKXAPI_) || return 0
    ! grep -v -F "=> $1/" <<<"$needed" || fail "$2 does not find these below $1"
}

# build_with_cmake PREFIX FOLDER: builds the consumer from a copy of its sources in FOLDER.
build_with_cmake() {
    cp -R "$KX_SOURCE/tests/package/consumer" "$2"
    {
        "$CMAKE" -G Ninja -S "$2" -B "$2/build" -DCMAKE_PREFIX_PATH="$1" -DCMAKE_BUILD_TYPE=Release \
            -DCMAKE_CXX_COMPILER="$CXX" &&
            "$CMAKE" --build "$2/build"
    } >"$2/log" 2>&1 || fail "the consumer does not build: $(cat "$2/log")"
}

# build_with_pkgconfig PREFIX SOURCE PROGRAM: builds a file of the consumer with the compiler alone.
build_with_pkgconfig() {
    local flags
    export PKG_CONFIG_PATH="$1/$KX_LIBDIR/pkgconfig"
    flags="$(pkg-config --cflags --libs kxapi-events) -Wl,-rpath,$(pkg-config --variable=libdir kxapi-events)"
    # shellcheck disable=SC2046,SC2086 # several words each
    (cd "$(dirname "$3")" && "$CXX" -std=c++17 "$2" -o "$3" $flags)
}
