# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Words for tests of runs that are jobs: the shell's word `cluster` says how to launch.

load grid.bash

setup_file() {
  local tool
  for tool in yosys nextpnr-ice40 icepack icetime; do
    command -v $tool >/dev/null || skip "SKIPPED: $tool is missing"
  done
}

teardown() {
  release_tool fail
  # What a test found wrong is no less wrong when the cell can be mended.
  mend_cell
}

# Launches run $1 as a job by the words of `cluster`, and doesn't wait for it; sets job and
# launch_id. No process of the job holds a pipe of the test.
submit() {
  "$xp" -C proj launch "$1" --no-wait "${cluster[@]}" 3>&- 7>&- 8>&- 2>submit.err ||
    { cat submit.err >&2; return 1; }
  job=$(cat "proj/runs/$1/job.id")
  read_launch "$1"
}

# No marker of run $1 says that something was done.
assert_nothing_done() {
  local found
  found=$(find "$project/runs/$1" -name '*.end.rst')
  [ -z "$found" ] || { echo "done: $found"; return 1; }
}

# The processes of launch $launch_id on this host and on node1.
launch_processes() {
  local find="grep -alzx XPERIMENT_LAUNCH=$launch_id /proc/[0-9]*/environ 2>/dev/null"
  bash -c "$find"
  on_node1 "$find"
}

# Neither the queue nor a host has anything of run $1.
assert_no_job_left() {
  local left
  left=$(qstat -u '*')
  [ -z "$left" ] || { echo "in the queue: $left"; return 1; }
  left=$(launch_processes)
  [ -z "$left" ] || { echo "at work: $left"; return 1; }
  [ ! -e "$project/runs/$1/.run.lock" ] || flock -n "$project/runs/$1/.run.lock" true ||
    { echo "the lock of $1 is held"; return 1; }
}

# Puts a program $1 in front of the real one of the scheduler: the shell script on standard
# input, where "$real" is the real one.
fake_client() {
  mkdir -p "$BATS_TEST_TMPDIR/clients"
  { printf '#!/bin/bash\nreal=%q\n' "$(command -v "$1")"; cat; } >"$BATS_TEST_TMPDIR/clients/$1"
  chmod +x "$BATS_TEST_TMPDIR/clients/$1"
  PATH=$BATS_TEST_TMPDIR/clients:$PATH
}
