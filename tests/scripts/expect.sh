# Sourced by tests of the command, which have a `folder` of their own and end with `exit $failed`.
failed=0

# expect WHAT CODE PATTERN COMMAND...: the exit code, and standard error as one line that matches ("" for none at all).
expect() {
   local what=$1 code=$2 pattern=$3
   shift 3
   timeout 60 "$@" 2>"$folder/errors"
   local got=$?
   local lines
   lines=$(grep -c '' "$folder/errors")
   if [ "$got" -ne "$code" ] || { [ -z "$pattern" ] && [ "$lines" -ne 0 ]; } ||
      { [ -n "$pattern" ] && { [ "$lines" -ne 1 ] || ! grep -qE -- "$pattern" "$folder/errors"; }; }; then
      echo "$what: exit $got, expected $code, standard error:" >&2
      cat "$folder/errors" >&2
      failed=1
   fi
}
