#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Runs as jobs of a real grid engine.

load run.bash

# -V takes the search path of the test along, with the tools that it holds.
cluster=(--sge 'qsub -V -q all.q@head')

@test "a design goes from Verilog to a bitstream on the grid engine" {
  new_project_with_runs
  run -0 --separate-stderr "$xp" -C proj launch --sge 'qsub -q all.q@node1'
  [ -s proj/runs/impl_1/blinky.bin ]
  run_is synth_1 "done"
  run_is impl_1 "done"
  grep -F 'Host="node1"' proj/runs/impl_1/.ice40_route.begin.rst
  grep -F 'Executing SYNTH_ICE40 pass' proj/runs/synth_1/runme.log
  read_launch impl_1
  wait_until queue_is_empty
  assert_no_job_left impl_1
}

@test "a job is queued, runs and is done, as the grid engine has it" {
  new_syntheses 1
  hold_tool yosys
  qmod -d '*' >/dev/null
  submit synth_1
  [ "$(cat submit.err)" = "synth_1: submitted as job $job" ]
  job_is "$job" qw
  run_is synth_1 queued
  [ "$(tail -c 1 proj/runs/synth_1/job.id)" = "${job: -1}" ]
  qmod -e '*' >/dev/null
  tool_started
  wait_until job_is "$job" r
  run_is synth_1 running
  [ "$(status_of synth_1 step)" = synth_design ]
  release_tool
  run -0 "$xp" -C proj wait
  run_is synth_1 "done"
  wait_until queue_is_empty
  assert_no_job_left synth_1
}

@test "a job waits for a free slot, and shows as queued" {
  new_syntheses 1
  local holder=(qsub -q all.q@head -S /bin/sh -o /dev/null -j y -N holder)
  "${holder[@]}" <<<'exec sleep 1000' >/dev/null
  "${holder[@]}" <<<'exec sleep 1000' >/dev/null
  submit synth_1
  job_is "$job" qw
  run_is synth_1 queued
  qdel -u root >/dev/null
}

@test "a job whose tool fails is a failed run" {
  new_syntheses 1
  echo 'module blinky (' >blinky.v
  run -1 "$xp" -C proj launch "${cluster[@]}"
  assert_one_error 'synth_1'
  run_is synth_1 failed
  assert_nothing_done synth_1
  wait_until queue_is_empty
}

@test "a queued job is taken out of the queue" {
  new_syntheses 1
  qmod -d '*' >/dev/null
  submit synth_1
  run -0 "$xp" -C proj kill synth_1
  assert_no_job_left synth_1
  qmod -e '*' >/dev/null
  [ ! -e proj/runs/synth_1/.ice40_synth.begin.rst ]
  [[ $(status_of synth_1 status) != @(queued|running|done) ]]
}

@test "a running job is stopped on its host, with all that it started" {
  new_syntheses 1
  hold_tool yosys
  cluster=(--sge 'qsub -V -q all.q@node1')
  submit synth_1
  tool_started
  [ -n "$(launch_processes)" ]
  run -0 "$xp" -C proj kill synth_1
  assert_no_job_left synth_1
  run_is synth_1 stopped
  assert_nothing_done synth_1
}

@test "a tool that ignores TERM is killed in its job" {
  new_syntheses 1
  hold_tool yosys
  sed -i "2i trap '' TERM HUP INT USR1 USR2" "$tool_dir/yosys"
  submit synth_1
  tool_started
  run -0 "$xp" -C proj kill synth_1
  assert_no_job_left synth_1
  run_is synth_1 stopped
}

@test "a stopped run is launched again, on the grid engine or here" {
  new_syntheses 1
  hold_tool yosys
  submit synth_1
  tool_started
  "$xp" -C proj kill synth_1
  rm "$tool_dir/yosys"
  run -0 "$xp" -C proj launch synth_1
  run_is synth_1 "done"
  [ ! -e proj/runs/synth_1/job.id ]
  "$xp" -C proj reset synth_1
  run -0 "$xp" -C proj launch synth_1 "${cluster[@]}"
  run_is synth_1 "done"
  wait_until queue_is_empty
}

@test "a reset with a kill takes a running job back" {
  new_syntheses 1
  hold_tool yosys
  cluster=(--sge 'qsub -V -q all.q@node1')
  submit synth_1
  tool_started
  run -6 "$xp" -C proj reset synth_1
  wait_until job_is "$job" r
  run -0 "$xp" -C proj reset synth_1 --kill
  run_is synth_1 'not started'
  assert_no_job_left synth_1
}

@test "a run in the queue isn't launched twice" {
  new_syntheses 1
  qmod -d '*' >/dev/null
  submit synth_1
  run -6 "$xp" -C proj launch synth_1 "${cluster[@]}"
  assert_one_error synth_1
  run -6 "$xp" -C proj launch synth_1
  assert_one_error synth_1
  [ "$(jobs_in_queue)" = "$job" ]
}

@test "what the grid engine says against a job is told, and there is none" {
  new_syntheses 1
  run -6 "$xp" -C proj launch synth_1 --no-wait --sge 'qsub -q nowhere.q'
  assert_one_error "Run synth_1 isn't launched" 'Job was rejected because job requests unknown queue "nowhere.q"'
  queue_is_empty
  run_is synth_1 'not started'
  [ ! -e proj/runs/synth_1/job.id ]
}

@test "a command that submits no single job at once is refused before anything is touched" {
  new_syntheses 1
  local command
  for command in /usr/bin/qsub 'qsub -t 1-3' 'qsub -sync y' 'bsub'; do
    run -6 "$xp" -C proj launch synth_1 --sge "$command"
    assert_one_error "can't be launched on the grid engine"
  done
  queue_is_empty
  [ ! -e proj/runs/synth_1/runme.sh ]
}

@test "a killed xp loses nothing of a running job" {
  new_syntheses 1
  hold_tool yosys
  "$xp" -C proj launch synth_1 "${cluster[@]}" 3>&- 7>&- 8>&- >/dev/null 2>&1 &
  local waiting=$!
  tool_started
  kill -KILL "$waiting"
  run_is synth_1 running
  release_tool
  run -0 "$xp" -C proj wait
  run_is synth_1 "done"
}

@test "with xp killed before it knows the job, the next xp finds the job by its name" {
  new_syntheses 1
  qmod -d '*' >/dev/null
  fake_client qsub <<<'"$real" "$@" >/dev/null; kill -KILL "$PPID"'
  run -137 "$xp" -C proj launch synth_1 --no-wait "${cluster[@]}"
  [ ! -e proj/runs/synth_1/job.id ]
  run_is synth_1 queued
  run -6 "$xp" -C proj launch synth_1 --no-wait "${cluster[@]}"
  [ "$(jobs_in_queue | wc -l)" = 1 ]
  run -0 "$xp" -C proj kill synth_1
  queue_is_empty
}

@test "a submission that fails though the job was taken makes one job" {
  new_syntheses 1
  fake_client qsub <<<'"$real" "$@" >/dev/null; echo "lost my way" >&2; exit 1'
  run -0 "$xp" -C proj launch synth_1 "${cluster[@]}"
  run_is synth_1 "done"
  [ "$(cat proj/runs/synth_1/job.id)" -gt 0 ]
}

@test "without its number a job is found and killed all the same" {
  new_syntheses 1
  hold_tool yosys
  submit synth_1
  tool_started
  rm proj/runs/synth_1/job.id
  run_is synth_1 running
  run -0 "$xp" -C proj kill synth_1
  assert_no_job_left synth_1
}

@test "a number that is another job's ends no other job" {
  new_syntheses 1
  hold_tool yosys
  submit synth_1
  tool_started
  local other
  other=$(qsub -terse -q all.q@node1 -S /bin/sh -o /dev/null -j y -N other <<<'exec sleep 1000')
  local id
  for id in "$other" "$other"$'\n' '' "$job $other" -u "$(head -c 100000 /dev/zero | tr '\0' 1)"; do
    printf %s "$id" >proj/runs/synth_1/job.id
    run_is synth_1 running
  done
  printf %s "$other" >proj/runs/synth_1/job.id
  run -0 "$xp" -C proj kill synth_1
  [ "$(jobs_in_queue)" = "$other" ]
  qdel "$other" >/dev/null
  wait_until queue_is_empty
  assert_no_job_left synth_1
}

@test "a job that comes late to a run launched anew ends without a trace" {
  new_syntheses 1
  qmod -d '*' >/dev/null
  submit synth_1
  rm -r proj/runs/synth_1
  run -0 "$xp" -C proj launch synth_1
  touch stamp
  qmod -e '*' >/dev/null
  wait_until queue_is_empty
  run_is synth_1 "done"
  [ -z "$(find proj/runs/synth_1 -name '.*.rst' -newer stamp)" ]
}

@test "queued and running jobs are stopped at one word" {
  new_syntheses 2
  hold_tool yosys
  submit synth_1
  tool_started
  qmod -d '*' >/dev/null
  submit synth_2
  run -0 "$xp" -C proj kill --all
  queue_is_empty
  assert_no_job_left synth_1
  assert_no_job_left synth_2
}

@test "the kill command of the cluster configuration ends jobs of runs, and no others" {
  new_syntheses 1
  hold_tool yosys
  local other kill=$build_dir/bin/xp_qdel
  other=$(qsub -terse -q all.q@node1 -S /bin/sh -o /dev/null -j y -N other <<<'exec sleep 1000')
  submit synth_1
  tool_started
  run ! "$kill" "$other"
  [[ $output == *"job $other is called other"* ]]
  run ! "$kill" "$job "
  run ! "$kill" "-u root"
  run -0 "$kill" "$job"
  [ "$(jobs_in_queue)" = "$other" ]
  # One that has ended is no error: it is what was asked for.
  run -0 "$kill" "$job"
}
