#!/usr/bin/env bash
# layers-notices.sh: layers.sh accepts an include downwards and refuses each kind of forbidden include.
. "$(dirname "$0")/common.sh"
make_scratch

# expect STATUS FILE HEADER: the status of layers.sh for a project of one source that includes one header.
expect() {
    local folder="$scratch/$((++projects))" status=0
    mkdir -p "$folder/$(dirname "$2")"
    echo "#include \"$3\"" >"$folder/$2"
    bash "$KX_SOURCE/tests/package/layers.sh" "$folder" >"$scratch/output" 2>&1 || status=$?
    [ "$status" -eq "$1" ] || fail "$2 includes $3: status $status instead of $1: $(cat "$scratch/output")"
    [ "$status" -eq 0 ] || grep -q "^$2:1: " "$scratch/output" || fail "the line does not say where"
}

projects=0
expect 0 input/A.cpp events/KXEvent.h
expect 0 events/A.cpp events/KXEvent.h
expect 0 platform/A.h platform/KXTick.h
expect 1 events/A.cpp encoder/KXEncoderDynamic.h
expect 1 events/A.h input/KXInputEventManager.h
expect 1 encoder/A.cpp actions/KXActionQueue.h
expect 1 actions/A.cpp encoder/KXEncoderDynamic.h
expect 1 platform/linux/A.cpp events/KXEvent.h
expect 1 tools/A.cpp terminal/window/MainWindow.h
expect 0 platform/linux/os_abs/A.cpp platform/linux/os_abs/B.h
expect 0 tests/platform_linux/A.cpp platform/linux/os_abs/B.h
expect 0 bench/A.cpp platform/linux/os_abs/B.h
expect 1 terminal/A.cpp platform/linux/os_abs/B.h
expect 1 tests/target/A.cpp platform/linux/os_abs/B.h
expect 1 input/A.cpp platform/simulated/KXSimulation.h
expect 1 elsewhere/A.cpp events/KXEvent.h
expect 0 terminal/session/A.cpp recording/KXKeyLayout.h
expect 0 terminal/session/A.cpp events/sync/KXSizedDeque.h
expect 0 terminal/session/A.cpp input/CANRemoteOptions.h
expect 1 terminal/session/A.cpp recording/format/CANLog.h
expect 1 terminal/session/A.cpp events/EventParts.h
expect 1 terminal/A.cpp recording/KXNoSuchHeader.h
expect 0 tests/terminal/A.cpp recording/format/CANLog.h
expect 0 terminal/session/A.cpp tools/progress/Progress.h
expect 1 terminal/session/A.cpp tools/kxreplay/Player.h
expect 0 terminal/A.cpp terminal/session/Terminal.h
expect 0 terminal/window/A.cpp terminal/look/Theme.h
expect 1 terminal/look/A.cpp terminal/window/MainWindow.h
expect 1 terminal/events/A.h terminal/settings/InputSettings.h
expect 1 terminal/window/A.cpp terminal/session/CommandLine.h
expect 0 recording/recorder/A.cpp recording/format/RecordingFile.h
expect 1 recording/format/A.cpp recording/recorder/EntryLog.h
