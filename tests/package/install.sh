#!/usr/bin/env bash
# install.sh PREFIX: all promised files are there, and programs and libraries find the libraries that they need.
. "$(dirname "$0")/common.sh"
prefix=$1

install_into "$prefix"
programs=(bin/kxcan bin/kxreplay)
[ "$KX_QT" != 5 ] || programs+=(bin/kxterminal)
for file in "${programs[@]}" share/doc/KXAPI_Events/LICENSE share/doc/KXAPI_Events/copyright \
    "$KX_INCLUDEDIR/input/KXInputEventManager.h" "$KX_INCLUDEDIR/platform/simulated/KXSimulation.h" "$KX_LIBDIR/pkgconfig/kxapi-events.pc" \
    "$KX_LIBDIR/cmake/KXAPI_Events/KXAPI_EventsConfigVersion.cmake"; do
    [ -f "$prefix/$file" ] || fail "$file is not installed"
done
for file in "$prefix"/bin/* "$prefix/$KX_LIBDIR"/lib*.so; do
    expect_loads_from "$prefix" "$file"
done

# Whoever passes on the programs passes on the licences of what is compiled into them.
for licence in Expat BSD-3-clause-CLI11 BSD-3-clause-dtl; do
    grep -qx "License: $licence" "$prefix/share/doc/KXAPI_Events/copyright" || fail "the licence $licence is not installed"
done
! grep -F @ "$prefix/share/doc/KXAPI_Events/copyright" | grep -v '<.*@.*>' || fail "a name is not filled in"

# Headers that declare exported names are public.
cd "$KX_SOURCE"
shown=0
while read -r header; do
    shown=$((shown + 1))
    [ -f "$prefix/$KX_INCLUDEDIR/$header" ] || fail "$header is not installed; cmake/KXInstall.cmake tells by the name what is"
done < <(grep -rlEs --include='*.h' '\bKX_(EXPORT|[A-Z_]+_API) ' events encoder actions input platform)
[ "$shown" -gt 0 ] || fail "no header shows anything"
