#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# How a step is ended: signals, kills, stop requests, full disks.

load stepWrapper

# --- signals -------------------------------------------------------------------

# A program "tool" that notes each signal it gets and ends with 0.
noting_tool() {
  program tool <<'P'
for name in HUP INT TERM; do trap "echo $name >>signals; exit 0" $name; done
i_am tool
hold
P
}

@test "TERM and HUP are passed on, and the step has failed whatever the command says" {
  noting_tool
  for case in TERM:143 HUP:129; do
    rm -f signals "$BATS_TEST_TMPDIR/tool.pid" .tool.*
    start_wrap tool
    until_it_is tool
    kill -"${case%:*}" "$wrapper"
    finish_wrap
    [ "$status" = "${case#*:}" ]
    [ "$(<signals)" = "${case%:*}" ]
    [ "$(markers)" = '.tool.begin.rst .tool.error.rst ' ]
    [ "$(<.tool.error.rst)" = "its wrapper got signal ${case%:*}" ]
    group_is_gone "$pid"
  done
}

@test "INT reaches a command that takes it" {
  program tool <<'P'
i_am tool.sh
exec python3 -c '
import os, signal, sys
def on_int(*_):
    open("signals", "w").write("INT\n")
    sys.exit(0)
signal.signal(signal.SIGINT, on_int)
os.rename(sys.argv[1] + ".sh.pid", sys.argv[1] + ".pid")
while True:
    signal.pause()
' "$out/tool"
P
  start_wrap tool
  until_it_is tool
  kill -INT "$wrapper"
  finish_wrap
  [ "$status" = 130 ]
  [ "$(<signals)" = INT ]
  [ "$(markers)" = '.tool.begin.rst .tool.error.rst ' ]
}

@test "a command that was started with INT ignored gets TERM for it" {
  noting_tool
  start_wrap tool
  until_it_is tool
  kill -INT "$wrapper"
  finish_wrap
  [ "$status" = 130 ]
  [ "$(<signals)" = TERM ]
  [ "$(<.tool.error.rst)" = 'its wrapper got signal INT' ]
}

@test "a signal reaches what the command has started" {
  program tool <<<'( i_am unused; trap "echo TERM >child; exit" TERM; : >ready; hold ) & i_am tool; wait'
  start_wrap tool
  until_it_is tool
  until_true file_stands ready
  kill -TERM "$wrapper"
  finish_wrap
  [ "$(<child)" = TERM ]
  group_is_gone "$pid"
}

@test "a command that outlives a signal by five seconds is killed" {
  program tool <<<'trap "" TERM INT HUP; i_am tool; hold'
  start_wrap tool
  until_it_is tool
  start=$(milliseconds)
  kill -TERM "$wrapper"
  finish_wrap
  [ "$status" = 143 ]
  [ $(($(milliseconds) - start)) -ge 4500 ]
  grep -q "step 'tool' is ended: it outlived the signal" runme.log
  group_is_gone "$pid"
  [ "$(markers)" = '.tool.begin.rst .tool.error.rst ' ]
}

@test "a signal to the wrapper's whole group does the same" {
  noting_tool
  setsid sh -c 'echo $$ >group; exec sh ./ZUMWrap.sh runme.log tool' >>runme.log 2>&1 3>&- &
  wrapper=$!
  until_it_is tool
  kill -TERM -- "-$(<group)"
  finish_wrap
  [ "$status" = 143 ]
  [ "$(<signals)" = TERM ]
  [ "$(markers)" = '.tool.begin.rst .tool.error.rst ' ]
}

@test "a signal while the output is synced fails the step" {
  strace -V >/dev/null 2>&1 || skip 'SKIPPED: strace is missing'
  program tool <<<'exit 0'
  sh -c 'echo $$ >wrapper; exec strace -qq -f -D -o trace -e trace=syncfs -e inject=syncfs:delay_enter=1000000 sh ./ZUMWrap.sh runme.log tool' >>runme.log 2>&1 3>&- &
  wrapper=$!
  until_true grep -q syncfs trace || skip 'SKIPPED: no right to trace'
  kill -TERM "$(<wrapper)"
  finish_wrap
  [ "$status" = 143 ]
  [ "$(markers)" = '.tool.begin.rst .tool.error.rst ' ]
}

@test "USR1 is passed on and ends nothing" {
  program tool <<<'trap "touch got; exit 0" USR1; i_am tool; hold'
  start_wrap tool
  until_it_is tool
  kill -USR1 "$wrapper"
  finish_wrap
  [ "$status" = 0 ]
  [ -e got ]
  [ "$(markers)" = '.tool.begin.rst .tool.end.rst ' ]
}

@test "a suspended command hasn't ended" {
  program tool <<<'i_am tool; until [ -e go ]; do sleep 0.1; done'
  start_wrap tool
  until_it_is tool
  kill -STOP -- "-$pid"
  until_true group_is_stopped "$pid"
  touch go
  [ "$(markers)" = '.tool.begin.rst .tool.final.new ' ]
  kill -CONT -- "-$pid"
  finish_wrap
  [ "$status" = 0 ]
  [ "$(markers)" = '.tool.begin.rst .tool.end.rst ' ]
}

@test "a suspended command is ended by a signal all the same" {
  noting_tool
  start_wrap tool
  until_it_is tool
  kill -STOP -- "-$pid"
  until_true group_is_stopped "$pid"
  kill -TERM "$wrapper"
  finish_wrap
  [ "$status" = 143 ]
  [ "$(<signals)" = TERM ]
}

# --- kills -----------------------------------------------------------------------

@test "a killed command takes what it started with it" {
  program tool <<<'trap "" TERM; hold & i_am tool; hold'
  start_wrap tool
  until_it_is tool
  kill -KILL "$pid"
  finish_wrap
  [ "$status" = 137 ]
  group_is_gone "$pid"
  [ "$(markers)" = '.tool.begin.rst .tool.error.rst ' ]
}

@test "the process of the handle is the one whose group ends the command" {
  program tool <<<'hold & i_am tool; hold'
  start_wrap tool
  until_it_is tool
  kill -KILL -- "-$(handle tool //Process/@Pgid)"
  finish_wrap
  [ "$status" = 137 ]
  group_is_gone "$pid"
}

@test "a killed wrapper takes its command with it and leaves an error marker" {
  program tool <<<'trap "" TERM; i_am tool; hold'
  start_wrap tool
  until_it_is tool
  kill -KILL "$wrapper"
  finish_wrap
  [ "$status" = 137 ]
  until_true file_stands .tool.error.rst
  [ "$(<.tool.error.rst)" = 'its wrapper was killed' ]
  group_is_gone "$pid"
  [ "$(markers)" = '.tool.begin.rst .tool.error.rst ' ]
}

# --- a directory that is gone -------------------------------------------------------

@test "a step whose directory is removed ends its command" {
  program tool <<<'trap "" TERM; hold & i_am tool; hold'
  start_wrap tool
  until_it_is tool
  rm -r "$run_dir"
  finish_wrap
  [ "$status" != 0 ]
  group_is_gone "$pid"
}

@test "a step whose directory is moved away fails there, and touches none in its place" {
  program tool <<<'hold & i_am tool; hold'
  start_wrap tool
  until_it_is tool
  mv "$run_dir" "$run_dir.moved"
  mkdir "$run_dir"
  finish_wrap
  [ "$status" != 0 ]
  group_is_gone "$pid"
  [ -z "$(ls -A "$run_dir")" ]
  [ "$(<"$run_dir.moved/.tool.error.rst")" = 'its run directory is gone' ]
  [ ! -e "$run_dir.moved/.tool.end.rst" ]
}

# --- stop requests ------------------------------------------------------------------

@test "no step starts while a stop is requested" {
  program tool <<<'touch ran'
  touch .stop.rst .tool.error.rst
  run -1 wrap tool
  [ ! -e ran ]
  [ "$(markers)" = '.stop.rst .tool.error.rst ' ]
  grep -q "step 'tool' isn't started: a stop was requested; remove '.stop.rst'" runme.log
}

@test "a stop ends the command's whole group within a second" {
  program tool <<<'trap "touch asked; exit 0" TERM; hold & i_am tool; hold'
  start_wrap tool
  until_it_is tool
  start=$(milliseconds)
  touch .stop.rst
  finish_wrap
  [ $(($(milliseconds) - start)) -lt 1000 ]
  [ "$status" = 1 ]
  [ -e asked ]
  [ "$(markers)" = '.stop.rst .tool.begin.rst .tool.error.rst ' ]
  [ "$(<.tool.error.rst)" = 'a stop was requested' ]
  group_is_gone "$pid"
}

@test "a stop ends a command that ignores TERM within a second" {
  program tool <<<'trap "" TERM; hold & i_am tool; hold'
  start_wrap tool
  until_it_is tool
  start=$(milliseconds)
  touch .stop.rst
  finish_wrap
  [ $(($(milliseconds) - start)) -lt 1000 ]
  [ "$status" = 137 ]
  [ "$(markers)" = '.stop.rst .tool.begin.rst .tool.error.rst ' ]
  group_is_gone "$pid"
}

@test "a stop in the very moment of the start ends the command" {
  program tool <<<'i_am tool; touch .stop.rst; hold'
  run -143 wrap tool
  [ "$(markers)" = '.stop.rst .tool.begin.rst .tool.error.rst ' ]
  group_is_gone "$(<"$BATS_TEST_TMPDIR/tool.pid")"
}

@test "the step after a stopped one isn't started" {
  program tool <<<'touch .stop.rst; hold'
  program next <<<'touch ran'
  run -143 wrap tool
  run -1 wrap next
  [ ! -e ran ]
}

# --- disks --------------------------------------------------------------------------

# Runs the rest of the words in the run directory on a file system of its own with
# the mount options $1, and lists what it left as "left".
on_small_disk() {
  local options=$1 flag
  shift
  for flag in -m -rm; do
    if unshare "$flag" mount -t tmpfs none "$run_dir" 2>/dev/null; then
      status=0
      unshare "$flag" bash -c '
        mount -t tmpfs -o "$1" none "$2" && cd "$2" && cp "$3" . || exit 99
        shift 3
        out=$1
        shift
        "$@" >"$out/log" 2>&1 3>&-
        result=$?
        shopt -s dotglob nullglob
        echo .* >"$out/left"
        cp .*.rst "$out" 2>/dev/null
        exit $result
      ' small "$options" "$run_dir" "$wrapper_source" "$BATS_TEST_TMPDIR" "$@" || status=$?
      return 0
    fi
  done
  skip 'SKIPPED: no right to mount a small disk'
}

@test "a disk that the command filled up still takes the end marker" {
  program tool <<<'cat /dev/zero >fill 2>/dev/null; exit 0'
  on_small_disk size=64k sh ./ZUMWrap.sh runme.log tool
  [ "$status" = 0 ]
  [ "$(<"$BATS_TEST_TMPDIR/left")" = '. .. .tool.begin.rst .tool.end.rst' ] ||
    [ "$(<"$BATS_TEST_TMPDIR/left")" = '.tool.begin.rst .tool.end.rst' ]
}

@test "a disk that the command filled up, files and all, still takes the error marker" {
  program tool <<<'n=0; while true >"f$n"; do n=$((n + 1)); done 2>/dev/null; cat /dev/zero >f0; exit 8'
  on_small_disk size=64k,nr_inodes=16 sh ./ZUMWrap.sh runme.log tool
  [ "$status" = 8 ]
  [[ "$(<"$BATS_TEST_TMPDIR/left")" == *'.tool.begin.rst .tool.error.rst' ]]
}

@test "on a full disk the step fails before its command starts" {
  program tool <<<'touch "$out/ran"'
  on_small_disk size=64k sh -c 'cat /dev/zero >fill 2>/dev/null; sh ./ZUMWrap.sh runme.log tool'
  [ "$status" = 1 ]
  [ ! -e "$BATS_TEST_TMPDIR/ran" ]
  [[ "$(<"$BATS_TEST_TMPDIR/left")" == *'.tool.begin.rst .tool.error.rst' ]]
  [ ! -s "$BATS_TEST_TMPDIR/.tool.begin.rst" ]
  grep -q "step 'tool' can't start: its process can't be recorded in .*; check the free space" "$BATS_TEST_TMPDIR/log"
}

@test "where no marker can be made the step says so and runs nothing" {
  program tool <<<'touch "$out/ran"'
  on_small_disk size=64k,nr_inodes=3 sh -c 'touch last; sh ./ZUMWrap.sh runme.log tool'
  [ "$status" = 1 ]
  [ ! -e "$BATS_TEST_TMPDIR/ran" ]
  grep -q "step 'tool' can't start: no marker can be written in .*; check its permissions and the free space" "$BATS_TEST_TMPDIR/log"
}
