#!/usr/bin/env bash
# lasting.sh COMMAND: a switch that lasts, through the command: what stays between two runs, and what a run says that
# cannot use the switch. A store that is half written, and an exit code of 0 for it, are what it looks for.
set -uo pipefail
tool=$1
folder=$(mktemp -d)
trap 'umount "$folder/small" 2>/dev/null; rm -rf "$folder"' EXIT
source "$(dirname "$0")/expect.sh"

# As expect, and keeps what is printed.
run() {
   expect "$@" >"$folder/output"
}

# said WHAT PATTERN: what the last command printed.
said() {
   grep -qE -- "$2" "$folder/output" || { echo "$1: not printed: $2"; tail -5 "$folder/output"; failed=1; }
}

for variant in sdk6 hsdk testSdk6 testHsdk; do
   switch=(--switch "$folder/$variant")
   run "first apply on $variant" 0 '' "$tool" apply scenarios/pods16.json --variant $variant "${switch[@]}"
   "$tool" dump "${switch[@]}" >"$folder/before"
   run "the same again on $variant" 0 '' "$tool" apply scenarios/pods16.json "${switch[@]}"
   said "the same again on $variant" ' 0 came, 0 changed, 0 gone, [0-9]+ untouched; 0 SDK calls'
   run "restart on $variant" 0 '' "$tool" restart "${switch[@]}"
   said "restart on $variant" '0 SDK calls, 0 of them writes'
   "$tool" dump "${switch[@]}" | cmp -s - "$folder/before" || { echo "$variant: the dump is another one"; failed=1; }
   run "no difference on $variant" 0 '' "$tool" diff "$folder/$variant" "$folder/before"
   run "check on $variant" 0 '' "$tool" check "${switch[@]}"
   run "audit on $variant" 0 '' "$tool" audit "${switch[@]}"
   run "damage on $variant" 0 '' "$tool" damage entry 1 "${switch[@]}"
   run "audit of it on $variant" 1 '' "$tool" audit "${switch[@]}"
   said "audit of it on $variant" 'entryMissing'
   run "repair on $variant" 0 '' "$tool" repair "${switch[@]}"
   run "audit after it on $variant" 0 '' "$tool" audit "${switch[@]}"

   # Damage is what an audit finds; where there is nothing to damage, it is refused.
   for what in "bit 1 3" "word 1 9 5"; do
      read -ra words <<<"$what"
      if [[ "$variant ${words[0]}" == "testSdk6 bit" || "$variant ${words[0]}" == *[hH]sdk\ word ]]; then
         run "damage $what on $variant" 2 '^quarra-tcam: damage: ' "$tool" damage "${words[@]}" "${switch[@]}"
      else
         run "damage $what on $variant" 0 '' "$tool" damage "${words[@]}" "${switch[@]}"
         run "audit of $what on $variant" 1 '' "$tool" audit "${switch[@]}"
         run "repair of $what on $variant" 0 '' "$tool" repair "${switch[@]}"
      fi
   done
   run "damage without effect on $variant" 2 '^quarra-tcam: damage: ' "$tool" damage word 1 9 0 "${switch[@]}"

   # Every SDK call of an apply fails once: the process aborts, the next one has a switch, and ends what was begun.
   for call in 1 2 3 5 8 13 40; do
      { "$tool" apply scenarios/overlap.json --switch "$folder/$variant-dead" --variant $variant --fail-sdk-call $call; } \
         >/dev/null 2>&1
      [ $? -eq 134 ] || break
      run "audit after death at call $call on $variant" 0 '' bash -c '"$0" audit "${@}" 2>/dev/null' "$tool" \
         --switch "$folder/$variant-dead"
   done
   run "apply after deaths on $variant" "$([[ $variant == *dk6 ]] && echo 0 || echo 1)" '' "$tool" apply \
      scenarios/overlap.json --switch "$folder/$variant-dead"
done

switch=(--switch "$folder/sdk6")
run "another variant" 2 'storeOfAnother: .*its variant is sdk6, --variant says hsdk' "$tool" usage "${switch[@]}" --variant hsdk
run "other ports" 2 '32 ports are not on the switch: "Ethernet16", .* and 24 more' "$tool" apply scenarios/campus48.json "${switch[@]}"
run "none there" 5 'storeMissing: ' "$tool" usage --switch "$folder/none"
run "no switch named" 2 '--switch DIR is missing' "$tool" audit
run "cold without a switch" 2 '--switch DIR is missing' "$tool" apply scenarios/pods16.json --cold
echo '{"variant":"sdk6","ports":[2,3,20]}' >"$folder/chip"
run "other ports of a chip" 2 'its ports are not those that --chip says; Port1, Port4, .* and [0-9]+ more only on the switch; Port20 only there' \
   "$tool" usage "${switch[@]}" --chip "$folder/chip"
mkfifo "$folder/pipe"
"$tool" batch - "${switch[@]}" <"$folder/pipe" >/dev/null & holder=$!
exec 7>"$folder/pipe"
for _ in $(seq 100); do
   grep -q " $holder quarra-tcam" "$folder/sdk6/store.db.lock" && break
   sleep 0.1
done
for command in "apply scenarios/pods16.json" "batch $folder/before" "usage" "repair" "restart" "restart --cold"; do
   read -ra words <<<"$command"
   run "$command of one that is in use" 5 "storeInUse: .*process $holder " "$tool" "${words[@]}" "${switch[@]}"
done
exec 7>&-
wait $holder

head -c 3000 "$folder/sdk6/store.db" >"$folder/short"
cp "$folder/short" "$folder/sdk6/store.db"
run "a damaged store" 5 'storeDamaged: ' "$tool" usage "${switch[@]}"
run "a damaged store, cold, of what kind nobody knows" 5 'give --variant' "$tool" restart "${switch[@]}" --cold
run "cold where there is no switch" 5 'storeMissing: ' "$tool" restart --switch "$folder/misspelt" --cold
run "a damaged store, cold" 0 'started cold: .*storeDamaged' "$tool" apply scenarios/pods16.json "${switch[@]}" --cold \
   --variant sdk6
run "check after it" 0 '' "$tool" check "${switch[@]}"
run "audit after it" 0 '' "$tool" audit "${switch[@]}"
run "diff with a configuration" 1 '' "$tool" diff "${switch[@]}" scenarios/overlap.json
run "a plan that does not fit" 1 'plan: not written, since 20 rules do not fit' "$tool" plan scenarios/exhaustion.json -o "$folder/plan"
cp "$folder/short" "$folder/sdk6/store.db"
run "cold, and nothing is back" 1 'started cold: 10 entries left the chip, 0 are back' "$tool" restart "${switch[@]}" --cold --variant sdk6

# As a user who may not write: root may write everywhere. A build that counts coverage writes its counters when it ends.
if [ "$(id -u)" -eq 0 ]; then
   chmod 755 "$folder" && chmod -R a+rX "$folder/sdk6"
   mkdir --mode=777 "$folder/counters"
   as=(env GCOV_PREFIX="$folder/counters" setpriv --reuid=65534 --regid=65534 --clear-groups)
   run "may not write" 5 'storeFailed: .*(denied|not written|read)' "${as[@]}" "$tool" usage "${switch[@]}"
   run "may not make one" 5 'storeFailed: ' "${as[@]}" "$tool" apply scenarios/pods16.json --switch "$folder/not-mine"
fi

# A disk that is full at any point of the work.
mkdir "$folder/small"
if mount -t tmpfs -o size=1200k none "$folder/small" 2>/dev/null; then
   run "apply on a small disk" 0 '' "$tool" apply scenarios/pods16.json --variant sdk6 --switch "$folder/small/s"
   "$tool" dump --switch "$folder/small/s" >"$folder/before"
   head -c 2000000 /dev/zero >"$folder/small/full" 2>/dev/null
   for entry in $(seq 1000 1400); do
      echo "{\"op\":\"install\",\"group\":13,\"entry\":$entry,\"ports\":[1,2],\"label\":\"a|$entry\"}"
   done >"$folder/many"
   run "a full disk" 5 '' "$tool" batch "$folder/many" --switch "$folder/small/s"
   said "a full disk" 'storeFailed'
   answered=$(grep -c '"ok":true' "$folder/output")
   rm "$folder/small/full"
   run "audit after a full disk" 0 '' bash -c '"$0" audit "$@" 2>/dev/null' "$tool" --switch "$folder/small/s"
   kept=$("$tool" switch -j --switch "$folder/small/s" | grep -o '"entries":[0-9]*' | head -1 | cut -d: -f2)
   before=$(grep -o '"entry":[0-9]*,"qualifier"' "$folder/before" | wc -l)
   [ "$kept" -eq $((before + answered)) ] || { echo "a full disk: $before entries, $answered answered, $kept kept"; failed=1; }
   head -c 2000000 /dev/zero >"$folder/small/full" 2>/dev/null
   run "a first use on a full disk" 5 'storeFailed: ' "$tool" apply scenarios/pods16.json --switch "$folder/small/t"
   [ ! -e "$folder/small/t" ] && [ ! -e "$folder/small/t.new" ] || { echo "half a switch is left"; failed=1; }
   run "a first use by batch on a full disk" 5 'storeFailed: ' "$tool" batch "$folder/many" --switch "$folder/small/t"
   [ ! -s "$folder/output" ] || { echo "batch answers without a switch"; failed=1; }
   echo '{"ACL_TABLE":{"T":{"type":"L3","ports":["Ethernet0"]}},"ACL_RULE":{'"$(seq -s, -f '"T|%g":{}' 400)"'}}' >"$folder/wide.json"
   run "a change on a full disk" 5 'storeFailed: .*; [0-9]+ steps? (was|were) carried out before, and what came of them stays' \
      "$tool" apply "$folder/wide.json" --switch "$folder/small/s"
fi
exit $failed
