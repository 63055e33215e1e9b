#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Designs that the tools refuse: one message with the step, the log and the cause, the
# tool's own words last.

load xp.bash

setup_file() { need_tools; }

@test "Verilog with a syntax error" {
  echo 'module blinky (input clk; endmodule' >blinky.v
  new_project_with_runs
  run -1 "$xp" -C proj launch
  assert_one_error 'Run synth_1 failed in step synth_design.' 'xp launch synth_1' \
    "log: $project/runs/synth_1/runme.log" "$BATS_TEST_TMPDIR/blinky.v:1: ERROR: syntax error"
  [[ $output == *'impl_1: not launched, its synthesis synth_1 failed'* ]]
  [ "$(status_of synth_1 status)" = failed ]
  [ "$(status_of impl_1 status)" = 'not started' ]
}

@test "a corrected design is launched again and succeeds" {
  cp -p blinky.v good.v
  echo 'module blinky (input clk; endmodule' >blinky.v
  new_project_with_runs
  run -1 "$xp" -C proj launch synth_1
  cp good.v blinky.v
  run -0 "$xp" -C proj launch
  [ "$(status_of impl_1 status)" = "done" ]
}

@test "a top module that isn't there" {
  "$xp" new proj --top nosuch --source blinky.v
  "$xp" -C proj create synth_1 --flow synth
  run -1 "$xp" -C proj launch
  assert_one_error 'Run synth_1 failed in step synth_design.' nosuch
}

@test "constraints naming a pin that doesn't exist" {
  sed -i 's/J3/ZZ99/' blinky.pcf
  new_project_with_runs
  run -1 "$xp" -C proj launch
  assert_one_error 'Run impl_1 failed in step init_design.' "$BATS_TEST_TMPDIR/blinky.pcf:2" ZZ99
  # The synthesis before it stands.
  [ "$(status_of synth_1 status)" = "done" ]
  [ "$(status_of impl_1 status)" = failed ]
  run -1 "$xp" -C proj wait impl_1
  assert_one_error ZZ99
}

@test "constraints that leave out a port" {
  sed -i '/clk/d' blinky.pcf
  new_project_with_runs
  run -1 "$xp" -C proj launch
  assert_one_error 'Run impl_1 failed in step init_design.' clk
}

@test "a device that was written into the project by hand" {
  new_project_with_runs
  sed -i 's/Device="hx8k"/Device="hx9k"/' proj/project.xml
  run -1 "$xp" -C proj launch
  assert_one_error 'failed in step synth_design' hx9k hx8k
}

@test "a design that is optimised away" {
  echo 'module blinky (input clk, output led); assign led = 1; endmodule' >blinky.v
  new_project_with_runs
  run -1 "$xp" -C proj launch synth_1
  assert_one_error 'optimised away'
}

@test "a source that went away is told before anything is touched" {
  new_project_with_runs
  "$xp" -C proj launch synth_1
  "$xp" -C proj set synth_1 abc9=true
  rm blinky.v
  run -6 "$xp" -C proj launch synth_1
  assert_one_error "Run synth_1 isn't launched: its source $BATS_TEST_TMPDIR/blinky.v doesn't exist"
  [ "$(status_of synth_1 status)" = "done" ]
}
