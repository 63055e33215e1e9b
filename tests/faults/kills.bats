#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# kill -9 at one system call after another, of all that changes something.
# SWEEP_STEP=1 takes each of them, which takes minutes.

load faults.bash

# Runs "$@" of xp again and again, killed at the first, the second, ... call of the kind
# $victim, until it comes to its end; after each kill holds what `survives` asks for.
# Before each try `prepare` makes the project ready.
sweep() {
  local number=0 step=1 tries=0
  may_trace
  local kinds=()
  [ -z "$victim" ] || kinds=("$victim")
  [ -z "$victim" ] || step=4
  step=${SWEEP_STEP:-$step}
  for ((number = 1; ; number += step)); do
    prepare
    status=0
    "$kill_at" "${kinds[@]}" "$number" "$xp" -C proj "$@" >xp.out 2>xp.err 8>&- || status=$?
    [ "$status" = 137 ] || break
    tries=$((tries + 1))
    survives || {
      echo "behind kill $number: $(tail -n 1 xp.err)"
      ls -la "$run_dir"
      return 1
    }
  done
  assert_canaries
  # What the killed ones left half made goes by a reset.
  soon nothing_lives
  start_anew
  [ "$(ls -A -I .launches.jsonl $run_dir)" = .run.lock ] || { ls -A $run_dir; return 1; }
  echo "# ${victim:-xp} $*: $tries kills" >&3
  # A sweep that comes nowhere shows nothing.
  [ $((tries * step)) -ge "$least" ]
}

# The status is one that can be true when nothing lives any more, and "done" only of what
# is whole.
status_is_true() {
  local word
  soon nothing_lives || return 1
  word=$(status_word synth_1)
  case $word in
    'done') is_whole "$run_dir" ;;
    'not started' | stopped | lost | failed) true ;;
    *) echo "says $word"; return 1 ;;
  esac
}

# A launch brings it to its end, whatever it finds.
goes_on() {
  status_is_true || return 1
  xmllint --noout --nonet proj/project.xml || return 1
  "$xp" -C proj launch synth_1 >next.out 2>next.err || { cat next.err; return 1; }
  [ "$(status_word synth_1)" = 'done' ] && is_whole "$run_dir"
}

start_anew() { "$xp" -C proj reset synth_1 2>/dev/null; }

@test "xp killed at any point of a launch: the status is true, and the next launch goes on" {
  new_quick_project
  prepare() { start_anew; }
  survives() { goes_on; }
  victim='' least=40 sweep launch synth_1 --no-wait
}

@test "xp killed at any point of two launches in a row: both are true, and the next launches go on" {
  new_quick_project
  "$xp" -C proj create synth_2 --flow synth 2>/dev/null
  prepare() {
    "$xp" -C proj reset synth_2 2>/dev/null
    start_anew
  }
  second_rests() { case $(status_word synth_2) in running | queued | unknown) false ;; esac }
  survives() {
    soon second_rests || return 1
    goes_on || return 1
    "$xp" -C proj launch synth_2 >next.out 2>next.err || { cat next.err; return 1; }
    [ "$(status_word synth_2)" = 'done' ]
  }
  SWEEP_STEP=${SWEEP_STEP:-3} victim='' least=60 sweep launch synth_2 synth_1 --no-wait
  [ ! -e proj/.xperiment/launching ]
}

@test "xp killed at any point of a reset: the status is true, and the next launch goes on" {
  new_quick_project
  prepare() { "$xp" -C proj launch synth_1 >/dev/null 2>&1; }
  survives() { goes_on; }
  victim='' least=25 sweep reset synth_1
}

@test "any process of a launch killed at any point: the others end, and the next launch goes on" {
  new_quick_project
  prepare() { start_anew; }
  survives() { goes_on; }
  victim=--each least=40 sweep launch synth_1 --no-wait
}

@test "all processes of a launch killed at any point: nothing is done that isn't whole" {
  new_quick_project
  prepare() { start_anew; }
  survives() { goes_on; }
  victim=--all least=40 sweep launch synth_1 --no-wait
}
