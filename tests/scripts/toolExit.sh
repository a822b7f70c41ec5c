#!/usr/bin/env bash
# toolExit.sh CODE COMMAND ARGS...: the command exits with the code. Bad input (2) prints one line on standard error and
# nothing on standard output.
set -uo pipefail
code=$1
shift
errors=$(mktemp)
trap 'rm -f "$errors"' EXIT
printed=$("$@" 2>"$errors")
got=$?
[ "$got" -eq "$code" ] || { echo "exit $got, expected $code"; echo "$printed" | tail -5; cat "$errors"; exit 1; }
if [ "$code" -eq 2 ]; then
   [ -z "$printed" ] && [ "$(grep -c '' "$errors")" -eq 1 ] || { echo "$printed"; cat "$errors"; exit 1; }
fi
