#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The reports of launched runs: made, shown, stale, failed, compared. Each call of xp is
# a process of its own, so that whatever one tells was remembered by another.

load xp.bash

setup_file() { need_tools; }

launched_project() {
  new_project_with_runs
  "$xp" -C proj launch >launch.out 2>&1 || { cat launch.out; return 1; }
}

# What `xp report list` says of report $2 of run $1 at key $3.
report_of() {
  "$xp" -C proj report list "$1" --all --json |
    json "[r['$3'] for r in j if r['report'] == '$2'][0]"
}

# The JSON form of the report $2 of run $1 says a figure $3 of value $4.
doctor_figure() {
  "$python" - "$(report_of "$1" "$2" json)" "$3" "$4" <<'PY'
import json, sys
path, name, value = sys.argv[1:]
with open(path) as f:
    report = json.load(f)
report["figures"] = [f for f in report["figures"] if f["name"] != name]
if value:
    report["figures"].append({"name": name, "label": name, "value": float(value), "unit": "",
                              "better": "lower" if name == "luts" else "higher"})
with open(path, "w") as f:
    json.dump(report, f)
PY
}

@test "a launch makes the reports, and they are listed, shown and opened" {
  launched_project
  run -0 --separate-stderr "$xp" -C proj report list impl_1
  [[ $output != *failed* && $output != *'not generated'* ]]
  [[ $output == *route_design*report_timing_summary*generated*.rpt* ]]
  run -0 "$xp" -C proj show impl_1
  grep -Eq '^Reports +[a-z_.]+ +generated' <<<"$output"
  run -0 --separate-stderr "$xp" -C proj report open impl_1 report_timing_summary
  [[ $output == *Fmax* && $output != *$'\e'* && -z $stderr ]]
  diff <(echo "$output") "$(report_of impl_1 report_timing_summary file)"
  run -0 --separate-stderr "$xp" -C proj report open impl_1 report_timing_summary --json
  [ "$(json 'j["report"]' <<<"$output")" = report_timing_summary ]
  [ "$(json '[f["value"] > 0 for f in j["figures"] if f["name"] == "fmax"]' <<<"$output")" = '[True]' ]
}

@test "generate makes what isn't up to date, and tells the rest" {
  launched_project
  run -0 "$xp" -C proj report generate impl_1
  [[ $output == *"Report report_timing of run impl_1 isn't made: it is up to date"* ]]
  "$xp" -C proj report add impl_1 route report_clocks
  run -6 "$xp" -C proj report open impl_1 report_clocks
  assert_one_error "Report report_clocks of run impl_1 isn't there yet." \
    'Make it with: xp report generate impl_1 report_clocks'
  run -0 "$xp" -C proj report generate impl_1 report_clocks
  [[ $output == "Report report_clocks of run impl_1 is made: $project/runs/impl_1/"* ]]
  run -0 "$xp" -C proj report open impl_1 report_clocks
  run -0 "$xp" -C proj report generate impl_1 report_clocks
  [[ $output == *'it is up to date' ]]
  run -0 "$xp" -C proj report generate impl_1 report_clocks --again
  [[ $output == *'is made: '* ]]
}

@test "a report whose option was changed is stale until it is made again, or set back" {
  launched_project
  run -0 "$xp" -C proj report set impl_1 report_timing max_paths=1
  [ "$output" = 'Report report_timing of run impl_1 is stale now. Make it anew: xp report generate impl_1 report_timing' ]
  [ "$(report_of impl_1 report_timing state)" = stale ]
  run -0 --separate-stderr "$xp" -C proj report open impl_1 report_timing
  [[ $stderr == 'Report report_timing of run impl_1 is stale: '* ]]
  "$xp" -C proj report set impl_1 report_timing max_paths=10
  [ "$(report_of impl_1 report_timing state)" = generated ]
  "$xp" -C proj report set impl_1 report_timing max_paths=1
  run -0 "$xp" -C proj report generate impl_1
  [[ $output == *'Report report_timing of run impl_1 is made: '* ]]
  [ "$(report_of impl_1 report_timing state)" = generated ]
}

@test "reports of a run whose options changed are stale until its next launch" {
  launched_project
  "$xp" -C proj set impl_1 place_design.seed=7
  [ "$(report_of impl_1 report_timing state)" = stale ]
  run -6 "$xp" -C proj report generate impl_1 report_timing
  [[ $output == *"isn't made: the results of its step are stale; launch the run first" ]]
  run -0 "$xp" -C proj compare
  grep -Fq 'impl_1 is left out: its results are stale; bring it up to date: xp launch impl_1' <<<"$output"
  "$xp" -C proj launch
  [ "$(report_of impl_1 report_timing state)" = generated ]
}

@test "a deleted report is gone with its files" {
  launched_project
  local file json
  file=$(report_of impl_1 report_timing file)
  json=$(report_of impl_1 report_timing json)
  [ -f "$file" ]
  [ -f "$json" ]
  run -0 "$xp" -C proj report delete impl_1 report_timing
  [ "$output" = "Report report_timing of run impl_1 is deleted, with its file $file" ]
  [ ! -e "$file" ]
  [ ! -e "$json" ]
  run -6 "$xp" -C proj report open impl_1 report_timing
  assert_one_error "has no report"
}

@test "a report that fails says why, and is made once it is mended" {
  launched_project
  "$xp" -C proj report set impl_1 report_timing 'MORE_OPTIONS=-nosuch'
  run -1 "$xp" -C proj report generate impl_1 report_timing
  assert_one_error 'The report report_timing of run impl_1 failed: ' nosuch \
    'Correct the cause, then: xp report generate impl_1 report_timing' \
    "log: $project/runs/impl_1/route_design_reports.log" '  | '
  [ "$(report_of impl_1 report_timing state)" = failed ]
  [[ $(report_of impl_1 report_timing reason) == *nosuch* ]]
  run -6 "$xp" -C proj report open impl_1 report_timing
  assert_one_error 'Report report_timing of run impl_1 failed: ' nosuch
  run -0 "$xp" -C proj show impl_1
  grep -Eq 'report_timing +failed: .*nosuch' <<<"$output"
  "$xp" -C proj report set impl_1 report_timing 'MORE_OPTIONS='
  run -0 "$xp" -C proj report generate impl_1
  [[ $output == *'Report report_timing of run impl_1 is made: '* ]]
  run -0 "$xp" -C proj report open impl_1 report_timing
}

@test "a report that fails in a launch doesn't fail the run" {
  new_project_with_runs
  "$xp" -C proj report set impl_1 report_timing 'MORE_OPTIONS=-nosuch'
  run -0 "$xp" -C proj launch
  [ "$(report_of impl_1 report_timing state)" = failed ]
  [ "$(report_of impl_1 report_timing_summary state)" = generated ]
}

@test "a report whose file was removed isn't opened, and says what to do" {
  launched_project
  rm "$(report_of impl_1 report_timing file)"
  run -6 "$xp" -C proj report open impl_1 report_timing
  assert_one_error "isn't there" 'xp report generate impl_1 report_timing'
  run -0 "$xp" -C proj report generate impl_1
  [[ $output == *'Report report_timing of run impl_1 is made: '* ]]
  run -0 "$xp" -C proj report open impl_1 report_timing
}

@test "on a terminal a report is shown by the user's pager" {
  command -v script >/dev/null || skip 'script is missing'
  launched_project
  mkdir bin
  printf '#!/bin/sh\necho "pager: $*"\n' >bin/mine
  chmod +x bin/mine
  PATH=$PWD/bin:$PATH PAGER='mine -x "two words"' run -0 \
    script -qec "'$xp' -C proj report open impl_1 report_timing" /dev/null
  [[ $output == *"pager: -x two words $project/runs/impl_1/"*.rpt* ]]
  PAGER='' run -0 script -qec "'$xp' -C proj report open impl_1 report_timing" /dev/null
  [[ $output == *'Critical path'* || $output == *'Report report_timing'* ]]
}

@test "runs are compared by the figures of their reports" {
  launched_project
  "$xp" -C proj create impl_2 --flow impl --set place_design.seed=7
  "$xp" -C proj launch
  doctor_figure impl_1 report_timing_summary fmax 100
  doctor_figure impl_2 report_timing_summary fmax 120.5
  run -0 --separate-stderr "$xp" -C proj compare
  [[ -z $stderr && $output != *$'\e'* ]]
  grep -Eq '^Run +impl_1 +impl_2$' <<<"$output"
  grep -Eq '^fmax +100 +120.5$' <<<"$output"
  grep -Eq '^place_design.seed +1 +7$' <<<"$output"
  grep -Fq 'impl_2 is best (Fmax 120.5 MHz); next is impl_1 (Fmax 100 MHz).' <<<"$output"
  doctor_figure impl_2 report_timing_summary fmax 100
  run -0 "$xp" -C proj compare
  grep -Fq 'impl_1 and impl_2 are equally good (Fmax 100 MHz).' <<<"$output"
  doctor_figure impl_2 report_timing_summary fmax ''
  doctor_figure impl_1 report_timing_summary worst_slack -2.5
  run -0 "$xp" -C proj compare
  grep -Eq '^fmax +100 +-$' <<<"$output"
  grep -Fq 'impl_1 misses the goal of its clocks by 2.5 ns.' <<<"$output"
  grep -Fq 'impl_2 is left out: no report tells its Fmax' <<<"$output"
  run -0 --separate-stderr "$xp" -C proj compare --json
  [ "$(json 'j["best"], j["missing_their_clock_goal"], [l["run"] for l in j["left_out"]]' <<<"$output")" = \
    "(['impl_1'], ['impl_1'], ['impl_2'])" ]
  [ "$(json 'j["options"]' <<<"$output")" = \
    "[{'option': 'place_design.seed', 'values': {'impl_1': '1', 'impl_2': '7'}}]" ]
  run -0 --separate-stderr "$xp" -C proj compare --goal time
  grep -Fq 'Goal lowest run time: ' <<<"$output"
}

@test "a comparison stays within the columns that there are" {
  launched_project
  "$xp" -C proj create impl_2 --flow impl --set place_design.seed=7
  COLUMNS=42 run -0 --separate-stderr "$xp" -C proj compare
  [ "$(grep -Ec '^Run +impl_' <<<"$output")" = 2 ]
  [ "$(sed '/^Goal/,$d' <<<"$output" | awk 'length > 42' | wc -l)" = 0 ]
}

@test "figures that can't be read are told and left out" {
  launched_project
  echo '{"format"' >"$(report_of impl_1 report_timing_summary json)"
  run -0 --separate-stderr "$xp" -C proj compare
  [[ $stderr == *'The figures of report report_timing_summary of run impl_1 are left out: '*'not valid JSON'* ]]
  [[ $output == *'impl_1 is left out: no report tells its Fmax'* ]]
}
