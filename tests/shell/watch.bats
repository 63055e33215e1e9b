#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Following runs that somebody else launched.

load xp.bash

setup_file() { need_tools; }

teardown() {
  [ -z "${watch_pid-}" ] || kill "$watch_pid" 2>/dev/null || :
  end_runs
}

# Whether the file $1 has a line that holds $2.
has_line() {
  grep -q -- "$2" "$1"
}

watch_in_background() {
  "$xp" -C proj watch "$@" >watch.out 2>watch.err 7>&- 8>&- &
  watch_pid=$!
}

# The exit status of the watch that was started.
end_of_watch() {
  status=0
  wait "$watch_pid" || status=$?
  watch_pid=
}

# The events in $1 with their steps, in one line; without those of progress.
events_of() {
  "$python" -c '
import json, sys
told = [json.loads(line) for line in open(sys.argv[1])]
print(" ".join(e["event"] + (":" + e["step"] if "step" in e else "") for e in told
               if e["event"] != "progress"))' "$1"
}

@test "a launch is told event by event, and every line fits the schema" {
  new_syntheses 1
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait 7>&- 8>&-
  tool_started
  watch_in_background --jsonl
  wait_until has_line watch.out '"event":"progress"'
  release_tool
  end_of_watch
  [ "$status" = 0 ]
  [ "$(events_of watch.out)" = 'run_began step_began:synth_design step_done:synth_design run_ended' ]
  [ "$(tail -n 1 watch.out | json "j['outcome'], j['figures']['luts'] > 0, j['failure']")" = "('done', True, None)" ]
  output=$(<watch.out)
  assert_schema watch lines
}

@test "a run that fails ends the watch with 1 and says why" {
  new_syntheses 1
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait 7>&- 8>&-
  tool_started
  watch_in_background --jsonl
  wait_until has_line watch.out run_began
  release_tool fail
  end_of_watch
  [ "$status" = 1 ]
  [[ $(tail -n 1 watch.out | json "j['outcome'] + j['failure']") == 'failed'*'synth_1 failed in step synth_design'* ]]
  output=$(<watch.out)
  assert_schema watch lines
}

@test "without --jsonl it tells lines for people on standard error" {
  new_syntheses 1
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait 7>&- 8>&-
  tool_started
  watch_in_background
  wait_until has_line watch.err 'synth_1: synth_design'
  release_tool
  end_of_watch
  [ "$status" = 0 ]
  [ ! -s watch.out ]
  grep -q '^synth_1: done in ' watch.err
}

@test "with nothing at work it ends at once" {
  new_syntheses 1
  run -0 --separate-stderr "$xp" -C proj watch --jsonl
  [ -z "$output" ]
  [ "$stderr" = 'No run is at work' ]
  run -6 "$xp" -C proj watch synth_1
  assert_one_error "Run synth_1 isn't launched"
  run -6 "$xp" -C proj watch nobody
}

@test "a run that has ended is told when it is asked for by name" {
  new_syntheses 1
  "$xp" -C proj launch synth_1
  run -0 --separate-stderr "$xp" -C proj watch synth_1 --jsonl
  [ "$(json "j['event'], j['outcome']" <<<"$output")" = "('run_ended', 'done')" ]
  assert_schema watch lines
}

@test "for ever, it sees runs that are made and launched later, until Ctrl-C" {
  new_project
  hold_tool yosys
  watch_in_background --jsonl --forever
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj launch synth_1 --no-wait 7>&- 8>&-
  wait_until has_line watch.out step_began
  release_tool
  wait_until has_line watch.out run_ended
  [ "$(events_of watch.out)" = 'run_began step_began:synth_design step_done:synth_design run_ended' ]
  kill -INT "$watch_pid"
  end_of_watch
  [ "$status" = 130 ]
  [ "$(tail -n 1 watch.err)" = "Interrupted; nothing is at work." ]
}

@test "on Ctrl-C it says what goes on" {
  new_syntheses 2
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait 7>&- 8>&-
  tool_started
  watch_in_background --jsonl
  wait_until has_line watch.out step_began
  kill -INT "$watch_pid"
  end_of_watch
  [ "$status" = 130 ]
  [ "$(<watch.err)" = 'Interrupted, but synth_1 goes on. Wait with "xp wait", look with "xp status".' ]
  [ "$("$xp" -C proj status --json | json "[r['status'] for r in j['runs'] if r['name'] == 'synth_1']")" = "['running']" ]
  release_tool
}

@test "it ends quietly when nobody reads any more, though nothing happens" {
  new_syntheses 1
  mkfifo reader
  "$xp" -C proj watch --jsonl --forever >reader 2>watch.err &
  watch_pid=$!
  exec 5<reader
  exec 5<&-
  end_of_watch
  [ "$status" = 141 ]
  [ ! -s watch.err ]
}
