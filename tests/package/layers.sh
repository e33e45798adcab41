#!/usr/bin/env bash
# layers.sh [FOLDER]: no source of the project, or of FOLDER, includes a header of a higher layer or of a higher room
# of its layer. The layers from the bottom: platform, events, encoder and actions, input, toolkit and recording,
# replay, programs. kxterminal is a user of the libraries: it includes only headers that are installed.
. "$(dirname "$0")/common.sh"

headers=$("$CMAKE" -P "$KX_SOURCE/cmake/KXPublicHeaders.cmake")
[ -n "$headers" ] || fail "no header is installed"
declare -A installed=()
for header in $headers; do
    installed[$header]=
done

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
allow docs terminal tools replay recording toolkit $library # the program that draws its pictures
allow tests bench terminal tools replay recording toolkit $library

# The same for the rooms of a folder. What is in no room may include them all, and they may include it.
declare -A rooms=()
room() {
    rooms[$1]="${*:2}"
}
room recording/format
room recording/layout recording/format
room recording/recorder recording/format recording/layout
room terminal/look
room terminal/events terminal/look
room terminal/settings terminal/look
room terminal/keypad terminal/look
room terminal/actions terminal/look
room terminal/encoder terminal/settings terminal/events terminal/look
room terminal/timeline terminal/events terminal/look
views="terminal/timeline terminal/encoder terminal/actions terminal/keypad terminal/settings terminal/events terminal/look"
room terminal/window $views
room terminal/session terminal/window $views

wrong=0
refuse() {
    echo "$1:$2: $3"
    wrong=1
}

# check_room FILE LINE HEADER: a source in a room includes no header of a higher room.
check_room() {
    local inside=${1#*/} other=${3%/*}
    local room=${1%%/*}/${inside%%/*}
    [ -n "${rooms[$room]+there}" ] && [ -n "${rooms[$other]+there}" ] || return 0
    case " $room ${rooms[$room]} " in
        *" $other "*) ;;
        *) refuse "$1" "$2" "$room is below $other or beside it and may not include $3" ;;
    esac
}

# check_user FILE LINE HEADER: kxterminal includes its own headers, the installed ones and those that the programs
# share.
check_user() {
    case $3 in
        terminal/*) ;;
        tools/kx*) refuse "$1" "$2" "$3 belongs to another program" ;;
        tools/*) ;;
        *) [ -n "${installed[$3]+there}" ] || refuse "$1" "$2" "$3 is not installed" ;;
    esac
}

# check FILE LINE HEADER: of one #include "HEADER".
check() {
    local file=$1 line=$2 header=$3 folder=${1%%/*} target=${3%%/*}
    [ -n "${allowed[$target]+there}" ] || return 0 # its own folder's, without a path
    case " $folder ${allowed[$folder]} " in
        *" $target "*) ;;
        *) refuse "$file" "$line" "$folder is below $target and may not include $header" ;;
    esac
    check_room "$file" "$line" "$header"
    [ "$folder" != terminal ] || check_user "$file" "$line" "$header"
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
                platform/simulated/* | replay/* | tools/* | tests/* | docs/pictures/*) ;;
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
done < <(git -c safe.directory='*' grep ${1:+--no-index} -nE '^ *# *include +"' -- '*.h' '*.cpp' ':!tests/package/consumer' ':!tests/package/abi')
[ "$count" -gt 0 ] || fail "no source with an #include was found"
[ "$wrong" -eq 0 ] || fail "the arrows between the folders point one way: see the lines above"
