#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# What runs is stopped for certain, and a run is taken back.

load xp.bash

setup_file() { need_tools; }

teardown() { end_runs; }

new_synthesis() {
  new_project
  "$xp" -C proj create synth_1 --flow synth 2>/dev/null
}

@test "a run is stopped with its step, and neither failed nor lost" {
  new_project_with_runs
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  launch_fake synth_1
  run -0 --separate-stderr "$xp" -C proj kill synth_1
  [[ $stderr == 'synth_1: stopped in synth_design: '*' processes ended in '*' ms' ]]
  [ -z "$output" ]
  assert_nothing_left synth_1
  run_is synth_1 stopped
  [ "$(status_of synth_1 step)" = synth_design ]
  run -0 --separate-stderr "$xp" -C proj status synth_1
  [ "$stderr" = 'synth_1 stopped in synth_design. Go on with "xp launch synth_1", or take it back with "xp reset synth_1".' ]
  run -1 "$xp" -C proj wait synth_1
  assert_one_error 'Run synth_1 stopped in synth_design.'
}

@test "what was stopped can be launched again" {
  new_synthesis
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  launch_fake synth_1
  "$xp" -C proj kill synth_1
  rm "$tool_dir/yosys"
  run -0 "$xp" -C proj launch synth_1
  run_is synth_1 "done"
}

@test "a tool that ignores TERM is killed" {
  new_synthesis
  fake_tool yosys <<'TOOL'
trap '' TERM HUP INT
note; begun; hang
TOOL
  launch_fake synth_1
  run -0 "$xp" -C proj kill synth_1
  assert_nothing_left synth_1
  run_is synth_1 stopped
}

@test "grandchildren that left group and session, closed the lock and ignore TERM are killed" {
  new_synthesis
  fake_tool yosys <<'TOOL'
export -f note hang
setsid bash -c 'trap "" TERM HUP; exec 9>&- 1>/dev/null 2>&1; note; hang' &
setsid bash -c 'note; exec 9>&-; (trap "" TERM; note; cd /; hang) & hang' >/dev/null 2>&1 &
note
until [ "$(wc -l <"${0%/*}/pids")" = 4 ]; do :; done
begun; hang
TOOL
  sed -i "s#hang() {#hang() { set +e;#" "$tool_dir/yosys"
  launch_fake synth_1
  run -0 --separate-stderr "$xp" -C proj kill synth_1
  [[ $stderr == 'synth_1: stopped in synth_design: '*' of them killed' ]]
  [ "$(wc -l <"$tool_dir/pids")" = 4 ]
  assert_nothing_left synth_1
  run_is synth_1 stopped
}

@test "a stopped process is stopped all the same" {
  new_synthesis
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  launch_fake synth_1
  kill -STOP "$tool_pid"
  run -0 "$xp" -C proj kill synth_1
  assert_nothing_left synth_1
}

@test "no step begins behind the one that was stopped, though its tool ends well" {
  new_project_with_runs
  "$xp" -C proj launch synth_1
  # The tool takes the request as its end, and leaves with success.
  fake_tool nextpnr-ice40 <<'TOOL'
trap 'exit 0' TERM
note; begun; hang
TOOL
  launch_fake impl_1
  run -0 "$xp" -C proj kill impl_1
  assert_nothing_left impl_1
  run_is impl_1 stopped
  [ "$(status_of impl_1 step)" = place_design ]
  [ ! -e proj/runs/impl_1/.ice40_route.begin.rst ]
}

@test "with the wrapper killed, the rest is stopped" {
  new_synthesis
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  launch_fake synth_1
  local pid killed=0
  for pid in $(survivors); do
    if grep -qa ZUMWrap.sh "/proc/$pid/cmdline"; then
      kill -KILL "$pid"
      killed=$((killed + 1))
    fi
  done
  [ "$killed" -ge 1 ]
  run -0 "$xp" -C proj kill synth_1
  assert_nothing_left synth_1
}

@test "a waiting xp hears of the stop" {
  new_project_with_runs
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  "$xp" -C proj launch >xp.out 2>xp.err 8>&- &
  local waiting=$!
  tool_started
  run -0 "$xp" -C proj kill synth_1
  status=0
  wait "$waiting" || status=$?
  [ "$status" = 1 ]
  grep -F 'Run synth_1 stopped in synth_design.' xp.err
  grep -F 'impl_1: not launched, its synthesis synth_1 stopped' xp.err
  run_is impl_1 'not started'
}

@test "a run that isn't at work is told so, and nothing is touched" {
  new_project_with_runs
  "$xp" -C proj launch synth_1
  touch stamp
  run -0 --separate-stderr "$xp" -C proj kill synth_1 impl_1
  [ "$stderr" = $'synth_1: not at work (done)\nimpl_1: not at work (not started)' ]
  [ -z "$(find proj/runs -newer stamp)" ]
  run -0 --separate-stderr "$xp" -C proj kill --all
  [ "$stderr" = 'No run is at work' ]
}

@test "all runs are stopped at one word" {
  new_project
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj create synth_2 --flow synth
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  launch_fake synth_1
  launch_fake synth_2
  run -0 --separate-stderr "$xp" -C proj kill --all
  [[ $stderr == 'synth_1: stopped in '*'synth_2: stopped in '* ]]
  assert_nothing_left synth_1
  assert_nothing_left synth_2
}

@test "which runs to stop must be said" {
  new_synthesis
  run -2 "$xp" -C proj kill
  assert_one_error 'Say which runs to stop'
  run -2 "$xp" -C proj kill --all synth_1
  assert_one_error 'Say which runs to stop'
  run -6 "$xp" -C proj kill synth_9
  assert_one_error synth_9
}

@test "a run at work on another host is left alone" {
  new_synthesis
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  launch_fake synth_1
  local marker=proj/runs/synth_1/.ice40_synth.begin.rst
  cp $marker kept
  sed 's/Host="[^"]*"/Host="far.away"/' kept >$marker
  run -6 "$xp" -C proj kill synth_1
  assert_one_error "Run synth_1 isn't stopped: it is at work on far.away" 'Stop it there'
  [ ! -e proj/runs/synth_1/.stop.rst ]
  run_is synth_1 running
  cp kept $marker
}

@test "a failed run stays failed when a stop comes late" {
  new_synthesis
  fake_tool yosys <<'TOOL'
begun; exit 3
TOOL
  run -1 "$xp" -C proj launch synth_1
  touch -d '+5 seconds' proj/runs/synth_1/.stop.rst
  run_is synth_1 failed
}

@test "a reset takes a run back as if it had never been launched" {
  new_project_with_runs
  "$xp" -C proj launch
  cp -R proj/runs/synth_1 kept
  run -0 --separate-stderr "$xp" -C proj reset impl_1
  [ "$stderr" = 'impl_1: reset. Next: xp launch impl_1' ]
  run_is impl_1 'not started'
  [ "$(status_of impl_1 stale)" = False ]
  run -0 find proj/runs/impl_1 -mindepth 1 ! -name .launches.jsonl -printf '%f\n'
  [ "$output" = .run.lock ]
  diff -r kept proj/runs/synth_1
  run -0 "$xp" -C proj launch impl_1
  [ -s proj/runs/impl_1/blinky.bin ]
}

@test "a reset from a step on keeps what was made before it" {
  new_project_with_runs
  "$xp" -C proj launch
  touch -r proj/runs/impl_1/.ice40_place.end.rst stamp
  run -0 --separate-stderr "$xp" -C proj reset impl_1 --from route
  [ "$stderr" = 'impl_1: reset from route. Next: xp launch impl_1' ]
  [ -e proj/runs/impl_1/place_design.json ]
  [ -e proj/runs/impl_1/runme.log ]
  for file in blinky.asc blinky.bin route_design.metrics.json route_design.timing.rpt \
    .ice40_route.end.rst .ice40_bitstream.begin.rst; do
    [ ! -e "proj/runs/impl_1/$file" ]
  done
  run_is impl_1 stopped
  [ "$(status_of impl_1 step)" = route_design ]
  run -0 "$xp" -C proj launch impl_1
  [ ! proj/runs/impl_1/.ice40_place.end.rst -nt stamp ]
  run_is impl_1 "done"
}

@test "a reset can leave the files" {
  new_project_with_runs
  "$xp" -C proj launch synth_1
  run -0 "$xp" -C proj reset synth_1 --keep-files
  run_is synth_1 'not started'
  [ -s proj/runs/synth_1/blinky.json ]
  [ -s proj/runs/synth_1/runme.log ]
}

@test "a run at work is reset only after it was stopped" {
  new_synthesis
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  launch_fake synth_1
  run -6 "$xp" -C proj reset synth_1
  assert_one_error "Run synth_1 isn't reset: it is running" '--kill'
  run_is synth_1 running
  run -0 --separate-stderr "$xp" -C proj reset synth_1 --kill
  [[ $stderr == 'synth_1: stopped in synth_design: '*'synth_1: reset. '* ]]
  assert_nothing_left synth_1
  run_is synth_1 'not started'
}

@test "a reset reaches nothing outside of the run directory" {
  new_project_with_runs
  "$xp" -C proj launch
  mkdir outside
  echo precious >outside/file
  ln -s ../../../outside proj/runs/impl_1/linked
  ln -sf "$PWD/outside/file" proj/runs/impl_1/route_design.metrics.json
  rm proj/runs/impl_1/place_design.json
  ln -s "$PWD/outside" proj/runs/impl_1/place_design.json
  cp -R proj/runs/synth_1 kept
  run -0 "$xp" -C proj reset impl_1
  [ "$(cat outside/file)" = precious ]
  [ ! -e proj/runs/impl_1/route_design.metrics.json ]
  [ -L proj/runs/impl_1/linked ]
  diff -r kept proj/runs/synth_1
}

@test "a step that isn't there, and a run that never was launched" {
  new_project_with_runs
  run -6 "$xp" -C proj reset impl_1 --from synth
  assert_one_error 'Run impl_1 has no step "synth" to reset from. Its steps are: init, place, route, bitstream.'
  run -0 "$xp" -C proj reset impl_1
  run_is impl_1 'not started'
}
