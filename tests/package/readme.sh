#!/usr/bin/env bash
# The README's example is the program that the tests compile and run.
. "$(dirname "$0")/common.sh"

source="$KX_SOURCE/tests/package/consumer/keypress.cpp"
example=$(sed -n '/^\/\/ README begins$/,/^\/\/ README ends$/{//!p}' "$source")
[ -n "$example" ] || fail "the marks are missing in keypress.cpp"
[[ $(<"$KX_SOURCE/README.md") == *'```cpp'$'\n'"$example"$'\n''```'* ]] ||
    fail "README.md has no cpp block with exactly these lines:"$'\n'"$example"
