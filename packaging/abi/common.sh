# shellcheck shell=bash
# Sourced by the scripts of this folder.

abi=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")

# find_library PREFIX NAME: the library libKXAPI_NAME installed there.
find_library() {
    find "$1/lib" -name "libKXAPI_$2.so"
}

# describe LIBRARY HEADERS FILE: writes the binary interface of the library as far as the installed headers show it.
# Names of parameters, paths and lines of sources may change.
describe() {
    abidw --headers-dir "$2" --drop-private-types --drop-undefined-syms --exported-interfaces-only \
        --suppressions "$abi/left-out.ini" --no-show-locs --no-corpus-path --no-comp-dir-path --no-elf-needed \
        --no-parameter-names --type-id-style hash "$1" | sed 's/^ *//' >"$3"
}
