#!/usr/bin/env bash
# Fails when the code names a known behaviour that docs/known-behaviours.md has not, when one id stands there twice, and
# when nothing but that document names it.
set -euo pipefail
cd "$(dirname "$0")/.."
document=docs/known-behaviours.md
rooms=(acl agent lab platform simulator soak tools QuarraTcamSdkBaseTypes)

ids=$(grep -oE '^\| [a-z0-9-]+ \|' "$document" | tr -d '| ' | grep -vx 'id' | grep -vx -- '-*')
failed=0
while read -r twice; do
   echo "$document: $twice stands there twice" >&2
   failed=1
done < <(sort <<<"$ids" | uniq -d)
while read -r id; do
   grep -rqw --include='*.h' --include='*.cpp' -- "$id" "${rooms[@]}" ||
      { echo "$document: nothing in the code names $id" >&2; failed=1; }
done <<<"$ids"
while IFS=: read -r file line name; do
   id=${name##* }
   grep -qx -- "$id" <<<"$ids" || { echo "$file:$line: $document has no $id" >&2; failed=1; }
done < <(grep -rnioE --include='*.h' --include='*.cpp' 'known behaviour [a-z0-9]+(-[a-z0-9]+)+' "${rooms[@]}")
exit $failed
