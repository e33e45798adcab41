#!/usr/bin/env bash
# Each folder below tests/ is part of the build and has tests, except folders of helpers.
. "$(dirname "$0")/common.sh"

for folder in "$KX_SOURCE"/tests/*/; do
    name=$(basename "$folder")
    case $name in
        vm) continue ;; # needs a machine of its own, which ./test vm boots
        locks) continue ;; # only clang checks them, in another preset
        support) continue ;; # parts that several folders share
    esac
    [ -n "$(find "$folder" \( -name '*.cpp' -o -name '*.py' -o -name '*.sh' \) -print -quit)" ] || continue
    [ -d "$KX_BUILD/tests/$name" ] || fail "tests/$name is not part of the build"
    # The listing may fail because of this folder; only its total counts.
    "$CTEST" --test-dir "$KX_BUILD/tests/$name" -N |
        grep -q '^Total Tests: [1-9]' || fail "tests/$name has no test"
done
