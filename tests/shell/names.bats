#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
# Every mistyped name is met with the one that was meant.

load xp.bash

# The test fails unless "$@" behind the first two ends with status $1 and suggests $2.
meets() {
  local status_wanted=$1 meant=$2
  shift 2
  run "-$status_wanted" "$xp" "$@"
  assert_one_error "Did you mean '$meant'?"
}

@test "verbs and those behind others" {
  meets 2 launch lanch
  meets 2 status help stauts
  meets 2 compare strategy comapre
  meets 2 generate report genrate
}

@test "long options" {
  meets 2 --json status --jsn
  meets 2 --no-wait launch --nowait
  meets 2 --quiet --quite status
  meets 2 --strategy create r --flow synth --stratgy=Default
}

@test "runs, families and sweeps, whatever the verb" {
  new_project_with_runs
  "$xp" -C proj sweep night --seeds 1-2 -q >/dev/null
  cd proj
  local verb
  for verb in launch plan status log show why kill reset ls best compare wait apply; do
    meets 6 impl_1 "$verb" impl_l
  done
  meets 6 impl_1 set impl_l seed=7
  meets 6 synth_1 create impl_9 --flow impl --synth snyth_1
  meets 6 night_Default launch night_Defualt
  meets 6 impl_1 report list impl_l
}

@test "flows, steps, strategies and report strategies" {
  new_project_with_runs
  cd proj
  meets 2 synth create r --flow snyth
  meets 6 place create r --flow impl --to plcae
  meets 6 route set impl_1 --to ruote
  meets 6 place reset impl_1 --from plcae
  meets 6 Performance create r --flow impl --strategy Perfomance
  meets 6 Performance apply impl_1 Perfomance
  meets 6 Performance sweep s --strategies Perfomance
  meets 6 Performance strategy show Perfomance
  meets 6 'Tarnel Implementation Default Reports' create r --flow impl --reports 'Tarnel Implementation Default Report'
}

@test "options and their values" {
  new_project_with_runs
  cd proj
  meets 6 seed set impl_1 sede=7
  meets 6 place_design.seed set impl_1 place_design.sede=7
  meets 6 router2 set impl_1 router=roter2
  meets 6 router2 strategy create Mine --flow impl --set route_design.router=roter2
}

@test "reports, their steps, commands and options" {
  new_project_with_runs
  cd proj
  meets 6 report_route_status report open impl_1 report_route_staus
  meets 6 report_timing report add impl_1 route report_timng
  meets 6 route_design report add impl_1 route_desing report_timing
  meets 6 significant_digits report set impl_1 report_timing_summary significant_digit=3
}

@test "goals, metrics and devices" {
  new_project_with_runs
  meets 2 fmax -C proj compare --goal fmx
  meets 6 up5k new other --top blinky --source blinky.v --device up5
}

@test "sort keys, statuses and shells" {
  new_project_with_runs
  meets 2 fmax -C proj ls --sort fmx
  meets 2 failed -C proj ls --status faild
  meets 2 bash completion bsah
}

@test "what is like nothing is met with what there is" {
  new_project_with_runs
  run -6 "$xp" -C proj launch zzzzzz
  assert_one_error 'The project has: synth_1, impl_1.'
  run -6 "$xp" -C proj set impl_1 --to zzzzzz
  assert_one_error 'It has: init, place, route, bitstream.'
}
