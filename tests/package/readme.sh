#!/usr/bin/env bash
# The README shows an example whole.
. "$(dirname "$0")/common.sh"

example=$(<"$KX_SOURCE/examples/qt_window.cpp")
[[ $(<"$KX_SOURCE/README.md") == *'```cpp'$'\n'"$example"$'\n''```'* ]] ||
    fail "README.md has no cpp block with exactly these lines:"$'\n'"$example"
