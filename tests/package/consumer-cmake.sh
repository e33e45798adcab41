#!/usr/bin/env bash
# consumer-cmake.sh PREFIX: a CMake project uses the installation.
. "$(dirname "$0")/common.sh"
prefix=$1
make_scratch

build_with_cmake "$prefix" "$scratch/consumer"
cd "$scratch/consumer/build"
expect_loads_from "$prefix" ./keypress
expect_output 'KEY_PRESS_EVENT key=0' ./keypress
expect_output $'KEY_PRESS_EVENT\nKEY_LONG_PRESS_EVENT' ./ownclock
expect_output '-1 fine' ./tick
for program in ./longpress ./longpress_other_order; do
    expect_output "4294966296 KEY_PRESS_EVENT key=0
at 999
1000 KEY_LONG_PRESS_EVENT key=0" "$program"
done
