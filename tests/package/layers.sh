#!/usr/bin/env bash
# layers.sh [FOLDER]: no source of the project, or of FOLDER, includes a header of a higher layer. The layers from
# the bottom: platform, events, encoder and actions, input, toolkit and recording, replay, programs.
. "$(dirname "$0")/common.sh"
cd "${1:-$KX_SOURCE}"

# allow FOLDER ALLOWED...: the folders whose headers the sources of FOLDER may include beside their own.
declare -A allowed=()
allow() {
    allowed[$1]="${*:2}"
}
allow platform
allow events platform
allow encoder events platform
allow actions events platform
allow input encoder actions events platform
library="input encoder actions events platform"
allow toolkit $library
allow recording $library
allow replay recording $library
allow tools replay recording $library
allow terminal tools toolkit recording $library
allow bench tools recording $library
allow examples replay recording toolkit $library
allow tests bench terminal tools replay recording toolkit $library

wrong=0
refuse() {
    echo "$1:$2: $3"
    wrong=1
}

# check FILE LINE HEADER: of one #include "HEADER".
check() {
    local file=$1 line=$2 header=$3 folder=${1%%/*} target=${3%%/*}
    [ -n "${allowed[$target]+there}" ] || return 0 # its own folder's, without a path
    case " $folder ${allowed[$folder]} " in
        *" $target "*) ;;
        *) refuse "$file" "$line" "$folder is below $target and may not include $header" ;;
    esac
    # Programs link one platform or the other; nothing else may depend on the choice.
    case $header in
        platform/linux/*)
            case $file in
                platform/linux/* | tests/platform_linux/* | tests/fuzz/DebugLevels.cpp | bench/*) ;;
                *) refuse "$file" "$line" "only the Linux platform itself, its tests and bench/ may include $header" ;;
            esac
            ;;
        platform/simulated/*)
            case $file in
                platform/simulated/* | replay/* | tools/* | tests/*) ;;
                *) refuse "$file" "$line" "only replays, tools and tests know the simulated platform and may include $header" ;;
            esac
            ;;
    esac
}

count=0
while IFS=: read -r file line text; do
    [ -n "${allowed[${file%%/*}]+there}" ] || refuse "$file" "$line" "its folder is no layer that this check knows"
    header=${text#*\"}
    check "$file" "$line" "${header%%\"*}"
    count=$((count + 1))
done < <(git -c safe.directory='*' grep ${1:+--no-index} -nE '^ *# *include +"' -- '*.h' '*.cpp' ':!tests/package/consumer')
[ "$count" -gt 0 ] || fail "no source with an #include was found"
[ "$wrong" -eq 0 ] || fail "the arrows between the folders point one way: see the lines above"
