#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# A run lives on without xp, and what xp says of it is the truth.

load xp.bash

# What a launched run has until its script begins.
queue_marker=.iCE40_Synthesis.queue.rst

setup_file() { need_tools; }

# Starts xp in the background; sets xp_pid.
xp_in_background() {
  "$xp" -C proj "$@" >xp.out 2>xp.err 7>&- 8>&- &
  xp_pid=$!
}

# The processes that have the file $1 open.
holders_of() {
  local fd
  for fd in /proc/[0-9]*/fd/*; do
    if [ "$(readlink "$fd")" = "$1" ]; then
      fd=${fd#/proc/}
      echo "${fd%%/*}"
    fi
  done 2>/dev/null | sort -u
}

@test "a killed xp doesn't hurt the run, and the next status shows it" {
  new_project_with_runs
  hold_tool yosys
  xp_in_background launch synth_1
  tool_started
  kill -KILL "$xp_pid"
  wait "$xp_pid" || :
  run_is synth_1 running
  release_tool
  run -0 "$xp" -C proj wait synth_1
  run_is synth_1 "done"
  run -0 "$xp" -C proj launch
  [[ $output == *'synth_1: up to date'* ]]
}

@test "Ctrl-C ends the waiting and not the run" {
  new_project_with_runs
  hold_tool yosys
  # Monitor mode: a background job of a shell without it ignores Ctrl-C.
  set -m
  xp_in_background launch
  set +m
  tool_started
  wait_until grep -q 'synth_1: synth_design' xp.err
  kill -INT "$xp_pid"
  status=0
  wait "$xp_pid" || status=$?
  [ "$status" = 130 ]
  grep -F 'Interrupted, but synth_1 goes on. Wait with "xp wait", look with "xp status".' xp.err
  grep -F 'Not launched: impl_1' xp.err
  run_is synth_1 running
  # What waited is as it was: no marker of it, nothing half written, and the project is free.
  run_is impl_1 'not started'
  [ -z "$(find proj/runs/impl_1 -name '.*queue*')" ]
  [ -z "$(find proj -name '.*.??????')" ]
  run -0 "$xp" -C proj set impl_1 seed=3
  release_tool
  run -0 "$xp" -C proj wait synth_1
  run_is synth_1 "done"
}

@test "Ctrl-C ends xp wait too" {
  new_project_with_runs
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait
  tool_started
  set -m
  xp_in_background wait
  set +m
  wait_until grep -q 'synth_1: synth_design' xp.err
  kill -INT "$xp_pid"
  status=0
  wait "$xp_pid" || status=$?
  [ "$status" = 130 ]
  grep -F 'Interrupted, but synth_1 goes on.' xp.err
  run_is synth_1 running
  release_tool
  run -0 "$xp" -C proj wait synth_1
}

@test "while one xp waits for its run, another may look but not change" {
  new_project_with_runs
  hold_tool yosys
  xp_in_background launch synth_1
  tool_started
  run -6 "$xp" -C proj set synth_1 abc9=true
  assert_one_error "is open in another process: process $xp_pid on"
  run -6 "$xp" -C proj launch
  assert_one_error 'is open in another process'
  run_is synth_1 running
  run -0 "$xp" -C proj log synth_1 --lines 1
  release_tool
  wait "$xp_pid"
  run_is synth_1 "done"
}

@test "a run that is at work isn't launched twice" {
  new_project_with_runs
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait
  tool_started
  cp proj/project.xml kept.xml
  cp proj/runs/synth_1/runme.sh kept.sh
  for words in 'launch synth_1' 'launch' 'launch impl_1' 'launch synth_1 --no-wait'; do
    # shellcheck disable=SC2086
    run -6 "$xp" -C proj $words
    assert_one_error "Run synth_1 isn't launched: it is running already" 'xp wait'
  done
  cmp proj/project.xml kept.xml
  cmp proj/runs/synth_1/runme.sh kept.sh
  release_tool
  run -0 "$xp" -C proj wait
}

@test "a second start of the script itself is refused by the run's lock" {
  new_project_with_runs
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait
  tool_started
  run flock -n proj/runs/synth_1/.run.lock true
  [ "$status" != 0 ]
  release_tool
  run -0 "$xp" -C proj wait
  # Its shell may be about to end still.
  run -0 flock proj/runs/synth_1/.run.lock true
}

@test "a run whose processes were all killed is lost, and can be launched again" {
  new_project_with_runs
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait
  tool_started
  # The script and its wrapper first, so that nobody is left to write a marker.
  local pids
  mapfile -t pids < <(holders_of "$project/runs/synth_1/.run.lock")
  [ "${#pids[@]}" -ge 3 ]
  kill -KILL "${pids[@]}"
  wait_until run_is synth_1 lost
  run -1 "$xp" -C proj wait synth_1
  assert_one_error 'Run synth_1 was lost in step synth_design'
  rm "$tool_dir/yosys"
  run -0 "$xp" -C proj launch synth_1
  run_is synth_1 "done"
}

@test "a tool that is killed makes its run fail" {
  new_project_with_runs
  hold_tool yosys
  xp_in_background launch
  tool_started
  kill -KILL "$tool_pid"
  status=0
  wait "$xp_pid" || status=$?
  [ "$status" = 1 ]
  grep -F 'Run synth_1 failed in step synth_design.' xp.err
  run_is synth_1 failed
}

@test "a stop file ends a run" {
  new_project_with_runs
  hold_tool yosys
  xp_in_background launch synth_1
  tool_started
  touch proj/runs/synth_1/.stop.rst
  status=0
  wait "$xp_pid" || status=$?
  [ "$status" = 1 ]
  run_is synth_1 stopped
  rm "$tool_dir/yosys"
  run -0 "$xp" -C proj launch synth_1
}

@test "a lost run is told with what speaks for it and the way back" {
  new_project_with_runs
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait
  tool_started
  local pids
  mapfile -t pids < <(holders_of "$project/runs/synth_1/.run.lock")
  kill -KILL "${pids[@]}"
  wait_until run_is synth_1 lost
  run -0 --separate-stderr "$xp" -C proj status synth_1
  [[ $stderr == 'synth_1 was lost in synth_design: no process of it is on '*'; process '*' of synth_design is gone; it last wrote '*' ago. Go on with "xp launch synth_1", or take it back with "xp reset synth_1".' ]]
  run -0 --separate-stderr "$xp" -C proj status synth_1 --json
  [ "$(json 'j["runs"][0]["evidence"]["verdict"]' <<<"$output")" = lost ]
}

@test "a run of which nobody can tell whether it lives is unknown, and taken back on request only" {
  new_project_with_runs
  "$xp" -C proj launch synth_1
  # As one looks that is at work on a host that can't be seen from here.
  rm proj/runs/synth_1/.ice40_synth.end.rst
  sed -i 's/Host="[^"]*"/Host="node7"/' proj/runs/synth_1/.launch.xml proj/runs/synth_1/.ice40_synth.begin.rst
  touch -d '2 hours ago' proj/runs/synth_1/.launch.xml proj/runs/synth_1/.ice40_synth.begin.rst proj/runs/synth_1/runme.log
  run -0 --separate-stderr "$xp" -C proj status synth_1
  [[ $output == *' unknown '* ]]
  [[ $stderr == 'synth_1 may be at work in synth_design or lost: it works on node7, which '* ]]
  run -6 "$xp" -C proj launch synth_1
  assert_one_error "Run synth_1 isn't launched: it may be at work or lost"
  run -6 "$xp" -C proj reset synth_1
  assert_one_error "Run synth_1 isn't reset: it may be at work or lost"
  run -0 "$xp" -C proj reset synth_1 --force
  run_is synth_1 'not started'
  run -0 "$xp" -C proj launch synth_1
  run_is synth_1 "done"
}

@test "a run that nobody took up doesn't stay queued" {
  new_project_with_runs
  "$xp" -C proj launch synth_1
  # As an xp leaves it that is killed right before it starts the script.
  rm proj/runs/synth_1/.ice40_synth.*.rst
  touch "proj/runs/synth_1/$queue_marker"
  run_is synth_1 queued
  touch -d '2 minutes ago' "proj/runs/synth_1/$queue_marker"
  run_is synth_1 stopped
  run -0 "$xp" -C proj launch synth_1
  run_is synth_1 "done"
  [ ! -e "proj/runs/synth_1/$queue_marker" ]
}

# Launches the synthesis under a tracer that kills xp at call number $2 of the system
# call $1; fails when xp came to its end.
killed_at() {
  run strace -qq -o trace -e "trace=$1" -e "inject=$1:signal=KILL:when=$2" \
    "$xp" -C proj launch synth_1 --no-wait
  [ "$status" = 137 ]
}

@test "an xp killed while it launches leaves a project that goes on" {
  strace -qq -o trace true 2>/dev/null || skip 'no strace here'
  new_project
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj launch
  local call number kills=0
  for call in unlinkat rename renameat2; do
    number=1
    # Each launch has something to do.
    while "$xp" -C proj set synth_1 "dffe_min_ce_use=$((++kills))" && killed_at $call $number; do
      number=$((number + 1))
      # Whoever was about to start the script is gone: nobody takes up its marker.
      touch -c -d '2 minutes ago' "proj/runs/synth_1/$queue_marker"
      xmllint --noout --nonet proj/project.xml
      run "$xp" -C proj wait
      [ "$status" -le 1 ]
      run -0 "$xp" -C proj status
      [[ $output != *running* && $output != *queued* ]]
    done
    "$xp" -C proj wait
    run_is synth_1 "done"
  done
  [ "$kills" -ge 8 ]
}
