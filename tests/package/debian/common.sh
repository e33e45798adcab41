# shellcheck shell=bash
# Sourced by the checks of the Debian packages. A check is a function. It gives one line on standard output, which
# begins with ok, failed or skipped, and errors on standard error.

# check NAME COMMAND...
check() {
    local name=$1 status=0 log
    shift
    log=$(mktemp)
    # Not as a condition: inside one the shell goes on after a command fails.
    set +e
    (set -e && "$@") >"$log" 2>&1
    status=$?
    set -e
    if [ "$status" -eq 0 ]; then
        echo "ok $name"
    else
        tail -n 40 "$log" >&2
        echo "failed $name"
    fi
    rm -f "$log"
}
