#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# xp doctor: what is missing, too old or hangs is found, and told with what to do.

load xp.bash
load clients.bash

setup_file() { need_tools; }

# What doctor says of $1: its health and its text.
health_of() {
  json "'; '.join(c['health'] + ' ' + c['text'] for c in j['checks'] if c['name'] == '$1')" <<<"$output"
}

# Nothing of what doctor makes for a moment is in folder $1.
no_trial_in() { [ -z "$(find "$1" -maxdepth 1 -name '*doctor*')" ]; }

put_tool() {
  local name=$1
  shift
  mkdir -p "$tool_dir"
  printf '%s\n' '#!/bin/bash' "$@" >"$tool_dir/$name"
  chmod +x "$tool_dir/$name"
  PATH=$tool_dir:$PATH
}

@test "a good host is well, outside of a project too" {
  run -0 --separate-stderr "$xp" doctor --json
  assert_schema doctor
  [[ $(health_of yosys) == 'ok Yosys '*' in '* ]]
  [[ $(health_of nextpnr-ice40) == 'ok nextpnr-ice40 '* ]]
  [[ $(health_of Tcl) == 'ok 8.6'* ]]
  [[ $(health_of writable) == "ok "* ]]
  no_trial_in .
}

@test "every line says ok, warn or bad, and what to do" {
  new_project_with_runs
  PATH=/nowhere run -5 /usr/bin/env "$xp" -C proj doctor
  [[ $output == *'bad   tools   yosys'*'not in the search path'*'-> apt-get install yosys'* ]]
  [[ $output == *'ok    folder  writable'* ]]
  [ -z "$(grep -vE '^(ok  |warn|bad ) |^ +-> ' <<<"$output")" ]
}

@test "a tool that is too old" {
  put_tool yosys 'echo "Yosys 0.9 (git sha1 1979e0b)"'
  run -5 --separate-stderr "$xp" doctor --json
  assert_schema doctor
  [[ $(health_of yosys) == 'bad Yosys 0.9 '*'is too old: 0.10'* ]]
}

@test "a tool that is older than those of the tests is a warning" {
  put_tool yosys 'echo "Yosys 0.20 (git sha1 1979e0b)"'
  run -0 --separate-stderr "$xp" doctor --json
  [[ $(health_of yosys) == 'warn Yosys 0.20 '* ]]
}

@test "a tool that tells nothing, or hangs, is given up" {
  put_tool yosys 'exit 1'
  put_tool nextpnr-ice40 'exec sleep 1000'
  run -5 --separate-stderr "$xp" doctor --json
  [[ $(health_of yosys) == 'bad '*'told no version'* ]]
  [[ $(health_of nextpnr-ice40) == 'bad '*'told no version'* ]]
}

@test "a folder that can't be written" {
  [ "$(id -u)" = 0 ] || skip 'SKIPPED: not root, nothing can be mounted'
  new_project_with_runs
  mount --bind proj proj && mount -o remount,ro,bind proj || skip 'SKIPPED: nothing can be mounted here'
  run -6 --separate-stderr "$xp" -C proj doctor --json
  umount proj
  assert_schema doctor
  [[ $(health_of writable) == 'bad '*'Read-only file system' ]]
}

@test "a full disk" {
  [ "$(id -u)" = 0 ] || skip 'SKIPPED: not root, no small disk can be mounted'
  mkdir small
  mount -t tmpfs -o size=64k xptest small || skip 'SKIPPED: no small disk can be mounted here'
  cat /dev/zero >small/fill 2>/dev/null || :
  run -6 --separate-stderr "$xp" -C small doctor --json
  umount small
  [[ $(health_of space) == 'bad 0 MB free'* ]]
  [[ $(health_of writable) == 'bad '*'No space left on device' ]]
}

# A trial leaves nothing in the project, and no job in the queue of stub clients.
assert_no_trial() {
  no_trial_in proj
  [ -z "$(ls "$grid/jobs" 2>/dev/null)" ]
}

@test "a grid without its clients" {
  new_project
  run -5 --separate-stderr "$xp" -C proj doctor --json --sge 'nosuch_qsub -q all.q'
  assert_schema doctor
  [[ $(health_of SGE) == 'bad '*nosuch_qsub* ]]
  no_trial_in proj
}

@test "a grid that takes a job, and whose marker is seen" {
  make_grid
  new_project
  run -0 --separate-stderr "$xp" -C proj doctor --json --sge 'qsub -q all.q'
  assert_schema doctor
  [[ $(health_of SGE) == "ok a job of one second: taken after "*"its marker from $(uname -n) seen after "* ]]
  wait_until assert_no_trial
}

@test "a grid that refuses is told in its own words, with what to do" {
  make_grid
  echo 'Unable to run job: denied: host "here" is no submit host.' >"$grid/refuse"
  new_project
  run -5 --separate-stderr "$xp" -C proj doctor --json --sge 'qsub -q all.q'
  assert_schema doctor
  [[ $(health_of SGE) == "bad the job isn't taken: Unable to run job: denied: host \"here\" is no submit host." ]]
  [[ $output == *'Submit a job by hand with the same command'* ]]
  assert_no_trial
}

@test "a grid whose submit program hangs is given up, and the job that it took is ended" {
  make_grid
  # It takes the job, and never says so.
  sed -i 's|^echo "Your job .*|exec sleep 1000|' "$grid/bin/qsub"
  : >"$grid/held"
  new_project
  run -5 --separate-stderr "$xp" -C proj doctor --json --sge 'qsub -q all.q' --wait 2
  [[ $(health_of SGE) == "bad the marker of job 12 wasn't seen within 2 s"* ]]
  assert_no_trial
}

@test "a grid of which nobody answers is told as unknown" {
  put_tool qsub 'exec sleep 1000'
  put_tool qstat 'echo "error: unable to contact qmaster"; exit 1'
  put_tool qdel 'echo "error: unable to contact qmaster"; exit 1'
  new_project
  run -5 --separate-stderr "$xp" -C proj doctor --json --sge 'qsub -q all.q' --wait 1
  assert_schema doctor
  [[ $(health_of SGE) == "bad it can't be told whether the job was taken: it gave no answer in time"*"end it by hand" ]]
  no_trial_in proj
}

@test "Ctrl-C ends the wait for the grid, and the job" {
  make_grid
  : >"$grid/held"
  new_project
  # Started in the background it would ignore the signal.
  "$python" -c 'import os, signal, sys; signal.signal(signal.SIGINT, signal.SIG_DFL); os.execv(sys.argv[1], sys.argv[1:])' \
    "$xp" -C proj doctor --sge 'qsub -q all.q' >xp.out 2>xp.err &
  xp_pid=$!
  wait_until test -e "$grid/jobs/12"
  kill -INT "$xp_pid"
  end_of_xp
  [ "$status" = 130 ]
  grep -q "Ctrl-C ended the wait for job 12; there is no such job any more" xp.out
  grep -q '^Interrupted' xp.err
  assert_no_trial
}

@test "a grid whose job leaves no marker is told, and the job is ended" {
  put_tool qsub 'echo "Your job 12 (\"xp_doctor\") has been submitted"'
  put_tool qstat 'exit 0'
  put_tool qdel "echo \"\$@\" >>$tool_dir/deleted"
  new_project
  run -5 --separate-stderr "$xp" -C proj doctor --json --sge 'qsub -q all.q' --wait 1
  [[ $(health_of SGE) == 'bad the marker of job 12 '*'within 1 s'* ]]
  no_trial_in proj
}
