#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# kill -9 of one process of a run, at one stage of it.

load faults.bash

setup_file() {
  local tool
  for tool in yosys nextpnr-ice40 icepack icetime; do
    command -v $tool >/dev/null || skip "$tool is missing"
  done
}

hanging_tool() {
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
}

# The process that runs the script $1 of the run and was started first.
first_of() {
  local pid
  for pid in $(survivors | sort -n); do
    if tr '\0' ' ' <"/proc/$pid/cmdline" 2>/dev/null | grep -q -- "$1"; then
      echo "$pid"
      return
    fi
  done
}

@test "a wrapper killed during the tool: the tool ends too, and the step failed" {
  new_quick_project
  hanging_tool
  launch_fake synth_1
  kill -KILL "$(first_of ZUMWrap.sh)"
  soon nothing_survives
  [ "$(status_word synth_1)" = failed ]
  run -0 cat $run_dir/.ice40_synth.error.rst
  [[ $output == 'its wrapper was killed'* ]]
  rm "$tool_dir/yosys"
  quick_tools
  "$xp" -C proj launch synth_1
  is_whole $run_dir
  assert_canaries
}

@test "a run script killed during the tool: the step comes to its end, and is told as it is" {
  new_quick_project
  cat >"$tool_dir/before" <<'TOOL'
: >ready
while [ -e "$here/hold" ]; do sleep 0.02; done
TOOL
  touch "$tool_dir/hold"
  "$xp" -C proj launch synth_1 --no-wait
  soon test -e $run_dir/ready
  read_launch_id synth_1
  kill -KILL "$(first_of runme.sh)"
  [ "$(status_word synth_1)" = running ]
  rm "$tool_dir/hold"
  soon nothing_survives
  [ "$(status_word synth_1)" = 'done' ]
  is_whole $run_dir
}

@test "a run script killed between two steps: what ended stays done, and the rest goes on" {
  new_project_with_runs
  make_canaries
  "$xp" -C proj launch synth_1
  hold_tool nextpnr-ice40
  "$xp" -C proj launch impl_1 --no-wait 7>&- 8>&-
  tool_started
  read_launch_id impl_1
  kill -KILL "$(first_of runme.sh)"
  [ "$(status_word impl_1)" = running ]
  release_tool
  soon nothing_survives
  [ "$(status_word impl_1)" = stopped ]
  [ -e proj/runs/impl_1/.ice40_place.end.rst ]
  [ ! -e proj/runs/impl_1/.ice40_route.begin.rst ]
  rm "$tool_dir/nextpnr-ice40"
  "$xp" -C proj launch impl_1
  [ "$(status_word impl_1)" = 'done' ]
  assert_canaries
}

@test "a run script killed while it waits for its lock: no step begins, and the run isn't at work" {
  new_quick_project
  "$xp" -C proj launch synth_1
  "$xp" -C proj reset synth_1
  exec 5>>$run_dir/.run.lock
  flock 5
  "$xp" -C proj launch synth_1 --no-wait 5>&-
  read_launch_id synth_1
  soon something_waits
  # shellcheck disable=SC2046
  kill -KILL $(survivors)
  exec 5>&-
  soon nothing_survives
  [ "$(status_word synth_1)" = stopped ]
  [ ! -e $run_dir/.ice40_synth.begin.rst ]
  "$xp" -C proj launch synth_1
  is_whole $run_dir
}

something_waits() { [ -n "$(first_of flock)" ]; }

# xp kill, killed at one system call after another, leaves work for the next one.
@test "xp killed at any point of a kill: the next kill ends what is left" {
  may_trace
  new_quick_project
  hanging_tool
  local number kills=0
  for ((number = 1; ; ++number)); do
    launch_fake synth_1 2>/dev/null
    status=0
    "$kill_at" "$number" "$xp" -C proj kill synth_1 >xp.out 2>xp.err 8>&- || status=$?
    [ "$status" = 137 ] || break
    kills=$((kills + 1))
    "$xp" -C proj kill synth_1 8>&- 2>/dev/null
    nothing_survives
    [ "$(status_word synth_1)" = stopped ]
  done
  nothing_survives
  echo "# kill: $kills kills" >&3
  [ "$kills" -ge 4 ]
  assert_canaries
}

@test "xp killed at any point of a reset --kill: nothing is left, or the next one takes it" {
  may_trace
  new_quick_project
  hanging_tool
  local number kills=0
  for ((number = 1; ; number += 4)); do
    launch_fake synth_1 2>/dev/null
    status=0
    "$kill_at" "$number" "$xp" -C proj reset synth_1 --kill >xp.out 2>xp.err 8>&- || status=$?
    [ "$status" = 137 ] || break
    kills=$((kills + 1))
    [ "$(status_word synth_1)" != 'done' ]
    "$xp" -C proj reset synth_1 --kill 8>&- 2>/dev/null
    nothing_survives
    [ "$(status_word synth_1)" = 'not started' ]
  done
  nothing_survives
  echo "# reset --kill: $kills kills" >&3
  [ "$kills" -ge 8 ]
  assert_canaries
}
