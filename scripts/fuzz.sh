#!/usr/bin/env bash
# Runs the fuzz targets of a build, as many at once as there are cores.
#
# fuzz.sh BUILD [TARGET] [SECONDS]   all targets, or one, for SECONDS (30) each, on a corpus that grows in BUILD
# fuzz.sh BUILD --runs N             N executions in all, from the seeds alone; repeats exactly
set -euo pipefail
cd "$(dirname "$0")/.."
export BUILD=$1
shift

# Fuzzes target $1 with the working corpus $2 and the options of libFuzzer behind it. Prints what came of it; a crash
# input stays in BUILD/crashes. Inputs are chosen evenly: those that reach rare code are mostly slow ones.
fuzzTarget() {
   local target=$1 corpus=$2 log=$BUILD/$1.log crashes=$BUILD/crashes code=0
   shift 2
   [ ! -f "fuzz/$target.dict" ] || set -- "$@" "-dict=fuzz/$target.dict"
   mkdir -p "$corpus" "$crashes"
   "$BUILD/bin/fuzz-$target" -entropic=0 -timeout=10 -print_final_stats=1 -artifact_prefix="$crashes/$target-" "$@" \
      "$corpus" "fuzz/corpus/$target" >"$log" 2>&1 || code=$?
   sed -n "s/^stat::number_of_executed_units: */$target: executions: /p; s/^stat::average_exec_per_sec: */$target: a second: /p" "$log"
   [ "$code" -ne 0 ] || return 0
   grep -aE "^(broken|SUMMARY|.*ERROR:|.*runtime error:)" "$log" | sed "s/^/$target: /" || tail -n 5 "$log"
   echo "$target: failed; the log is $log, replay with:"
   sed -n "s|.*Test unit written to \(.*\)|   $BUILD/bin/fuzz-$target \1|p" "$log"
   return 1
}
export -f fuzzTarget

# The build lists the targets, each with its share of 100 executions.
list=$BUILD/fuzz-targets.txt
if [ "${1:-}" = --runs ]; then
   rm -rf "$BUILD/counted"
   jobs=$(awk -v build="$BUILD" -v runs="${2:?a number of executions}" \
      '{ print $1, build "/counted/" $1, "-seed=1 -detect_leaks=0 -runs=" int( runs * $2 / 100 ) }' "$list")
else
   only=''
   [[ ${1:-} =~ ^[0-9]*$ ]] || { only=$1; shift; }
   [ -z "$only" ] || grep -q "^$only " "$list" || { echo "no target $only; there are: $(cut -d' ' -f1 "$list" | xargs)" >&2; exit 2; }
   jobs=$(awk -v build="$BUILD" -v only="$only" -v seconds="${1:-30}" \
      'only == "" || $1 == only { print $1, build "/corpus/" $1, "-max_total_time=" seconds }' "$list")
fi
xargs -P "$(nproc)" -I{} bash -c 'fuzzTarget {}' <<<"$jobs"
