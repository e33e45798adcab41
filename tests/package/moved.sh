#!/usr/bin/env bash
# An installation works after its folder was moved, and does not contain the old path.
. "$(dirname "$0")/common.sh"
make_scratch
# A name with a blank.
prefix="$scratch/where it went"

install_into "$scratch/where_it_was"
mv "$scratch/where_it_was" "$prefix"
! grep -rlF "$scratch/where_it_was" "$prefix" || fail "these still name the old folder"
for file in "$prefix"/bin/* "$prefix/$KX_LIBDIR"/lib*.so; do
    expect_loads_from "$prefix" "$file"
done
for program in "$prefix"/bin/*; do
    QT_QPA_PLATFORM=offscreen "$program" --version >/dev/null || fail "$program does not start"
done

build_with_cmake "$prefix" "$scratch/consumer"
expect_loads_from "$prefix" "$scratch/consumer/build/keypress"
expect_output 'KEY_PRESS_EVENT key=0' "$scratch/consumer/build/keypress"

# The shell splits the flags of pkg-config at blanks.
mv "$prefix" "$scratch/moved_again"
cp "$KX_SOURCE/tests/package/consumer/keypress.cpp" "$scratch"
build_with_pkgconfig "$scratch/moved_again" keypress.cpp "$scratch/keypress"
expect_loads_from "$scratch/moved_again" "$scratch/keypress"
expect_output 'KEY_PRESS_EVENT key=0' "$scratch/keypress"
