#!/usr/bin/env bash
# hardened.sh READELF CMAKE BUILD: installs BUILD and looks at each program and library.
set -euo pipefail
export LC_ALL=C
readelf=$1
failed=0

# must FILE WHAT PATTERN READELF-OPTION: what readelf prints has the pattern.
must() {
    grep -q -e "$3" <<<"$("$readelf" -W "$4" "$1")" || {
        echo "FAILED: ${1##*/}: $2"
        failed=1
    }
}

# Some libraries are so small that no function of theirs has a buffer.
has_buffers() {
    [[ ${1##*/} =~ ^(kx.*|libKXAPI_(Events|Recording|Replay|OS_ABS|Hardware)\..*)$ ]]
}

prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
"$2" --install "$3" --prefix "$prefix" >/dev/null
mapfile -t files < <(find "$prefix" -type f \( -path '*/bin/*' -o -name 'lib*.so.*' \))
[ "${#files[@]}" -ge 10 ] || {
    echo "FAILED: only ${#files[@]} programs and libraries are installed"
    exit 1
}
for file in "${files[@]}"; do
    must "$file" "its load address is fixed" 'Type: *DYN' -h
    must "$file" "tables of the linker stay writable" 'GNU_RELRO' -l
    must "$file" "functions are bound when they are called" 'BIND_NOW\|Flags:.*NOW' -d
    if has_buffers "$file"; then
        must "$file" "the stack is not protected" '__stack_chk_fail' --dyn-syms
    fi
done
for file in "$prefix"/bin/*; do
    must "$file" "copies are not checked" '__[a-z]*_chk' --dyn-syms
done
echo "${#files[@]} programs and libraries"
exit "$failed"
