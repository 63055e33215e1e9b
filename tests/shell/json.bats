#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
# The JSON that scripts read, against its schemas.

load xp.bash

teardown() {
  end_runs
}

# What xp prints for "$@" behind the first two keeps the schema $2; it ends with status $1.
keeps() {
  local wanted=$1 schema=$2
  shift 2
  run "-$wanted" --separate-stderr "$xp" "$@" --json
  assert_schema "$schema" || { echo "not as in $schema: xp $* --json"; return 1; }
}

# Every verb that has --json, as its schema is called: "ls", "strategy-show".
verbs_with_json() {
  local verb inner
  for verb in $("$xp" help | sed -n '/^Verbs:/,/^$/s/^  \([a-z]*\) .*/\1/p'); do
    if "$xp" help "$verb" | grep -q '^  --json'; then
      echo "$verb"
    fi
    for inner in $("$xp" help "$verb" | sed -n "/^Usage: xp $verb VERB/,/^Examples/s/^  \([a-z]*\)  .*/\1/p"); do
      if "$xp" help "$verb" "$inner" | grep -q '^  --json'; then
        echo "$verb-$inner"
      fi
    done
  done
}

@test "every verb with --json has a schema" {
  local verb count=0
  while read -r verb; do
    [ -s "$source_dir/data/schemas/json/$verb.schema.json" ] || { echo "no schema of $verb"; false; }
    count=$((count + 1))
  done < <(verbs_with_json)
  [ "$count" -gt 10 ]
}

@test "a schema refuses what isn't so" {
  new_project_with_runs
  run -0 "$xp" -C proj ls --json
  assert_schema ls
  output=${output/'"not started"'/'"sleeping"'}
  run assert_schema ls
  [ "$status" = 1 ]
}

@test "without runs, and before a launch" {
  new_project
  cd proj
  keeps 0 status status
  keeps 0 ls ls
  keeps 0 plan plan
  keeps 0 show show
  cd ..
  rm -r proj
  new_project_with_runs
  cd proj
  keeps 0 status status
  keeps 0 ls ls
  keeps 0 plan plan
  keeps 0 show show
  keeps 0 show show impl_1
  keeps 0 why why impl_1
  keeps 0 compare compare
  keeps 0 report-list report list
  keeps 0 report-list report list impl_1 --all
}

@test "strategies" {
  keeps 0 strategy-list strategy list
  keeps 0 strategy-show strategy show impl/Performance
  keeps 0 strategy-compare strategy compare impl/Default impl/Performance
  keeps 0 strategy-compare strategy compare impl/Default impl/Default
  keeps 0 reportstrategy-list reportstrategy list
  keeps 0 reportstrategy-show reportstrategy show 'Tarnel Implementation Default Reports'
  "$xp" -q reportstrategy copy 'Tarnel Implementation Default Reports' Mine
  "$xp" -q reportstrategy remove Mine route_design report_timing
  keeps 0 reportstrategy-compare reportstrategy compare 'Tarnel Implementation Default Reports' Mine
}

@test "done, failed and stale runs" {
  need_tools
  new_project_with_runs
  cd proj
  "$xp" -q sweep night --strategies Default,Performance --seeds 1-2 >/dev/null
  "$xp" -q launch >/dev/null
  keeps 0 status status
  keeps 0 ls ls
  keeps 0 plan plan
  keeps 0 show show impl_1
  keeps 0 why why impl_1
  keeps 0 compare compare
  keeps 0 compare compare night_Default night_Performance
  keeps 0 best best
  keeps 0 best best night --families
  keeps 0 best best impl_1 --by 'luts min' --require 'fmax >= 1'
  keeps 3 best best impl_1 --require 'fmax >= 100000'
  keeps 0 report-list report list
  keeps 0 report-generate report generate impl_1
  keeps 0 report-generate report generate impl_1 --again
  local report
  for report in report_timing report_timing_summary report_utilization report_io report_drc; do
    keeps 0 report-open report open impl_1 "$report"
  done
  "$xp" set impl_1 seed=9
  "$xp" set synth_1 abc9=true
  keeps 0 status status
  keeps 0 ls ls
  keeps 0 plan plan
  keeps 0 why why impl_1
  keeps 0 why why synth_1
  keeps 0 show show synth_1
  keeps 4 best best
  printf 'module blinky(input clk); foo\n' >../blinky.v
  run -1 "$xp" launch synth_1
  keeps 0 status status
  keeps 0 ls ls
  keeps 0 plan plan
  keeps 0 show show synth_1
  keeps 0 compare compare
}
