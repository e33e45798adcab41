#!/usr/bin/env bash
# headers.sh PREFIX: each installed header compiles as the first and only one, also in a program that is strict.
. "$(dirname "$0")/common.sh"
cd "$1/$KX_INCLUDEDIR"

compile_alone() {
    echo "#include \"$1\"" | "$CXX" -std=c++17 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror \
        -fsyntax-only -I . -x c++ - || { echo "FAILED: $1 does not compile alone" && return 1; }
}
export -f compile_alone

headers=$(find . -name '*.h' -printf '%P\n' | sort)
[ -n "$headers" ] || fail "no header is installed"
xargs -P 2 -n 1 bash -c 'compile_alone "$0"' <<<"$headers"
