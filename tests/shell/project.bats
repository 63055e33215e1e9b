#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors

load xp.bash

@test "a new project holds sources, constraints and device" {
  run -0 "$xp" new proj --top blinky --source blinky.v --constraints blinky.pcf --device hx8k \
    --package ct256 --freq 25 --define FAST --define N=3 --include .
  run -0 --separate-stderr "$xp" -C proj show --json
  [ "$(json 'j["top"], j["device"], j["package"], j["frequency_mhz"]' <<<"$output")" = \
    "('blinky', 'hx8k', 'ct256', '25')" ]
  [ "$(json 'j["sources"]' <<<"$output")" = "['$BATS_TEST_TMPDIR/blinky.v']" ]
  [ "$(json 'j["constraints"]' <<<"$output")" = "$BATS_TEST_TMPDIR/blinky.pcf" ]
  [ "$(json 'j["defines"]' <<<"$output")" = "['FAST', 'N=3']" ]
  [ "$(json 'j["runs"]' <<<"$output")" = '[]' ]
}

@test "several sources may follow one option" {
  cp blinky.v more.v
  "$xp" new proj --top blinky --source blinky.v more.v --constraints blinky.pcf
  run -0 --separate-stderr "$xp" -C proj show --json
  [ "$(json 'len(j["sources"])' <<<"$output")" = 2 ]
}

@test "a project is found from a folder below it" {
  new_project
  mkdir -p proj/a/b
  cd proj/a/b
  run -0 "$xp" show
  [[ $output == *"Directory     $project"* ]]
}

@test "-C stands before or behind the verb" {
  new_project
  run -0 "$xp" -C proj show
  local before=$output
  run -0 "$xp" show -C proj
  [ "$output" = "$before" ]
}

@test "-C tells where a new project is, and files are those of the current folder" {
  mkdir place
  run -0 "$xp" -C place new chip --top blinky --source blinky.v
  [[ $output == *'xp -C place/chip create synth_1 --flow synth'* ]]
  run -0 --separate-stderr "$xp" -C place/chip show --json
  [ "$(json 'j["sources"]' <<<"$output")" = "['$BATS_TEST_TMPDIR/blinky.v']" ]
  run -0 "$xp" new -C nowhere "$BATS_TEST_TMPDIR/other" --top blinky --source blinky.v
  [ -e other/project.xml ]
  [ ! -e nowhere ]
}

@test "sources and constraints can be added" {
  new_project
  cp blinky.v more.v
  cp blinky.pcf other.pcf
  run -0 "$xp" -C proj add more.v other.pcf
  run -0 --separate-stderr "$xp" -C proj show --json
  [ "$(json 'j["sources"][1]' <<<"$output")" = "$BATS_TEST_TMPDIR/more.v" ]
  [ "$(json 'j["constraints"]' <<<"$output")" = "$BATS_TEST_TMPDIR/other.pcf" ]
  run -0 "$xp" -C proj add more.v
  [[ $output == *'more.v is in the project already'* ]]
}

@test "a moved project finds the sources inside it" {
  mkdir proj
  cp blinky.v blinky.pcf proj
  "$xp" new proj --top blinky --source proj/blinky.v --constraints proj/blinky.pcf
  run ! grep -F "$BATS_TEST_TMPDIR" proj/project.xml
  mv proj elsewhere
  run -0 --separate-stderr "$xp" -C elsewhere show --json
  [ "$(json 'j["sources"]' <<<"$output")" = "['$BATS_TEST_TMPDIR/elsewhere/blinky.v']" ]
}

@test "a run shows the options that differ from their defaults" {
  new_project
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj create impl_1 --flow impl --strategy Performance --set place_design.seed=7 \
    --set router=router2
  run -0 --separate-stderr "$xp" -C proj show impl_1 --json
  [ "$(json '{o["option"]: o["value"] for o in j["options"]}' <<<"$output")" = \
    "{'seed': '7', 'heap_timingweight': '30', 'heap_critexp': '4', 'router': 'router2'}" ]
  [ "$(json 'j["synthesis"], j["status"], j["stale"], j["bitstream"]' <<<"$output")" = \
    "('synth_1', 'not started', False, None)" ]
}

@test "set changes options, strategy and last step" {
  new_project_with_runs
  "$xp" -C proj set impl_1 seed=9 no_tmdriv=true
  "$xp" -C proj set impl_1 --to route
  run -0 --separate-stderr "$xp" -C proj show impl_1 --json
  [ "$(json '[o["value"] for o in j["options"]], j["ends_at"]' <<<"$output")" = \
    "(['9', 'true'], 'route_design')" ]
  "$xp" -C proj set impl_1 --strategy Explore --to ''
  run -0 --separate-stderr "$xp" -C proj show impl_1 --json
  [ "$(json '[o["value"] for o in j["options"]], j["ends_at"], j["strategy"]' <<<"$output")" = \
    "(['3'], 'write_bitstream', 'Explore')" ]
}

@test "an option set to its default doesn't differ any more" {
  new_project_with_runs
  "$xp" -C proj set impl_1 seed=9
  "$xp" -C proj set impl_1 seed=1
  run -0 --separate-stderr "$xp" -C proj show impl_1 --json
  [ "$(json 'j["options"]' <<<"$output")" = '[]' ]
}

@test "status of runs that aren't launched" {
  new_project_with_runs
  run -0 --separate-stderr "$xp" -C proj status
  [ "${#lines[@]}" = 3 ]
  [[ ${lines[0]} == Run*Flow*Strategy*Status*Step*LUTs*'Fmax MHz'*'Slack ns'*Seconds*Stale ]]
  [[ ${lines[1]} == 'synth_1  synth  Default   not started '* ]]
  [[ ${lines[2]} == 'impl_1   impl   Default   not started '* ]]
  run -0 --separate-stderr "$xp" -C proj status impl_1 --json
  [ "$(json '[r["name"] for r in j["runs"]]' <<<"$output")" = "['impl_1']" ]
  [ "$(json 'j["runs"][0]["results"]["luts"]' <<<"$output")" = None ]
}

@test "every strategy makes a run" {
  new_project
  "$xp" -C proj create synth_Default --flow synth
  for flow in synth impl; do
    for strategy in $("$xp" strategy list --flow $flow --json | json '" ".join(s["name"] for s in j)'); do
      "$xp" -C proj create "r_${flow}_$strategy" --flow $flow --strategy "$strategy"
    done
  done
  run -0 "$xp" -C proj status
  [ "${#lines[@]}" -ge 8 ]
}
