#!/usr/bin/env bash
# soak.sh COMMAND: the soak says that library and model agree only when it did what was asked, and leaves no process behind.
# "--ops" past its range, "--time nan" and a full temporary folder did nothing and agreed; a child of somebody else crashed it.
set -uo pipefail
tool=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failed=0
fail() { echo "$1"; cat "$folder/printed" "$folder/errors"; failed=1; }
runs() { timeout 120 bash -c "$2" "$tool" >"$folder/printed" 2>"$folder/errors"; [ $? -eq "$1" ] || fail "not $1: $2"; }

for wrong in '--ops 0' '--ops -1' '--ops 99999999999999999999' '--time nan' '--time 0' '--time inf' '--print --ops 5' \
   '--exhaustive 0' '--exhaustive 2 --crash' '--restart-one-in 3' '--print --crash'; do
   runs 2 "\"\$0\" soak $wrong"
   [ ! -s "$folder/printed" ] && [ "$(grep -c '' "$folder/errors")" -eq 1 ] || fail "no line of its own: $wrong"
done

runs 0 'sleep 0.1 & exec "$0" soak --ops 50 --seed 4 --jobs 1'
[ "$(head -1 "$folder/printed")" = "seed 4" ] || fail "the seed does not come first"
runs 0 'exec "$0" soak --ops 50 --seed 4 2>&-'
runs 0 'TMPDIR=/nowhere exec "$0" soak --ops 50 --seed 4'
grep -q '^Library and model agree' "$folder/printed" || fail "no verdict"
runs 1 'ulimit -n 6; exec "$0" soak --ops 50 --seed 4'
grep -q agree "$folder/printed" && fail "agrees without descriptors"
grep -q '^quarra-tcam: soak: ' "$folder/errors" || fail "does not say what it lacked"

mkdir "$folder/scratch"
runs 0 "TMPDIR='$folder/scratch' exec \"\$0\" soak --crash --ops 30 --seed 4"
grep -q '^Library and model agree' "$folder/printed" || fail "no verdict of the deaths"
runs 0 "TMPDIR='$folder/scratch' exec \"\$0\" --variant sdk6 soak --exhaustive 1"
grep -q '^Library and model agree on every history' "$folder/printed" || fail "no verdict of the histories"
for kind in --crash '--exhaustive 1'; do
   runs 1 "TMPDIR=/nowhere exec \"\$0\" soak $kind"
   grep -q agree "$folder/printed" && fail "agrees without a directory: $kind"
done
TMPDIR=$folder/scratch setsid "$tool" soak --crash --time 100 --jobs 2 >"$folder/printed" 2>"$folder/errors" &
session=$!
sleep 2
kill -TERM "$session"
wait "$session"
[ $? -gt 128 ] || fail "a soak with deaths does not end by the signal"
[ -z "$(ls -A "$folder/scratch")" ] || fail "leaves files behind: $(ls "$folder/scratch")"

setsid "$tool" soak --seed 4 --time 100 --jobs 2 >"$folder/printed" 2>"$folder/errors" &
session=$!
sleep 2
kill -TERM "$session"
wait "$session"
[ $? -eq 143 ] || fail "does not end by the signal"
grep -q 'operations in' "$folder/printed" || fail "does not tell what it covered"
pgrep -s "$session" >/dev/null && fail "leaves processes behind"
exit $failed
