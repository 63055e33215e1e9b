#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# A run directory in which links lead outside: whatever xp and a run do there, nothing
# outside is touched.

load faults.bash

# The names that xp, a run's scripts and its steps write in the run directory.
own_names='runme.sh rundef.js runme.bat htr.txt ZUMWrap.sh ZUMWrap.js reports.tcl runme.log
  blinky.tds .launch.xml .launch .run.lock .iCE40_Synthesis.queue.rst .stop.rst job.id
  .ice40_synth.begin.rst .ice40_synth.begin.new .ice40_synth.end.rst .ice40_synth.error.rst
  .ice40_synth.final.new blinky.json synth_design.stat.json synth_design.stat.json.before
  synth_design.metrics.json blinky_utilization_synth.rpt blinky_utilization_synth.json'

# Makes each of own_names a link to the canary of that name; where there is none the link
# leads nowhere, and a file there would be new.
plant_links() {
  local name
  mkdir -p $run_dir
  for name in $own_names; do
    ln -sfn "$PWD/outside/$name" "$run_dir/$name"
  done
}

@test "a launch into a directory of links touches nothing that they lead to" {
  new_quick_project
  "$xp" -C proj launch synth_1
  "$xp" -C proj reset synth_1
  plant_links
  "$xp" -C proj launch synth_1
  assert_canaries
  run_is synth_1 'done'
  is_whole $run_dir
}

@test "a launch into a directory of links that lead nowhere makes nothing where they lead" {
  new_quick_project
  rm -r outside
  mkdir outside
  touch -d '3 hours ago' outside
  canaries >canaries.before
  "$xp" -C proj launch synth_1
  "$xp" -C proj reset synth_1
  plant_links
  "$xp" -C proj launch synth_1
  assert_canaries
  is_whole $run_dir
}

@test "a reset of a directory of links touches nothing that they lead to" {
  new_quick_project
  "$xp" -C proj launch synth_1
  plant_links
  run "$xp" -C proj reset synth_1
  echo "$output"
  assert_canaries
  run_is synth_1 'not started'
}

@test "a kill in a directory of links touches nothing that they lead to" {
  new_quick_project
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  launch_fake synth_1
  ln -sfn "$PWD/outside/.stop.rst" $run_dir/.stop.rst
  ln -sfn "$PWD/outside/job.id" $run_dir/job.id
  ln -sfn "$PWD/outside/runme.log" $run_dir/runme.log
  "$xp" -C proj kill synth_1
  assert_canaries
  assert_nothing_left synth_1
}

@test "a run directory that is a link itself is neither emptied nor written to" {
  new_quick_project
  "$xp" -C proj launch synth_1
  rm -r $run_dir outside/.ice40_synth.end.rst
  canaries >canaries.before
  ln -s "$PWD/outside" $run_dir
  for verb in reset launch kill; do
    run -6 "$xp" -C proj $verb synth_1
    assert_one_error "Run synth_1 isn't" "its directory $project/runs/synth_1 is a link"
    assert_canaries
  done
  "$xp" -C proj status
  assert_canaries
}

@test "the folder of all runs may be a link: runs are launched, taken back and stopped there" {
  new_quick_project
  mkdir big_disk
  ln -s "$PWD/big_disk" proj/runs
  "$xp" -C proj launch synth_1
  is_whole big_disk/synth_1
  "$xp" -C proj reset synth_1
  [ ! -e big_disk/synth_1/blinky.json ]
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  launch_fake synth_1
  "$xp" -C proj kill synth_1
  nothing_survives
  [ "$(status_word synth_1)" = stopped ]
}

@test "a pipe with the name of the log, the lock or the lease holds no run and no xp" {
  new_quick_project
  local name
  for name in runme.log .run.lock .launch.xml .iCE40_Synthesis.queue.rst .stop.rst; do
    mkdir -p $run_dir
    rm -f "$run_dir/$name"
    mkfifo "$run_dir/$name"
    "$xp" -C proj status
    "$xp" -C proj launch synth_1
    is_whole $run_dir
    "$xp" -C proj reset synth_1
  done
}
