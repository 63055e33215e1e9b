#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Jobs that die without a word are lost when the queue and the run directory agree, and not
# before.

load run.bash

# A synthesis on host $1 that is held in its tool.
submit_held() {
  new_syntheses 1
  hold_tool yosys
  cluster=(--sge "qsub -V -q all.q@$1")
  submit synth_1
  tool_started
  wait_until job_is "$job" r
}

# As if run $1 had last written five minutes ago.
be_silent() { find "proj/runs/$1" -exec touch -h -d '5 minutes ago' {} +; }

seen() { "$xp" -C proj status synth_1 --json | json '"; ".join(j["runs"][0]["evidence"]["seen"])'; }

# Somebody deletes the job, and nothing of it survives that.
delete_job() {
  qdel "$job" >/dev/null || :
  wait_until queue_is_empty
  "$cell_sh" end_jobs
  on_node1 "$(printf '%q end_jobs' "$cell_sh")"
}

@test "a deleted job on another host is lost after a silence, and runs again" {
  submit_held node1
  delete_job
  run_is synth_1 running
  be_silent synth_1
  run_is synth_1 lost
  [[ $(seen) == *"job $job isn't in the grid engine's queue"*'it last wrote 5 min ago'* ]]
  assert_nothing_done synth_1
  assert_no_job_left synth_1
  rm "$tool_dir/yosys"
  run -0 "$xp" -C proj launch synth_1 "${cluster[@]}"
  run_is synth_1 "done"
}

@test "a deleted job on this host is lost at once, and is taken back" {
  submit_held head
  delete_job
  [[ $(status_of synth_1 status) == @(lost|failed) ]]
  assert_nothing_done synth_1
  run -0 "$xp" -C proj reset synth_1
  run_is synth_1 'not started'
  assert_no_job_left synth_1
}

# The grid engine kills a job's own session; what left that lives on for jobs of root.
@test "what survives its deleted job on this host is a running run, and can be killed" {
  submit_held head
  qdel "$job" >/dev/null
  wait_until queue_is_empty
  [ -n "$(launch_processes)" ]
  run_is synth_1 running
  [[ $(seen) == *'process '*' of synth_design lives'* ]]
  run -0 "$xp" -C proj kill synth_1
  assert_no_job_left synth_1
}

@test "what survives its deleted job on another host holds the lock: the run isn't lost" {
  submit_held node1
  qdel "$job" >/dev/null
  wait_until queue_is_empty
  be_silent synth_1
  if [ -n "$(launch_processes)" ]; then
    [[ $(status_of synth_1 status) == @(running|unknown) ]]
  else
    run_is synth_1 lost
  fi
}

@test "a waiting xp hears that its job was deleted" {
  new_syntheses 1
  hold_tool yosys
  "$xp" -C proj launch synth_1 --sge 'qsub -V -q all.q@head' 3>&- 7>&- 8>&- >xp.out 2>xp.err &
  local waiting=$!
  tool_started
  job=$(jobs_in_queue)
  delete_job
  status=0
  wait "$waiting" || status=$?
  [ "$status" = 1 ]
  grep -E 'Run synth_1 (was lost|failed) in step synth_design' xp.err
  assert_nothing_done synth_1
}

@test "a silent job that the queue still has isn't lost" {
  submit_held node1
  be_silent synth_1
  run_is synth_1 running
  release_tool
  wait_until run_is synth_1 "done"
  wait_until queue_is_empty
}

@test "a silent run whose host is cut off or whose queue is away is unknown, not lost" {
  submit_held node1
  cut_link
  host_is_unknown() { [[ $(queue_state node1) == *u* ]]; }
  wait_until host_is_unknown
  be_silent synth_1
  # Its lock, on a file system that both hosts share, would tell.
  [[ $(status_of synth_1 status) == @(running|unknown) ]]
  [[ $(seen) == *"which doesn't hear of that host"* ]]
  lose_master
  [[ $(status_of synth_1 status) == @(running|unknown) ]]
  [[ $(seen) == *'unable to send message to qmaster'* ]]
  find_master
  heal_link
  release_tool
  wait_until run_is synth_1 "done"
  wait_until queue_is_empty
}

@test "a queued job that somebody deletes isn't queued for ever, and runs again" {
  new_syntheses 1
  cluster=(--sge 'qsub -V -q all.q@head')
  qmod -d '*' >/dev/null
  submit synth_1
  qdel "$job" >/dev/null
  wait_until queue_is_empty
  be_silent synth_1
  [[ $(status_of synth_1 status) != @(queued|running|done) ]]
  qmod -e '*' >/dev/null
  run -0 "$xp" -C proj launch synth_1 "${cluster[@]}"
  run_is synth_1 "done"
}

@test "a job of LSF that somebody deletes is lost" {
  PATH=$BATS_TEST_DIRNAME/lsf:$PATH
  new_syntheses 1
  hold_tool yosys
  cluster=(--lsf 'bsub -m node1')
  submit synth_1
  tool_started
  bkill -J "$project/runs/synth_1/runme.sh" >/dev/null
  delete_job
  be_silent synth_1
  run_is synth_1 lost
  [[ $(seen) == *'LSF has no unfinished job of this run'* ]]
  assert_nothing_done synth_1
}

@test "a kill that leaves processes on another host isn't told as one" {
  submit_held node1
  # Of the job, only what the grid engine doesn't end stays.
  on_node1 'pkill -KILL -f ZUMWrap.sh'
  run "$xp" -C proj kill synth_1
  if [ "$status" = 0 ]; then
    assert_no_job_left synth_1
  else
    assert_one_error "Run synth_1 isn't stopped: a process that can't be seen from here still runs"
    [[ $(status_of synth_1 status) == @(running|unknown) ]]
  fi
}
