#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# A grid engine that is away, hangs, or loses hosts and jobs: what is told stays true.

load run.bash

cluster=(--sge 'qsub -V -q all.q@head')

# A synthesis on head, or on the host $1, that is held in its tool.
submit_held() {
  new_syntheses 1
  hold_tool yosys
  cluster=(--sge "qsub -V -q all.q@${1:-head}")
  submit synth_1
  tool_started
  wait_until job_is "$job" r
}

host_is_unknown() { [[ $(queue_state "$1") == *u* ]]; }

@test "a run goes on while its execution daemon is dead, and is done" {
  submit_held
  kill -KILL "$(daemon execd)"
  wait_until host_is_unknown head
  run_is synth_1 running
  release_tool
  wait_until run_is synth_1 "done"
}

@test "a run that dies with its execution daemon is never told as done, and is lost when that is certain" {
  submit_held
  kill -KILL "$(daemon execd)"
  "$cell_sh" end_jobs
  [[ $(status_of synth_1 status) == @(running|unknown|lost) ]]
  "$cell_sh" start execd
  wait_until queue_is_empty
  [[ $(status_of synth_1 status) == @(lost|failed) ]]
  assert_nothing_done synth_1
  run -0 "$xp" -C proj reset synth_1
  assert_no_job_left synth_1
  rm "$tool_dir/yosys"
  run -0 "$xp" -C proj launch synth_1 "${cluster[@]}"
  run_is synth_1 "done"
}

@test "a kill waits for a host that is cut off, and is told as one when all has ended" {
  submit_held node1
  sed -i "2i trap '' TERM HUP INT USR1 USR2" "$tool_dir/yosys"
  cut_link
  "$xp" -C proj kill synth_1 3>&- 7>&- 8>&- 2>kill.err &
  local killing=$!
  wait_until host_is_unknown node1
  kill -0 "$killing"
  heal_link
  wait "$killing"
  assert_no_job_left synth_1
  run_is synth_1 stopped
}

@test "a killed step without an end is a failed run, not a running one" {
  submit_held
  kill -KILL "$tool_pid"
  wait_until run_is synth_1 failed
  wait_until queue_is_empty
  assert_no_job_left synth_1
}

@test "without the master nothing is launched, and that is told in its words" {
  new_syntheses 1
  lose_master
  run -6 "$xp" -C proj launch synth_1 --no-wait "${cluster[@]}"
  assert_one_error "Run synth_1 isn't launched" 'unable to send message to qmaster'
  run_is synth_1 'not started'
  find_master
  queue_is_empty
}

@test "while the master is away a run is neither lost nor done, and no kill is claimed" {
  submit_held
  local was=$launch_id
  lose_master
  [[ $(status_of synth_1 status) == @(running|unknown) ]]
  find_master
  wait_until job_is "$job" r
  lose_master
  release_tool fail
  wait_until run_is synth_1 failed
  find_master
  launch_id=$was
  wait_until queue_is_empty
  assert_no_job_left synth_1
}

@test "a kill of a queued job without the master fails, and works when it is back" {
  new_syntheses 1
  qmod -d '*' >/dev/null
  submit synth_1
  lose_master
  run -6 "$xp" -C proj kill synth_1
  assert_one_error "Run synth_1 isn't stopped" 'unable to send message to qmaster'
  [[ $(status_of synth_1 status) == @(queued|unknown) ]]
  find_master
  job_is "$job" qw
  run -0 "$xp" -C proj kill synth_1
  queue_is_empty
}

@test "a master that hangs doesn't hang xp" {
  submit_held
  hang_master
  [[ $(timeout 40 "$xp" -C proj status synth_1 --json | json 'j["runs"][0]["status"]') == @(running|unknown) ]]
  wake_master
  release_tool
  wait_until run_is synth_1 "done"
}

@test "a grid engine that lies about its jobs isn't believed" {
  submit_held
  local lie
  for lie in 'echo nonsense' 'echo "<?xml version=\"1.0\"?><job_info/>" | head -c 30' 'exit 3' 'yes'; do
    rm -f clients/qstat
    fake_client qstat <<<"$lie"
    [[ $(status_of synth_1 status) == @(running|unknown) ]]
  done
  rm -f clients/qstat
  hash -r
  job_is "$job" r
}

@test "a run directory that vanishes from under a queued job is told, and the job can be taken out" {
  new_syntheses 1
  qmod -d '*' >/dev/null
  submit synth_1
  rm -r proj/runs/synth_1
  qmod -e '*' >/dev/null
  is_in_error() { [[ $(job_state "$job") == *E* ]]; }
  wait_until is_in_error
  [[ $(status_of synth_1 status) != @(running|done) ]]
  qdel "$job" >/dev/null
  run -0 "$xp" -C proj launch synth_1 "${cluster[@]}"
  run_is synth_1 "done"
}
