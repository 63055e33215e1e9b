#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# xp explain: every state of a run is answered with what to do next.

load xp.bash

setup_file() { need_tools; }
teardown() { end_runs; }

explained() {
  "$xp" -C proj explain "$1" --json | json "$2"
}

# Every answer keeps the schema, tells the verdict $2 of run $1, and says what to do next.
assert_verdict() {
  run -0 "$xp" -C proj explain "$1" --json
  assert_schema explain
  [ "$(json "j['verdict']" <<<"$output")" = "$2" ]
  run -0 "$xp" -C proj explain "$1"
  [[ $output == *"next: "* ]]
}

@test "a run that was never launched" {
  new_project_with_runs
  assert_verdict impl_1 'not started'
  [[ $output == *'Its synthesis synth_1 is not started'* ]]
  [[ $output == *'next: xp launch impl_1'* ]]
}

@test "a run that failed, with its source line and the log around the error" {
  sed -i 's/led <= /led <= ;/' blinky.v
  new_project_with_runs
  run -1 "$xp" -C proj launch synth_1
  assert_verdict synth_1 failed
  [[ $output == *"synth_1 failed in synth_design: "* ]]
  [[ $output == *"where: $BATS_TEST_TMPDIR/blinky.v:"* ]]
  [[ $output == *'| '*'led <= ;'* ]]
  [[ $output == *'xp launch synth_1'* ]]
  [[ $output =~ '  > '+' '*[0-9]+' | '[^$'\n']*'ERROR: syntax error' ]] || [[ $output == *'>'*'ERROR: syntax error'* ]]
  [ "$(explained synth_1 "j['failure']['kind']")" = syntax ]
  [[ $(explained synth_1 "j['source']['text']") == *'led <= ;'* ]]
  # The line of the log is the one that is quoted.
  line=$(explained synth_1 "j['failure']['log_line']")
  [[ $(sed -n "${line}p" proj/runs/synth_1/runme.log) == *'ERROR: syntax error'* ]]
}

@test "a failure that nobody knows offers to pack it" {
  new_project_with_runs
  fake_tool yosys <<'TOOL'
echo 'ERROR: the moon is full'; exit 3
TOOL
  run -1 "$xp" -C proj launch synth_1
  assert_verdict synth_1 failed
  [[ $output == *'yosys gave up, with status 3'* ]]
  [[ $output == *'xp bug synth_1'* ]]
  [[ $output == *'| ERROR: the moon is full'* ]]
}

@test "a run at work, and one that was stopped" {
  new_project_with_runs
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait 8>&- 2>/dev/null
  tool_started
  assert_verdict synth_1 'at work'
  [[ $output == *'xp wait synth_1'* ]]
  "$xp" -C proj kill synth_1 2>/dev/null
  assert_verdict synth_1 stopped
  [[ $output == *'xp launch synth_1'* ]]
}

@test "a run whose router comes no nearer to its end is named, and so by doctor" {
  new_project_with_runs
  "$xp" -C proj launch synth_1 2>/dev/null
  "$xp" -C proj set impl_1 tmg_ripup=true 2>/dev/null
  hold_tool nextpnr-ice40
  "$xp" -C proj launch impl_1 --no-wait 8>&- 2>/dev/null
  tool_started
  assert_verdict impl_1 'at work'
  [[ $output != *'may never end'* ]]
  {
    echo 'Info: Running router2...'
    for ((i = 1; i <= 120; ++i)); do
      echo "Info:     iter=$i wires=310 overused=0 overuse=0 tmgfail=3 archfail=NA"
    done
  } >>proj/runs/impl_1/runme.log
  assert_verdict impl_1 'at work'
  [[ $output == *'may never end: of 120 iterations of the router the last 119 came no nearer to the end; 3 conflicts were the fewest'* ]]
  [[ $output == *'next: xp kill impl_1, then without routing again for timing: xp set impl_1 tmg_ripup=false'* ]]
  run -0 --separate-stderr "$xp" -C proj doctor --json
  assert_schema doctor
  [ "$(json "[c['name'] + ' ' + c['health'] for c in j['checks'] if c['area'] == 'runs']" <<<"$output")" = "['impl_1 warn']" ]
}

@test "a line of 50 MB in a log is explained at once, and cut" {
  new_project_with_runs
  fake_tool yosys <<'TOOL'
head -c 50000000 /dev/zero | tr '\0' x; echo; echo 'ERROR: the moon is full'; exit 3
TOOL
  run -1 "$xp" -C proj launch synth_1
  [ "$(stat -c %s proj/runs/synth_1/runme.log)" -gt 50000000 ]
  assert_verdict synth_1 failed
  [[ $output == *'| ERROR: the moon is full'* && ${#output} -lt 20000 ]]
}

@test "a run that was lost" {
  new_project_with_runs
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait 8>&- 2>/dev/null
  tool_started
  read_launch synth_1
  survivors | xargs kill -KILL
  wait_until run_is synth_1 lost
  assert_verdict synth_1 lost
  [[ $output == *'xp launch synth_1'* ]]
}

@test "a run that is done and fine, and then stale" {
  new_project_with_runs
  "$xp" -C proj launch 2>/dev/null
  assert_verdict impl_1 fine
  [[ $output == *'meets its goal: clock clk reaches '* && $output == *'bitstream is'* ]]
  "$xp" -C proj set impl_1 seed=7 2>/dev/null
  assert_verdict impl_1 stale
  [[ $output == *'option seed: 1 at the launch, 7 now'* ]]
  [[ $output == *'xp launch impl_1'* ]]
}

@test "a run that misses its goal, with the worst of its slowest path" {
  new_project --freq 900
  "$xp" -C proj create synth_1 --flow synth 2>/dev/null
  "$xp" -C proj create impl_1 --flow impl 2>/dev/null
  "$xp" -C proj launch 2>/dev/null || [ $? = 3 ]
  assert_verdict impl_1 'goal missed'
  # The clock is called what the design calls it.
  [[ $output == *'Clock clk reaches '*' MHz of the 900.00 MHz asked for'* ]]
  [[ $output == *'path: '*'routing '* && $output == *'worst: '* ]]
  [ "$(explained impl_1 "j['path']['worst_ns'] > 0 and j['path']['goal_ns'] < j['path']['ns']")" = True ]
}

@test "a goal for a net that isn't in the design is told" {
  echo 'set_frequency nosuch 40' >>blinky.pcf
  new_project_with_runs
  "$xp" -C proj launch 2>/dev/null
  assert_verdict impl_1 fine
  [[ $output == *'ask for a frequency of nosuch'*"$BATS_TEST_TMPDIR/blinky.pcf"* ]]
}

@test "a run that isn't there is refused" {
  new_project_with_runs
  run -6 "$xp" -C proj explain impl_9
  assert_one_error impl_9
}
