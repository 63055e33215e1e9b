#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# "xp tcl": scripts, pipes and the prompt.

load ../shell/xp.bash

# At a terminal of kind $1: what is expected and typed in turn.
typed() {
  local term=$1
  shift
  TERM=$term HOME=$BATS_TEST_TMPDIR/home python3 "$BATS_TEST_DIRNAME/typed.py" \
    "$xp" -C "${place:-.}" tcl -- "$@"
}

has_line_editing() {
  echo 'puts [catch {package require tclreadline}]' | tclsh8.6 | grep -q 0 ||
    skip 'tclreadline is missing'
}

@test "a script gets its arguments, those that look like options too" {
  echo 'puts [list $argv0 $argc $argv $tcl_interactive]' >s.tcl
  run -0 --separate-stderr "$xp" tcl s.tcl one --json -C '' '{'
  [ "$output" = 's.tcl 5 {one --json -C {} \{} 0' ]
  [ -z "$stderr" ]
}

@test "a script ends with what it says" {
  echo 'exit 42' >s.tcl
  run -42 "$xp" tcl s.tcl
  echo 'puts fine' >s.tcl
  run -0 "$xp" tcl s.tcl
}

@test "a script that fails ends with 1 and tells where" {
  printf 'proc f {} {\n  error oops\n}\nf\n' >s.tcl
  run -1 --separate-stderr "$xp" tcl s.tcl
  [ -z "$output" ]
  [[ $stderr == 'xp: error: oops'*'(procedure "f" line 2)'*'(file "s.tcl" line 4)'* ]]
}

@test "a script that isn't there is refused" {
  run -6 "$xp" tcl none.tcl
  assert_one_error "The script 'none.tcl' isn't there."
  run -2 "$xp" tcl --nonsense
  assert_one_error 'no option --nonsense'
}

@test "a project without a name is that of -C" {
  new_project
  echo 'puts [file tail [project open]]' >s.tcl
  run -0 "$xp" -C proj tcl s.tcl
  [ "$output" = proj ]
}

@test "commands come from a pipe, without prompt and results" {
  run -0 --separate-stderr "$xp" tcl <<'TCL'
set x 5
puts "x is $x"
if {$x > 3} {
  puts large
}
nonsense
puts last
TCL
  [ "$output" = $'x is 5\nlarge\nlast' ]
  [ "$stderr" = 'invalid command name "nonsense"' ]
}

@test "an unfinished command at the end of a pipe is told" {
  run -0 --separate-stderr "$xp" tcl < <(printf 'puts {one\n')
  [ "$stderr" = 'missing close-brace' ]
}

@test "what was typed last needs no line end" {
  run -0 "$xp" tcl < <(printf 'puts one\nputs two')
  [ "$output" = $'one\ntwo' ]
}

@test "the event loop runs while a pipe is silent" {
  mkfifo in
  "$xp" tcl <in >out 2>&1 &
  local pid=$!
  exec 9>in
  echo 'after 10 {puts fired; exit 7}' >&9
  local status=0
  wait "$pid" || status=$?
  exec 9>&-
  [ "$status" = 7 ]
  [ "$(cat out)" = fired ]
}

@test "a plain prompt shows results, and not one escape byte" {
  run -0 typed dumb 'xp% ' 'expr {6 * 7}' '42' 'flow list' 'synth impl' 'nonsense' 'invalid command name'
  [[ $output != *$'\e'* ]]
}

@test "callbacks are called while a plain prompt waits" {
  run -0 typed dumb 'xp% ' 'after 200 {puts FIRED[expr 1+1]}' 'FIRED2'
}

@test "a launch goes on while a plain prompt waits, and tells its end" {
  need_tools
  new_project_with_runs
  place=proj
  run -0 typed dumb 'xp% ' 'string length [project open]' 'xp% ' 'run on done {apply {run {puts "$run has ended"}}}' \
    'xp% ' 'run launch' 'synth_1 has ended' '' 'impl_1 has ended'
  run_is impl_1 'done'
}

@test "lines of several rows are read to their end" {
  run -0 typed dumb 'xp% ' 'if 1 {' '> ' 'puts [expr 40+2]' '> ' '}' '42'
}

@test "lines are edited, completed and kept in the user's folder alone" {
  has_line_editing
  mkdir home
  run -0 typed xterm 'xp% ' $'run cre\t' 'run create' '-flow' 'needs a value' 'expr {6 * 7}' '42'
  [ -f "$XDG_CONFIG_HOME/xperiment/tcl_history" ]
  grep -q 'expr {6 \* 7}' "$XDG_CONFIG_HOME/xperiment/tcl_history"
  [ -z "$(ls -A home)" ]
}

@test "callbacks are called while an edited line waits" {
  has_line_editing
  mkdir home
  run -0 typed xterm 'xp% ' 'after 200 {puts FIRED[expr 1+1]}' 'FIRED2'
}

@test "the example sweeps two strategies and prints the best run" {
  need_tools
  run -0 --separate-stderr "$xp" tcl "$source_dir/examples/tcl/sweep.tcl" night 1-2
  [ -z "$stderr" ]
  [ "$(grep -c '^night_.*: [0-9.]* MHz$' <<<"$output")" = 4 ]
  [[ $output == *'Best: night_'*'fmax max 1%'* ]]
  run -2 "$xp" tcl "$source_dir/examples/tcl/sweep.tcl"
}
