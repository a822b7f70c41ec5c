#!/usr/bin/env bash
# The same seed gives the same bytes from every build: sameDumps.sh SEEDS TOOL TOOL...
# Each tool makes up the same histories, and answers them, dumps between the operations, with the same text.
set -euo pipefail
seeds=$1
shift
tools=("$@")
[ "${#tools[@]}" -ge 2 ] || { echo "sameDumps.sh: at least two builds of quarra-tcam" >&2; exit 2; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The history of a seed with a dump after every eighth operation and at its end, and the answers to it.
answers() {
   "$1" --variant "$2" soak --print --seed "$3" |
      awk '{ print } NR % 8 == 0 { print "{\"op\":\"dump\"}" } END { print "{\"op\":\"check\"}\n{\"op\":\"dump\"}" }' |
      tee "$work/history" | "$1" batch -
   cat "$work/history"
}

bytes=0
for variant in sdk6 hsdk testSdk6 testHsdk; do
   for ((seed = 1; seed <= seeds; ++seed)); do
      answers "${tools[0]}" "$variant" "$seed" >"$work/first"
      bytes=$((bytes + $(stat -c %s "$work/first")))
      for tool in "${tools[@]:1}"; do
         answers "$tool" "$variant" "$seed" >"$work/other"
         cmp "$work/first" "$work/other" || {
            echo "differ: $variant, seed $seed, ${tools[0]} and $tool" >&2
            exit 1
         }
      done
   done
done
echo "$seeds seeds on 4 variants, ${#tools[@]} builds: $bytes bytes of histories and answers are the same"
