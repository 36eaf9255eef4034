# SPDX-License-Identifier: MIT
# What the scripts share that a newcomer runs: quiet steps with a log. They source it, and set `name`,
# which their lines begin with, and `log`, the file that gets all that their steps say.

begin_log() {
    mkdir -p "$(dirname "$log")"
    : >"$log"
}

# step WHAT COMMAND [ARGUMENT ...]: runs the command behind one line, which counts on where a terminal
# shows it. When the command fails, `explain` makes the last lines from what it has said, and the step
# ends with its status.
step() {
    local what=$1 begun=$SECONDS status=0 from
    shift
    printf '### %s: %s\n' "$what" "$*" >>"$log"
    from=$(($(wc -l <"$log") + 1))
    if [[ -t 1 ]]; then
        "$@" </dev/null 2>&1 | tee -a "$log" | follow "$name: $what" || status=${PIPESTATUS[0]}
        echo "$name: $what: $((SECONDS - begun)) s"
    else
        echo "$name: $what"
        "$@" </dev/null >>"$log" 2>&1 || status=$?
    fi
    [[ $status -ne 0 ]] || return 0
    {
        tail -n "+$from" "$log" | ${explain:-tail -n 30}
        echo "$name: $what failed with status $status; the whole log is $log"
    } >&2
    return "$status"
}

# Shows how far a build or a test run has come, in one line.
follow() {
    local line
    printf '%s' "$1"
    while IFS= read -r line; do
        if [[ $line =~ ^\[([0-9]+/[0-9]+)\] || $line =~ ^\ *([0-9]+/[0-9]+)\ Test ]]; then
            printf '\r\033[K%s %s' "$1" "${BASH_REMATCH[1]}"
        fi
    done
    printf '\r\033[K'
}
