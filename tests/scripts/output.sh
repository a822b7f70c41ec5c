#!/usr/bin/env bash
# output.sh COMMAND: what the command prints arrives, or its exit code says that it did not. Exit 0 with an empty file on a
# full disk was the incident.
set -uo pipefail
tool=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
source "$(dirname "$0")/expect.sh"

printf '%s\n' '{"op":"createGroup","group":16}' '{"op":"check"}' >"$folder/lines"
commands=(
   "apply scenarios/overlap.json" "apply -j scenarios/overlap.json" "groups" "groups -j" "chips" "chips -j" "--help"
   "apply --help" "--version" "batch $folder/lines" "soak --ops 50 --seed 1 --jobs 1 --variant testSdk6"
   "soak --print --seed 1 --variant testSdk6")
for command in "${commands[@]}"; do
   read -ra words <<<"$command"
   for how in full closed; do
      # In a shell of their own, as `timeout` starts programs only.
      redirect='>/dev/full'
      [ "$how" = full ] || redirect='>&-'
      expect "$command $redirect" 4 '^quarra-tcam: standard output: cannot be written: ' \
         bash -c "exec \"\$0\" \"\$@\" $redirect" "$tool" "${words[@]}"
   done
   expect "$command | gone" 141 '' bash -c '( sleep 0.1; exec "$0" "$@" ) | true; exit "${PIPESTATUS[0]}"' "$tool" "${words[@]}"
done
expect "a reader that is gone, SIGPIPE ignored" 4 '' \
   bash -c 'trap "" PIPE; ( sleep 0.1; exec "$0" groups ) | true; exit "${PIPESTATUS[0]}"' "$tool"

# A file that was asked for. The incident: a page took the place of the device that it was to be written to.
cp scenarios/overlap.json "$folder/kept"
expect "a page onto a full disk" 4 '^quarra-tcam: /proc/self/fd/3: cannot be written: No space' \
   bash -c '"$0" apply scenarios/overlap.json --html /proc/self/fd/3 3>/dev/full >/dev/null' "$tool"
expect "a page onto standard output" 0 '' \
   bash -c '"$0" why Ethernet0 -c scenarios/overlap.json --html /proc/self/fd/3 3>&1 >/dev/null | grep -q "</html>"' "$tool"
expect "a page into no folder" 4 '^quarra-tcam: .*/none/page: cannot be written: No such' \
   bash -c '"$0" apply scenarios/overlap.json --html "$1/none/page" >/dev/null' "$tool" "$folder"
expect "a page whose draft cannot be made" 4 '^quarra-tcam: .*/kept: cannot be written: ' \
   bash -c 'mkdir "$1/kept.new"; "$0" apply scenarios/overlap.json --html "$1/kept" >/dev/null' "$tool" "$folder"
cmp -s scenarios/overlap.json "$folder/kept" || { echo "a page that could not be written took the file's place"; failed=1; }

# Standard input that is none.
expect "batch of a folder" 2 '^quarra-tcam: standard input: cannot be read: Is a directory$' \
   bash -c 'exec "$0" batch - </tmp' "$tool"
expect "batch of a closed input" 2 '^quarra-tcam: standard input: cannot be read: ' bash -c 'exec "$0" batch - <&-' "$tool"
expect "batch of a line without end" 2 '^quarra-tcam: standard input: line 1 is longer than 16 MiB$' \
   bash -c 'exec "$0" batch - </dev/zero' "$tool"
expect "apply of a file without end" 2 '^quarra-tcam: /dev/zero: holds more than 128 MiB$' "$tool" apply /dev/zero
expect "apply of standard input" 0 '' bash -c '"$0" apply - <scenarios/overlap.json >/dev/null' "$tool"
expect "messages that nobody can read" 2 '' bash -c 'exec "$0" apply nothing.json 2>&-' "$tool"
exit $failed
