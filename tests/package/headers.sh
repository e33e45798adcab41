#!/usr/bin/env bash
# headers.sh PREFIX: each installed header compiles alone, also with strict warnings and with parts of Boost.Thread
# switched off. Only those of the toolkit library need Qt.
. "$(dirname "$0")/common.sh"
cd "$1/$KX_INCLUDEDIR"

qt=$(pkg-config --cflags Qt5Widgets)
export qt=${qt//-I/-isystem}

compile() {
    "$CXX" "$@" -std=c++17 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -fsyntax-only -I . -x c++ -
}

compile_alone() {
    case $1 in
        # shellcheck disable=SC2086 # several words
        toolkit/*) set -- "$@" $qt -fPIC ;;
    esac
    echo "#include \"$1\"" | compile "${@:2}" || { echo "FAILED: $1 does not compile alone" && return 1; }
}
export -f compile compile_alone

include_each() {
    sed 's/.*/#include "&"/'
}

headers=$(find . -name '*.h' -printf '%P\n' | sort)
[ -n "$headers" ] || fail "no header is installed"
xargs -P 2 -n 1 bash -c 'compile_alone "$0"' <<<"$headers"

# Macros that Qt and X11 define.
foreign=(-Dslots= -Dsignals=public -Demit= -Dforeach=for -DNone=0L -DBool=int -DStatus=int -DSuccess=0 -DKeyPress=2
    -DKeyRelease=3)
grep -v '^toolkit/' <<<"$headers" | include_each | compile "${foreign[@]}" ||
    fail "the headers do not compile with macros of Qt and X11"
# shellcheck disable=SC2086 # several words
grep '^toolkit/' <<<"$headers" | include_each | compile $qt -fPIC -DQT_NO_KEYWORDS ||
    fail "the headers of the toolkit library need Qt's keywords"

for choice in VERSION=4 DONT_USE_DATETIME DONT_USE_CHRONO; do
    compile_alone actions/KXActionQueue.h "-DBOOST_THREAD_$choice"
    compile_alone events/KXEventQueueAsQueue.h "-DBOOST_THREAD_$choice"
done
