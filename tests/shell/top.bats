#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The view on the whole terminal, driven by keys in a terminal of tmux.

load xp.bash

setup_file() {
  need_tools
  command -v tmux >/dev/null || skip 'SKIPPED: tmux is missing, xp top is not driven'
}

# Of the terminal's server, in a name of its own where a test has several.
server=

teardown() {
  tmux_ kill-server 2>/dev/null || :
  end_runs
}

tmux_() {
  tmux -S "$BATS_TEST_TMPDIR/tmux$server" -f /dev/null "$@"
}

# Starts `xp top` in a shell of a terminal of $1 columns and $2 lines; what it ends with is
# shown behind "status:".
top_in() {
  local columns=$1 lines=$2
  shift 2
  # A shell that says when the program is over, and then waits.
  tmux_ new-session -d -x "$columns" -y "$lines" \
    "echo before; '$xp' -C proj top $*; echo \"status: \$?\"; stty -a | tr ' ' '\n' | grep -x -e echo -e -echo; read -r"  \
    7>&- 8>&-
}

screen() {
  tmux_ capture-pane -p
}

shows() {
  screen | grep -q -- "$1"
}

lacks() {
  ! shows "$1"
}

press() {
  tmux_ send-keys "$@"
}

# The program ended with $1, and the terminal is as it was.
assert_left() {
  wait_until shows "status: $1"
  # Behind that comes what the terminal does with keys.
  wait_until shows '^-*echo'
  shows '^before'
  shows '^echo'
  lacks 'q quit'
  [ "$(tmux_ display-message -p '#{cursor_flag} #{alternate_on}')" = '1 0' ]
}

@test "without a terminal it is refused, and the way is told" {
  new_syntheses 1
  run -2 "$xp" -C proj top </dev/null
  assert_one_error 'xp top needs a terminal' 'xp watch'
}

@test "on a dumb terminal, and one that isn't known, it is refused too" {
  script -qec true /dev/null >/dev/null 2>&1 || skip 'SKIPPED: no pseudo-terminal can be made here'
  new_syntheses 1
  TERM=dumb run -2 script -qec "'$xp' -C proj top" /dev/null
  [[ $output == *'xp top needs a terminal'* ]]
  TERM=no-such run -2 script -qec "'$xp' -C proj top" /dev/null
  [[ $output == *"terminal 'no-such' isn't known"*'xp watch'* ]]
}

@test "it shows runs as they work, and their logs, and the keys" {
  new_syntheses 3
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait 7>&- 8>&-
  tool_started
  top_in 120 20
  wait_until shows 'proj: 3 runs, running 1, waiting 0'
  wait_until shows '>synth_1 .*running .*synth_design'
  press Enter
  wait_until shows 'Log of synth_1'
  wait_until shows 'Command: yosys'
  press Escape
  wait_until shows 'q quit'
  press '?'
  wait_until shows 'the other way round'
  press q
  wait_until lacks 'the other way round'
  press Down
  wait_until shows '>synth_2'
  press / 3 Enter
  wait_until shows "only '3'"
  lacks synth_2
  press Escape s r
  wait_until shows 'by name, reversed'
  release_tool
  wait_until shows 'synth_1 .*done'
  press q
  assert_left 0
}

@test "it follows the size of the terminal" {
  new_syntheses 2
  top_in 120 20
  wait_until shows 'Fmax MHz'
  tmux_ resize-window -x 60 -y 10
  wait_until lacks 'Fmax MHz'
  shows '>synth_1'
  [ "$(screen | sed -n 10p | cut -c1-6)" = 'q quit' ]
  tmux_ resize-window -x 130 -y 30
  wait_until shows 'Fmax MHz'
  press q
  assert_left 0
}

@test "it stops a run for certain, after asking" {
  new_syntheses 1
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait 7>&- 8>&-
  tool_started
  top_in 120 20
  wait_until shows 'running 1'
  press k
  wait_until shows 'Stop synth_1 for certain'
  press n
  wait_until lacks 'Stop synth_1 for certain'
  run_is synth_1 running
  press k
  wait_until shows 'Stop synth_1 for certain'
  press y
  wait_until shows 'synth_1 .*stopped'
  run_is synth_1 stopped
  press q
  assert_left 0
}

@test "every signal that ends it leaves the terminal as it was" {
  new_syntheses 1
  local pair
  for pair in INT:130 TERM:143 HUP:129 QUIT:131 SEGV:139 ABRT:134; do
    # The one before may be about to go still.
    server=${pair%:*}
    top_in 100 12
    wait_until shows '>synth_1'
    kill -"${pair%:*}" "$(tmux_ list-panes -F '#{pane_pid}' | xargs -n 1 pgrep -P)"
    assert_left "${pair#*:}"
    tmux_ kill-server
  done
}

@test "Ctrl-C leaves it, and the terminal is as it was" {
  new_syntheses 1
  top_in 100 12
  wait_until shows '>synth_1'
  press C-c
  assert_left 130
}

@test "runs that are made later come in by themselves" {
  new_syntheses 1
  top_in 100 12
  wait_until shows 'proj: 1 run,'
  "$xp" -C proj create synth_9 --flow synth
  wait_until shows synth_9
  press q
  assert_left 0
}
