#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The cell that the other tests use is what they take it for.

load grid.bash

setup() {
  cd "$BATS_TEST_TMPDIR" || return
}

teardown() {
  mend_cell
}

# Submits a job that reads its standard input; sets job.
submit() {
  job=$(qsub -terse -S /bin/sh -wd "$PWD" -N job -j y -o out "$@")
}

@test "a job runs on each host, and leaves the queue" {
  local host
  for host in head node1; do
    submit -q "all.q@$host" -sync y <<<"uname -n >$host"
    [ "$(cat $host)" = $host ]
  done
  queue_is_empty
}

@test "hosts see their own processes alone" {
  submit -q all.q@node1 <<<'echo "$$" >pid; exec sleep 1000'
  wait_until test -s pid
  [ -n "$(on_node1 "grep sleep /proc/$(cat pid)/comm")" ]
  [ "$(cat "/proc/$(cat pid)/comm" 2>/dev/null)" != sleep ]
  qdel "$job"
  wait_until queue_is_empty
  [ -z "$(on_node1 'pgrep -x sleep')" ]
}

@test "jobs wait for a free slot, and for an open queue" {
  submit -q all.q@head <<<'exec sleep 1000'
  submit -q all.q@head <<<'exec sleep 1000'
  wait_until job_is "$job" r
  submit -q all.q@head <<<'exec sleep 1000'
  [ "$(job_state "$job")" = qw ]
  qmod -d all.q@node1
  [ "$(queue_state node1)" = d ]
  qdel -u '*'
  wait_until queue_is_empty
}

@test "without the master the clients say so" {
  lose_master
  run ! qstat
  [[ $output == *'unable to send message to qmaster'* ]]
}

@test "a master that hangs lets the clients wait" {
  hang_master
  run -124 timeout 1 qstat
}
