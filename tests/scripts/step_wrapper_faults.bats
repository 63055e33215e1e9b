#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The wrapper hit by a signal at its system calls, one after another. SWEEP_STEP=1
# takes each of them, which takes minutes; every third one is the default.

load stepWrapper

# Runs the step "tool" under strace with the options $@, once nothing of the try
# before is at work: the one that watches outlives a killed wrapper for a moment, and
# then makes a marker. As in a run, all of them hold a lock.
traced() {
  flock held true
  rm -f .tool.* finished "$BATS_TEST_TMPDIR/tool.pid"
  status=0
  (
    flock 8
    exec strace -qq -o trace "$@" sh ./ZUMWrap.sh runme.log tool
  ) 8>held >>runme.log 2>&1 3>&- || status=$?
}

# Sends the wrapper the signal $1 at one system call after another, and has the
# command $2 judge what came of it.
sweep() {
  local call count number hits=0
  program tool <<<'i_am tool; : >finished'
  traced
  sed -n 's/^\([a-z0-9_]*\)(.*/\1/p' trace | sort | uniq -c >calls || :
  [ -s calls ] || skip 'SKIPPED: strace is missing, or there is no right to trace'
  while read -r count call; do
    for ((number = 1; number <= count; number += ${SWEEP_STEP:-3})); do
      traced -e "inject=$call:signal=$1:when=$number"
      "$2" || {
        echo "$call $number: status $status, markers $(markers)"
        tail -40 trace
        return 1
      }
      hits=$((hits + 1))
    done
  done <calls
  # A sweep that comes nowhere shows nothing.
  [ "$hits" -gt 40 ]
} 2>"$BATS_TEST_TMPDIR/notices"

nothing_lives() {
  [ ! -s "$BATS_TEST_TMPDIR/tool.pid" ] || group_is_gone "$(<"$BATS_TEST_TMPDIR/tool.pid")"
}

# Signalled before the traps stand it dies at once; after the end marker stands the
# signal comes too late.
a_term_is_told() {
  if [ -e .tool.end.rst ]; then
    [ "$status" = 0 ] && [ -e finished ] && [ ! -e .tool.error.rst ] || return 1
  else
    [ "$status" = 143 ] || return 1
    [ -e .tool.error.rst ] || [ ! -e .tool.begin.rst ] || return 1
  fi
  nothing_lives
}

@test "TERM at any system call leaves no process and no wrong marker" {
  sweep TERM a_term_is_told
}

a_kill_is_safe() {
  if [ -e .tool.end.rst ]; then
    [ -e finished ] && [ ! -e .tool.error.rst ] || return 1
  fi
  until_true nothing_lives >/dev/null
}

@test "KILL at any system call leaves no process and no false end marker" {
  sweep KILL a_kill_is_safe
}
