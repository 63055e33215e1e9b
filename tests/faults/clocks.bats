#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Files of a run whose times are an hour off, as those of a host with another clock.

load faults.bash

# Puts everything in the run directory $1 an hour, such as '+1 hour', off.
shift_clock() {
  find $run_dir -mindepth 1 -exec touch -h -d "$1" {} +
  touch -d "$1" $run_dir
}

is_stale() {
  "$xp" -C proj status synth_1 --json | grep -q '"stale": true'
}

@test "a done run is done and not stale by a clock an hour ahead, or behind" {
  new_quick_project
  "$xp" -C proj launch synth_1
  local by
  for by in '+1 hour' '-1 hour'; do
    shift_clock "$by"
    [ "$(status_word synth_1)" = 'done' ]
    ! is_stale
    run -0 "$xp" -C proj launch synth_1
    [[ $output == *'synth_1: up to date'* ]]
  done
}

@test "a changed source is never missed, whatever its time says" {
  new_quick_project
  "$xp" -C proj launch synth_1
  cp blinky.v kept.v
  local when
  for when in '+1 hour' '-1 hour' '1 year ago'; do
    echo '// new' >>blinky.v
    touch -d "$when" blinky.v
    is_stale
    cp kept.v blinky.v
    touch -d "$when" blinky.v
    ! is_stale
  done
}

@test "a run at work is running and can be stopped by a clock an hour ahead, or behind" {
  new_quick_project
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  local by
  for by in '+1 hour' '-1 hour'; do
    launch_fake synth_1
    shift_clock "$by"
    [ "$(status_word synth_1)" = running ]
    "$xp" -C proj kill synth_1
    nothing_survives
    [ "$(status_word synth_1)" = stopped ]
    shift_clock "$by"
    [[ $(status_word synth_1) != 'done' ]]
    "$xp" -C proj reset synth_1
  done
}

@test "a run whose processes were killed is lost by a clock an hour ahead, or behind" {
  new_quick_project
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  local by
  for by in '+1 hour' '-1 hour'; do
    launch_fake synth_1
    # shellcheck disable=SC2046
    kill -KILL $(survivors)
    soon nothing_survives
    shift_clock "$by"
    [ "$(status_word synth_1)" = lost ]
    "$xp" -C proj reset synth_1
  done
}

@test "what a killed xp left doesn't stay queued by a clock an hour ahead, or behind" {
  new_quick_project
  "$xp" -C proj launch synth_1
  local by
  for by in '+1 hour' '-1 hour'; do
    rm -f $run_dir/.ice40_synth.*.rst
    cp $run_dir/.launch.xml $run_dir/.iCE40_Synthesis.queue.rst
    shift_clock "$by"
    [ "$(status_word synth_1)" = stopped ]
    "$xp" -C proj launch synth_1
    is_whole $run_dir
  done
}
