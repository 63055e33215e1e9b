#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Many runs at once.

load xp.bash

setup_file() { need_tools; }

teardown() { end_runs; }

@test "as many runs as asked for are at work, and the rest is queued" {
  new_syntheses 3
  gated_tool
  jobs_in_background -j 2
  tool_started
  tool_started
  statuses_are 'running running queued'
  touch "$tool_dir/go.2"
  tool_started
  wait_until statuses_are 'running done running'
  touch "$tool_dir/go.1" "$tool_dir/go.3"
  end_of_xp
  [ "$status" = 0 ]
  statuses_are 'done done done'
  [ "$(wc -l <"$tool_dir/pids")" = 3 ]
}

@test "one job at a time keeps the order" {
  new_syntheses 2
  run -0 --separate-stderr "$xp" -C proj launch -j 1
  [[ $stderr == 'synth_1: synth_design'*'synth_1: done'*'synth_2: synth_design'*'synth_2: done'* ]]
}

@test "an implementation waits for its synthesis and no other" {
  new_syntheses 2
  "$xp" -C proj create impl_1 --flow impl --synth synth_1
  "$xp" -C proj create impl_2 --flow impl --synth synth_2
  gated_tool
  jobs_in_background -j 4
  tool_started
  tool_started
  statuses_are 'running running queued queued'
  touch "$tool_dir/go.2"
  wait_until statuses_are 'running done queued done'
  touch "$tool_dir/go.1"
  end_of_xp
  [ "$status" = 0 ]
  statuses_are 'done done done done'
}

@test "a failed synthesis cancels its own implementations only" {
  new_syntheses 2
  "$xp" -C proj create impl_1 --flow impl --synth synth_1
  "$xp" -C proj create impl_2 --flow impl --synth synth_2
  gated_tool
  echo fail >"$tool_dir/go.1"
  touch "$tool_dir/go.2"
  run -1 --separate-stderr "$xp" -C proj launch -j 2
  [[ $stderr == *'impl_1: not launched, its synthesis synth_1 failed'* ]]
  [[ $stderr != *'impl_2: not launched'* ]]
  statuses_are 'failed done not started done'
}

@test "Ctrl-C leaves what runs and takes back what waits" {
  new_syntheses 3
  gated_tool
  set -m
  jobs_in_background -j 1
  set +m
  tool_started
  wait_until statuses_are 'running queued queued'
  kill -INT "$xp_pid"
  end_of_xp
  [ "$status" = 130 ]
  grep -F 'Interrupted, but synth_1 goes on.' xp.err
  grep -F 'Not launched: synth_2, synth_3' xp.err
  statuses_are 'running not started not started'
  [ -z "$(find proj/runs/synth_2 proj/runs/synth_3 -name '*.queue.rst')" ]
  touch "$tool_dir/go.1"
  "$xp" -C proj wait synth_1
}

@test "what a killed xp let wait isn't queued any more, and what ran goes on" {
  new_syntheses 2
  gated_tool
  jobs_in_background -j 1
  tool_started
  wait_until statuses_are 'running queued'
  kill -KILL "$xp_pid"
  wait "$xp_pid" || :
  statuses_are 'running not started'
  touch "$tool_dir/go.1" "$tool_dir/go.2"
  "$xp" -C proj wait synth_1
  run -0 "$xp" -C proj launch
  statuses_are 'done done'
}

@test "a run that waits can be stopped, and the others go on" {
  new_syntheses 3
  gated_tool
  jobs_in_background -j 1
  tool_started
  wait_until statuses_are 'running queued queued'
  run -0 --separate-stderr "$xp" -C proj kill synth_2
  [ "$stderr" = 'synth_2: taken back before it began' ]
  touch "$tool_dir/go.1" "$tool_dir/go.2" "$tool_dir/go.3"
  end_of_xp
  [ "$status" = 1 ]
  grep -F 'synth_2: taken back while it waited' xp.err
  statuses_are 'done not started done'
}

@test "all that runs and waits is stopped at one word" {
  new_syntheses 3
  gated_tool
  jobs_in_background -j 2
  tool_started
  tool_started
  wait_until statuses_are 'running running queued'
  run -0 "$xp" -C proj kill --all
  end_of_xp
  [ "$status" = 1 ]
  statuses_are 'stopped stopped not started'
  [ "$(wc -l <"$tool_dir/pids")" = 2 ]
}

@test "a run that failed before shows as queued while it waits to run anew" {
  new_syntheses 2
  gated_tool
  echo fail >"$tool_dir/go.2"
  run -1 "$xp" -C proj launch synth_2
  tool_started
  rm "$tool_dir/go.2"
  jobs_in_background -j 1
  tool_started
  wait_until statuses_are 'running queued'
  touch "$tool_dir/go.1" "$tool_dir/go.2"
  end_of_xp
  statuses_are 'done done'
}

@test "another xp can wait for a run that is queued" {
  new_syntheses 2
  gated_tool
  jobs_in_background -j 1
  tool_started
  wait_until statuses_are 'running queued'
  "$xp" -C proj wait synth_2 >wait.out 2>wait.err 8>&- &
  local waiting=$!
  touch "$tool_dir/go.1" "$tool_dir/go.2"
  wait "$waiting"
  grep -F 'synth_2: done' wait.err
  end_of_xp
  [ "$status" = 0 ]
}

@test "who launched a run, where and when is told to the next one who tries" {
  new_syntheses 1
  gated_tool
  USER=jane "$xp" -C proj launch synth_1 --no-wait 8>&-
  tool_started
  run -6 "$xp" -C proj launch synth_1
  assert_one_error "Run synth_1 isn't launched: it is running already, launched by $(id -un) on $(hostname) at 20"
}

@test "the number of jobs is checked" {
  new_syntheses 1
  run -2 "$xp" -C proj launch -j 0
  run -2 "$xp" -C proj launch -j 2 --no-wait
  run -2 "$xp" -C proj launch -j many
}

@test "on a terminal one line tells how many are done, running, waiting and failed" {
  script -qec true /dev/null >/dev/null 2>&1 || skip 'SKIPPED: no pseudo-terminal can be made here'
  new_syntheses 3
  gated_tool
  echo fail >"$tool_dir/go.1"
  touch "$tool_dir/go.2" "$tool_dir/go.3"
  COLUMNS=200 run script -qec "'$xp' -C proj launch -j 1" /dev/null
  [[ $output == *'[0/3] running 1, waiting 2: synth_1 '* ]]
  [[ $output == *'[1/3] running 1, waiting 1, failed 1: synth_2 '* ]]
}

@test "a launch that xp was killed over is known all the same, and the next save takes it in" {
  gated_tool
  new_syntheses 3
  cp proj/project.xml before.xml
  jobs_in_background -j 3
  wait_until statuses_are 'running running running'
  # Two launches at least stand beside the project file, which isn't written for each.
  [ "$(ls proj/.xperiment/launching | wc -l)" -ge 2 ]
  kill -9 "$xp_pid"
  end_of_xp
  for n in 1 2 3; do touch "$tool_dir/go.$n"; done
  wait_until statuses_are 'done done done'
  # Whoever looks knows what each was launched with.
  run -0 --separate-stderr "$xp" -C proj why synth_3
  [[ $output == *'up to date'* ]]
  run -0 --separate-stderr "$xp" -C proj launch
  [[ $stderr == *'synth_1: up to date'*'synth_3: up to date'* ]]
  "$xp" -C proj set synth_2 abc9=true
  [ ! -e proj/.xperiment/launching ]
  [ "$(grep -c '<Launch ' proj/project.xml)" = 3 ]
}
