# shellcheck shell=bash
# To be sourced by what checks the Debian packages. A check is a function; for each there is one line on standard
# output, which begins with ok, failed or skipped, and on standard error what went wrong.

# check NAME COMMAND...
check() {
    local name=$1 status=0 log
    shift
    log=$(mktemp)
    # Not as a condition: there the shell would go on after a command that fails.
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
