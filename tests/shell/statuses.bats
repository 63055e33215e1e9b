#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
# How xp ends, by kind: what its help documents.

load xp.bash

teardown() {
  end_runs
}

# A synthesis tool that ends as $1 says.
tool_that_ends() {
  fake_tool yosys <<TOOL
[ "\$1" != --version ] || { echo 'Yosys 0.23'; exit; }
exit $1
TOOL
}

@test "the help documents every status" {
  run -0 "$xp" help
  local status
  for status in 0 1 2 3 4 5 6 130; do
    grep -q "^  $status  *[a-z]" <<<"$output"
  done
}

@test "0: what only looks, and what was done" {
  new_project_with_runs
  cd proj
  local words
  for words in status ls show plan 'why impl_1' 'report list impl_1' 'strategy list' \
    'reportstrategy list' 'completion bash' help --version 'sweep s --seeds 1' 'set impl_1 seed=2'; do
    # shellcheck disable=SC2086
    run -0 "$xp" $words
  done
}

@test "0: all runs that were launched are done" {
  need_tools
  new_project_with_runs
  run -0 "$xp" -C proj launch synth_1
  run -0 "$xp" -C proj launch synth_1
  run -0 "$xp" -C proj wait synth_1
}

@test "1: a run failed, seen by who launched it and by who waits" {
  new_project_with_runs
  tool_that_ends 1
  run -1 "$xp" -C proj launch synth_1
  run -1 "$xp" -C proj wait synth_1
  # Its implementation isn't launched.
  run -1 "$xp" -C proj launch
}

@test "2: the command line is wrong" {
  new_project_with_runs
  cd proj
  local words
  for words in '' nosuch '--nosuch' 'status --nosuch' 'create' 'log' '-C' 'kill' 'set impl_1' \
    'create r --flow sim' 'log impl_1 --lines many' 'ls --sort nosuch' 'completion tcsh' \
    'sweep s --seeds x' 'launch -j 0' 'strategy' 'strategy nosuch' 'help nosuch'; do
    # shellcheck disable=SC2086
    run -2 "$xp" $words
    [[ $output == *'xp: error: '* ]]
  done
}

@test "3 and 4: a goal is missed, and results are stale" {
  need_tools
  new_project_with_runs
  cd proj
  "$xp" launch -q >/dev/null
  run -0 "$xp" best impl_1 --by 'fmax max'
  run -3 "$xp" best impl_1 --by 'fmax max' --require 'fmax >= 100000'
  "$xp" set impl_1 seed=77
  run -4 "$xp" best impl_1 --by 'fmax max'
}

@test "5: a tool is missing" {
  new_project_with_runs
  run -5 without_tools "$xp" -C proj launch synth_1
  assert_one_error yosys
}

@test "6: refused, by the project, an input or the disk" {
  run -6 "$xp" status
  new_project_with_runs
  run -6 "$xp" new proj --top blinky --source blinky.v
  run -6 "$xp" new other --top blinky --source nosuch.v
  cd proj
  local words
  for words in 'create impl_1 --flow impl' 'log impl_1' 'launch nosuch' 'wait impl_1' \
    'set impl_1 nosuch=1' 'set impl_1 seed=x' 'reset impl_1 --from nosuch' 'add nosuch.v' \
    'strategy show nosuch' 'report open impl_1 nosuch' 'apply impl_1 nosuch'; do
    # shellcheck disable=SC2086
    run -6 "$xp" $words
    [[ $output == *'xp: error: '* ]]
  done
  echo '<Project' >project.xml
  run -6 "$xp" status
}

@test "130: Ctrl-C while runs are at work, which go on" {
  new_project_with_runs
  fake_tool yosys <<'TOOL'
[ "$1" != --version ] || { echo 'Yosys 0.23'; exit; }
note
begun
hang
TOOL
  # A background job of a script ignores Ctrl-C otherwise.
  "$python" -c 'import os, signal, sys; signal.signal(signal.SIGINT, signal.SIG_DFL); os.execv(sys.argv[1], sys.argv[1:])' \
    "$xp" -C proj launch synth_1 >xp.out 2>xp.err 8>&- &
  xp_pid=$!
  tool_started
  kill -INT "$xp_pid"
  end_of_xp
  [ "$status" = 130 ]
  run_is synth_1 running
}
