#!/usr/bin/env bash
# consumer-pkgconfig.sh PREFIX: pkg-config and the compiler alone build a program with the installation.
. "$(dirname "$0")/common.sh"
prefix=$1
make_scratch

cp "$KX_SOURCE"/tests/package/consumer/*.cpp "$scratch"
build_with_pkgconfig "$prefix" keypress.cpp "$scratch/keypress"
expect_loads_from "$prefix" "$scratch/keypress"
expect_output 'KEY_PRESS_EVENT key=0' "$scratch/keypress"
build_with_pkgconfig "$prefix" ownclock.cpp "$scratch/ownclock"
expect_output $'KEY_PRESS_EVENT\nKEY_LONG_PRESS_EVENT' "$scratch/ownclock"
