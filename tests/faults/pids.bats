#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The ids of a run's processes are others' by now: no stranger is signalled, or taken for
# the run.

load faults.bash

# Runs the function $1 where process ids are private and can be chosen.
with_own_pids() {
  unshare -rmpf --mount-proc sh -c 'echo 100 >/proc/sys/kernel/ns_last_pid' 2>/dev/null ||
    skip 'SKIPPED: process ids cannot be chosen here'
  export xp project tool_dir run_dir
  unshare -rmpf --mount-proc bash -c "set -eu; $(declare -f); $1"
}

# Starts a process with the id $1 that is none of the run's.
stranger() {
  echo $(($1 - 1)) >/proc/sys/kernel/ns_last_pid
  env -u XPERIMENT_LAUNCH sleep 1000 8>&- &
  [ "$!" = "$1" ] || { echo "wanted $1, got $!"; return 1; }
}

strangers_live() {
  local pid
  for pid in "$@"; do
    [ "$(tr '\0' ' ' <"/proc/$pid/cmdline")" = 'sleep 1000 ' ] || { echo "$pid is gone"; return 1; }
  done
}

# The ids of all processes of the run, the first in the list being that of its step.
pids_of_run() {
  sed -n 's/.* Pid="\([0-9]*\)".*/\1/p' $run_dir/.ice40_synth.begin.rst $run_dir/.launch.xml
  survivors
}

recur() {
  local round pid count=0
  for round in first second third fourth fifth; do
    launch_fake synth_1
    local pids=()
    mapfile -t pids < <(pids_of_run | sort -un)
    # shellcheck disable=SC2046
    kill -KILL $(survivors)
    soon nothing_survives
    local taken=()
    for pid in "${pids[@]}"; do
      [ -e "/proc/$pid" ] || { stranger "$pid" && taken+=("$pid"); }
    done
    count=$((count + ${#taken[@]}))
    [ "$(status_word synth_1)" = lost ] || { echo "the $round time"; return 1; }
    "$xp" -C proj kill synth_1
    strangers_live "${taken[@]}"
    "$xp" -C proj reset synth_1 --kill
    strangers_live "${taken[@]}"
    [ "$(status_word synth_1)" = 'not started' ]
    kill -KILL "${taken[@]}"
    wait "${taken[@]}" 2>/dev/null || :
  done
  echo "$count strangers, none signalled"
  [ "$count" -ge 20 ]
}

@test "strangers with the ids of a lost run's processes are neither signalled nor taken for it" {
  new_quick_project
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  with_own_pids recur
}

recur_launcher() {
  "$xp" -C proj launch -j 1 >xp.out 2>&1 8>&- &
  local launcher=$!
  tool_started
  soon has_status synth_2 queued
  kill -KILL "$launcher"
  wait "$launcher" 2>/dev/null || :
  stranger "$launcher"
  [ "$(status_word synth_2)" = 'not started' ]
  [ "$(status_word synth_1)" = running ]
  "$xp" -C proj kill --all
  strangers_live "$launcher"
  nothing_lives
}

has_status() { [ "$(status_word "$1")" = "$2" ]; }

@test "a stranger with the id of a killed xp keeps no run queued" {
  new_quick_project
  "$xp" -C proj create synth_2 --flow synth 2>/dev/null
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  with_own_pids recur_launcher
}
