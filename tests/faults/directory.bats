#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# A run directory that vanishes, is full or can't be written, while a run is launched, at
# work, stopped or taken back.

load faults.bash

# Runs the function $1 where mounts are private, on a file system of its own for the runs.
on_own_disk() {
  unshare -rm true 2>/dev/null || skip 'SKIPPED: no file system can be mounted here'
  export xp project tool_dir run_dir
  mkdir -p proj/runs
  unshare -rm bash -c "set -eu; $(declare -f); mount -t tmpfs -o size=256k,mode=755 runs proj/runs; $1"
}

refused() {
  local status=0
  "$xp" -C proj "$@" >said 2>&1 || status=$?
  [ "$status" = 6 ] || { echo "status $status: $(<said)"; return 1; }
}

hanging_tool() {
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
}

# The ids of the processes of the run whose command lines hold $1.
processes_with() {
  local pid
  for pid in $(survivors); do
    ! tr '\0' ' ' <"/proc/$pid/cmdline" 2>/dev/null | grep -q -- "$1" || echo "$pid"
  done
}

@test "a run directory that vanishes takes its run's processes with it, and nothing is done" {
  new_quick_project
  hanging_tool
  launch_fake synth_1
  rm -r $run_dir
  soon nothing_survives
  [ "$(status_word synth_1)" = 'not started' ]
  assert_canaries
  rm "$tool_dir/yosys"
  quick_tools
  "$xp" -C proj launch synth_1
  is_whole $run_dir
}

@test "another directory in the place of the one that vanished isn't taken for it" {
  new_quick_project
  hanging_tool
  launch_fake synth_1
  mv $run_dir elsewhere
  mkdir $run_dir
  soon nothing_survives
  [ "$(status_word synth_1)" != 'done' ]
  [ ! -e elsewhere/.ice40_synth.end.rst ]
  [ -z "$(ls -A $run_dir)" ]
}

@test "of a directory that vanished even those are stopped whom nobody watches any more" {
  new_quick_project
  hanging_tool
  launch_fake synth_1
  # shellcheck disable=SC2046
  kill -KILL $(processes_with runme.sh; processes_with ZUMWrap.sh)
  rm -r $run_dir
  [ -n "$(survivors)" ]
  "$xp" -C proj kill synth_1
  nothing_survives
  assert_canaries
}

@test "a project that is moved while a run is at work: it ends, and isn't done" {
  new_quick_project
  hanging_tool
  launch_fake synth_1
  mv proj moved
  soon nothing_survives
  project=$PWD/moved
  [ "$(status_word synth_1)" != 'done' ]
  [[ ! $(status_word synth_1) =~ ^(running|queued)$ ]]
  assert_canaries
}

@test "a run script that doesn't find its directory does nothing where it was started" {
  new_quick_project
  "$xp" -C proj launch synth_1
  mkdir bystander
  cp $run_dir/runme.sh $run_dir/ZUMWrap.sh bystander
  mv $run_dir elsewhere
  cd bystander
  run ./runme.sh
  # The log alone is opened before the directory is looked for.
  rm -f runme.log
  [ "$(ls -A)" = $'ZUMWrap.sh\nrunme.sh' ]
}

full_at_launch() {
  mkdir $run_dir
  cat /dev/zero >proj/runs/ballast 2>/dev/null || :
  refused launch synth_1
  grep -q 'full' said
  [ "$(status_word synth_1)" = 'not started' ]
  rm proj/runs/ballast
  "$xp" -C proj launch synth_1
  is_whole $run_dir
}

@test "a launch on a full disk is refused, and goes on when there is room" {
  new_quick_project
  on_own_disk full_at_launch
}

full_in_the_tool() {
  echo 'cat /dev/zero >ballast 2>/dev/null' >"$tool_dir/before"
  local status=0
  "$xp" -C proj launch synth_1 || status=$?
  [ "$status" = 1 ]
  [ "$(status_word synth_1)" = failed ]
  [ ! -e $run_dir/.ice40_synth.end.rst ]
  rm $run_dir/ballast "$tool_dir/before"
  "$xp" -C proj launch synth_1
  is_whole $run_dir
}

@test "a disk that the tool fills makes its run fail, and not a byte is taken for done" {
  new_quick_project
  on_own_disk full_in_the_tool
}

full_after_the_run() {
  "$xp" -C proj launch synth_1
  cat /dev/zero >proj/runs/ballast 2>/dev/null || :
  "$xp" -C proj reset synth_1
  [ "$(status_word synth_1)" = 'not started' ]
  [ ! -e $run_dir/blinky.json ]
}

@test "a run on a full disk can be taken back" {
  new_quick_project
  on_own_disk full_after_the_run
}

full_at_kill() {
  hanging_tool
  launch_fake synth_1
  cat /dev/zero >proj/runs/ballast 2>/dev/null || :
  "$xp" -C proj kill synth_1
  nothing_survives
  [ "$(status_word synth_1)" = stopped ]
}

@test "a run on a full disk can be stopped" {
  new_quick_project
  on_own_disk full_at_kill
}

read_only() {
  "$xp" -C proj launch synth_1
  mount -o remount,ro proj/runs
  [ "$(status_word synth_1)" = 'done' ]
  refused reset synth_1
  grep -q "its directory $project/runs/synth_1 can.t be changed: Read-only file system" said
  is_whole $run_dir
  [ "$(status_word synth_1)" = 'done' ]
  "$xp" -C proj set synth_1 abc9=true
  refused launch synth_1
  [ "$(status_word synth_1)" != running ]
  mount -o remount,rw proj/runs
  "$xp" -C proj launch synth_1
  is_whole $run_dir
}

@test "a read-only run directory refuses launch and reset, and the run stays what it was" {
  new_quick_project
  on_own_disk read_only
}

@test "a job.id that is empty, huge, no file or ends in a line end harms no reset and no kill" {
  new_quick_project
  local kind
  for kind in empty line huge pipe folder; do
    "$xp" -C proj launch synth_1 >/dev/null 2>&1
    rm -rf $run_dir/job.id
    case $kind in
      empty) : >$run_dir/job.id ;;
      line) printf '1\n' >$run_dir/job.id ;;
      huge) head -c 20000000 /dev/zero | tr '\0' 1 >$run_dir/job.id ;;
      pipe) mkfifo $run_dir/job.id ;;
      folder) mkdir $run_dir/job.id ;;
    esac
    run -0 "$xp" -C proj kill synth_1
    run "$xp" -C proj reset synth_1
    echo "$kind: $status $output"
    [ "$(status_word synth_1)" = 'not started' ]
  done
  assert_canaries
}
