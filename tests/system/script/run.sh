#!/usr/bin/env bash
# Registers the control and runs a script under Wine's script host:
#
#     run.sh <NorixSDK.ocx> <folder for what it makes> <test.js>
#         a test of this folder, with check.js in front of it (the script host has no include); its argument is the
#         project's folder
#     run.sh <NorixSDK.ocx> <folder for what it makes> <script> <pattern>
#         any script, whose last line has to match the pattern
#
# The exit code alone proves nothing: a script that dies of an error it does not catch ends silently with 0. So the last
# line decides; a test writes it in finish().
set -euo pipefail

# What is registered has to be there when the script runs: one screen and one Wine prefix for both.
[ -n "${DISPLAY:-}" ] || exec "$(dirname "$0")/../../../scripts/with-display" "$0" "$@"

here=$(cd "$(dirname "$0")" && pwd -P)
wine_run=$here/../../../scripts/wine-run
control=$1 folder=$2 script=$3 pattern=${4:-}

# An address that the script host does not take for an option.
windows_path() {
    local path
    path=$(realpath "$1")
    printf 'Z:%s' "${path//\//\\}"
}

name=$(basename "$script")
arguments=()
mkdir -p "$folder"
if [ -z "$pattern" ]; then
    cat "$here/check.js" "$here/$name" >"$folder/$name"
    script=$folder/$name
    arguments=("$(windows_path "$here/../../..")")
    pattern='^DONE [1-9][0-9]* checks, 0 failures$'
fi

if ! "$wine_run" regsvr32 /s "$(windows_path "$control")"; then
    echo "$control could not be registered" >&2
    exit 1
fi

status=0
"$wine_run" cscript //nologo "$(windows_path "$script")" "${arguments[@]}" >"$folder/$name.out" || status=$?
tr -d '\r' <"$folder/$name.out" | tee "$folder/$name.log"

if ! tail -n 1 "$folder/$name.log" | grep -q -e "$pattern"; then
    echo "$name: the last line does not match '$pattern' (exit code $status)" >&2
    exit 1
fi
exit "$status"
