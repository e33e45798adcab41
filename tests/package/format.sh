#!/usr/bin/env bash
# Every source file is laid out as .clang-format has it. Comments are not: their lines have 120 characters at most.
. "$(dirname "$0")/common.sh"
cd "$KX_SOURCE"

if ! command -v clang-format; then
    echo "skipped: clang-format is not installed"
    exit 77
fi
# The clone may belong to another user, in a container for instance.
mapfile -d '' -t files < <(git -c safe.directory='*' ls-files -z -- '*.cpp' '*.h')
[ "${#files[@]}" -gt 0 ] || fail "git lists no source file"
clang-format --dry-run -Werror "${files[@]}"
long=$(awk 'length > 120 { print FILENAME ":" FNR }' "${files[@]}")
[ -z "$long" ] || fail "these lines are too long: $long"
