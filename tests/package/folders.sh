#!/usr/bin/env bash
# No folder of tests is forgotten: each that holds more than help for others is part of the build and has tests.
. "$(dirname "$0")/common.sh"

for folder in "$KX_SOURCE"/tests/*/; do
    name=$(basename "$folder")
    [ "$name" != vm ] || continue # needs a machine of its own, which ./test vm boots
    [ "$name" != target ] || [ -z "$KX_SANITIZE" ] || continue # looks at what is shipped
    [ -n "$(find "$folder" \( -name '*.cpp' -o -name '*.py' -o -name '*.sh' \) -print -quit)" ] || continue
    [ -d "$KX_BUILD/tests/$name" ] || fail "tests/$name is not part of the build"
    # The listing may fail for the package's own sake; what counts is its sum.
    "$CTEST" --test-dir "$KX_BUILD/tests/$name" -N |
        grep -q '^Total Tests: [1-9]' || fail "tests/$name has no test"
done
