#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Runs as jobs of LSF: its client programs are stand-ins over the real grid engine.

load run.bash

PATH=$BATS_TEST_DIRNAME/lsf:$PATH
cluster=(--lsf 'bsub -m head -q medium')

@test "a design goes from Verilog to a bitstream by LSF's usual command" {
  new_project_with_runs
  run -0 --separate-stderr "$xp" -C proj launch --lsf 'bsub -R select[type=X86_64] -N -q medium'
  [ -s proj/runs/impl_1/blinky.bin ]
  run_is synth_1 "done"
  run_is impl_1 "done"
  grep -F 'Executing SYNTH_ICE40 pass' proj/runs/synth_1/runme.log
  read_launch impl_1
  wait_until queue_is_empty
  assert_no_job_left impl_1
}

@test "a job is pending, runs and is done, and bears the path of its script" {
  new_syntheses 1
  hold_tool yosys
  qmod -d '*' >/dev/null
  submit synth_1
  run -0 bjobs -w -J "$project/runs/synth_1/runme.sh"
  [[ ${lines[1]} == "$job "*' PEND '* ]]
  run_is synth_1 queued
  qmod -e '*' >/dev/null
  tool_started
  run_is synth_1 running
  release_tool
  run -0 "$xp" -C proj wait
  run_is synth_1 "done"
  wait_until queue_is_empty
}

@test "a job whose tool fails is a failed run" {
  new_syntheses 1
  echo 'module blinky (' >blinky.v
  run -1 "$xp" -C proj launch "${cluster[@]}"
  run_is synth_1 failed
  assert_nothing_done synth_1
  wait_until queue_is_empty
}

@test "a pending job is taken out of the queue" {
  new_syntheses 1
  qmod -d '*' >/dev/null
  submit synth_1
  run -0 "$xp" -C proj kill synth_1
  assert_no_job_left synth_1
  [[ $(status_of synth_1 status) != @(queued|running|done) ]]
}

@test "a running job is stopped on its host" {
  new_syntheses 1
  hold_tool yosys
  cluster=(--lsf 'bsub -m node1')
  submit synth_1
  tool_started
  rm proj/runs/synth_1/job.id
  run -0 "$xp" -C proj kill synth_1
  assert_no_job_left synth_1
  run_is synth_1 stopped
}

@test "what LSF says against a job is told, and there is none" {
  new_syntheses 1
  run -6 "$xp" -C proj launch synth_1 --no-wait --lsf 'bsub -q short'
  assert_one_error "Run synth_1 isn't launched" 'short: No such queue. Job not submitted.'
  queue_is_empty
  run_is synth_1 'not started'
}

@test "a command that LSF could not take is refused before anything is touched" {
  new_syntheses 1
  local command
  for command in 'bsub -I' 'bsub -J name' 'bsub -K' no-such-bsub; do
    run -6 "$xp" -C proj launch synth_1 --lsf "$command"
    assert_one_error "can't be launched on LSF"
  done
  queue_is_empty
}

@test "while LSF is down a run is neither lost nor done, and no kill is claimed" {
  new_syntheses 1
  qmod -d '*' >/dev/null
  submit synth_1
  lose_master
  [[ $(status_of synth_1 status) == @(queued|unknown) ]]
  run -6 "$xp" -C proj kill synth_1
  assert_one_error "Run synth_1 isn't stopped" 'LSF is down'
  find_master
  job_is "$job" qw
  run -0 "$xp" -C proj kill synth_1
  queue_is_empty
}
