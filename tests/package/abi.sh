#!/usr/bin/env bash
# abi.sh PREFIX: programs that were compiled with the last version go on with the libraries as they are now.
. "$(dirname "$0")/common.sh"

command -v abidiff >/dev/null || { echo "skipped: abidiff of the Debian package abigail-tools is not installed" && exit 77; }
baselines=("$KX_SOURCE"/packaging/abi/amd64/libKXAPI_*.abi)
libraries=("$1/$KX_LIBDIR"/libKXAPI_*.so)
[ "${#libraries[@]}" -eq "${#baselines[@]}" ] ||
    fail "there are ${#libraries[@]} libraries and ${#baselines[@]} baselines; packaging/abi/renew makes them"
"$KX_SOURCE/packaging/abi/check" "$1" "${baselines[@]}"
