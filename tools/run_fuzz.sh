#!/usr/bin/env bash
# Runs each fuzz target for a bounded number of inputs, from its seeds in fuzz/corpus.
#
#   tools/run_fuzz.sh BUILD [RUNS]     BUILD was configured with the preset "fuzz"
#
# The inputs depend on the seeds alone: a failure comes again. What a target fails on is
# kept under BUILD/findings; give that file to BUILD/fuzzers/fuzz_<target> to see it again.
# What is worth keeping becomes a seed. To search on, call a fuzzer with a folder of your
# own and without -runs.
set -euo pipefail
build=$(cd "$1" && pwd)
runs=${2:-20000}
cd "$(dirname "$0")/.."

findings=$build/findings
rm -rf "$findings"
mkdir -p "$findings"
# Most of a run would be spent on syncing files.
if [ -w /dev/shm ]; then
  TMPDIR=$(mktemp -d /dev/shm/xp-fuzz-XXXXXX)
else
  TMPDIR=$(mktemp -d)
fi
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT

fuzz() {
  local target=$1 log=$findings/$1.log
  # What is found goes into the first folder.
  mkdir "$TMPDIR/$target"
  if "$build/fuzzers/fuzz_$target" -runs="$runs" -seed=1 -max_len=8192 -timeout=20 \
    -dict="fuzz/dictionaries/$target.dict" \
    -rss_limit_mb=1024 -print_final_stats=1 -artifact_prefix="$findings/$target-" \
    "$TMPDIR/$target" "fuzz/corpus/$target" > "$log" 2>&1; then
    echo "$target: $(sed -n 's/^stat::number_of_executed_units: //p' "$log") inputs"
    return
  fi
  tail -n 40 "$log"
  echo "FAILED: $target; see $log"
  return 1
}

export -f fuzz
export build runs findings
targets=$(for program in "$build"/fuzzers/fuzz_*; do basename "$program" | sed s/^fuzz_//; done)
# shellcheck disable=SC2086  # a list of words
printf '%s\n' $targets | xargs -P "$(nproc)" -I{} bash -c 'set -euo pipefail; fuzz {}'
