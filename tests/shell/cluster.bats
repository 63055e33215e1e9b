# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Launches on clusters, with client programs that behave like those of a grid engine and of
# LSF.

load xp.bash
load clients.bash

@test "a launch on a grid engine waits for its jobs and tells their results" {
  new_project_with_runs
  make_grid
  run "$xp" -C proj launch --sge 'qsub -q all.q'
  [ "$status" = 0 ]
  [[ $output == *'impl_1: done in '* ]]
  run_is synth_1 "done"
  run_is impl_1 "done"
  [ "$(od -An -c "$project/runs/synth_1/job.id")" = '   1   2' ]
  grep -q 'Your job 12 ' "$project/runs/synth_1/job.id.log"
  grep -q '<Way Kind="sge" Command="qsub -q all.q" JobName="xp_synth_1_' \
    "$project/runs/synth_1/.launch.xml"
}

@test "a launch without waiting tells the job, and the run is queued until its script begins" {
  new_project_with_runs
  make_grid
  touch "$grid/held"
  run "$xp" -C proj launch synth_1 --no-wait --sge qsub
  [ "$status" = 0 ]
  [[ $output == 'synth_1: submitted as job 12' ]]
  touch -d '2 hours ago' "$project"/runs/synth_1/.*.queue.rst
  run_is synth_1 queued
}

@test "a kill takes a job back that waits" {
  new_project_with_runs
  make_grid
  touch "$grid/held"
  "$xp" -C proj launch synth_1 --no-wait --sge qsub
  run "$xp" -C proj kill synth_1
  [ "$status" = 0 ]
  [[ $output == 'synth_1: taken back before it began: job 12 ended in '*' ms' ]]
  jobs_are '*'
  run_is synth_1 'not started'
}

@test "a kill ends a job that runs and says in which step" {
  new_project_with_runs
  make_grid
  fake_tool yosys <<<'begun; hang'
  launch_fake_on_grid synth_1
  run "$xp" -C proj kill synth_1
  [ "$status" = 0 ]
  [[ $output == 'synth_1: stopped in synth_design: job 12 ended in '*' ms' ]]
  jobs_are '*'
  run_is synth_1 stopped
}

launch_fake_on_grid() {
  "$xp" -C proj launch "$1" --no-wait --sge qsub 8>&-
  tool_started
}

@test "a kill while the scheduler is away never says stopped" {
  new_project_with_runs
  make_grid
  touch "$grid/held"
  "$xp" -C proj launch synth_1 --no-wait --sge qsub
  touch "$grid/away"
  run "$xp" -C proj kill synth_1
  [ "$status" = 6 ]
  assert_one_error "isn't stopped" 'error: unable to contact qmaster'
  run_is synth_1 queued
  jobs_are 12
}

@test "a reset of a run that waits takes its job back first" {
  new_project_with_runs
  make_grid
  touch "$grid/held"
  "$xp" -C proj launch synth_1 --no-wait --sge qsub
  run "$xp" -C proj reset synth_1
  [ "$status" = 0 ]
  jobs_are '*'
  run_is synth_1 'not started'
  [ ! -e "$project/runs/synth_1/job.id" ]
}

@test "a refusal is told in the scheduler's own words and leaves nothing launched" {
  new_project_with_runs
  make_grid
  echo 'Unable to run job: unknown queue "nono.q".' >"$grid/refuse"
  run "$xp" -C proj launch synth_1 --no-wait --sge 'qsub -q nono.q'
  [ "$status" = 6 ]
  assert_one_error "Run synth_1 isn't launched, as the grid engine refuses its job: Unable to run job: unknown queue \"nono.q\"."
  run_is synth_1 'not started'
  jobs_are '*'
}

@test "a submission that is cut off finds its job again and doesn't submit another" {
  new_project_with_runs
  make_grid
  touch "$grid/held" "$grid/silent"
  run "$xp" -C proj launch synth_1 --no-wait --sge qsub
  [ "$status" = 0 ]
  [[ $output == *'synth_1: submitted as job 12' ]]
  jobs_are 12
}

@test "a submission of which nobody knows shows as queued and is warned of" {
  new_project_with_runs
  make_grid
  touch "$grid/held" "$grid/silent" "$grid/away"
  run "$xp" -C proj launch synth_1 --no-wait --sge qsub
  [ "$status" = 0 ]
  [[ $output == *"Whether the grid engine took run synth_1 isn't known: it was killed by signal 9."* ]]
  run_is synth_1 queued
  rm "$grid/away"
  "$xp" -C proj kill synth_1
  jobs_are '*'
}

@test "a job goes on when xp is killed, and the next xp shows its true state" {
  new_project_with_runs
  make_grid
  fake_tool yosys <<<'begun; hang'
  "$xp" -C proj launch synth_1 --sge qsub 8>&- 3>&- &
  tool_started
  kill -9 $!
  run_is synth_1 running
  "$xp" -C proj kill synth_1
  run_is synth_1 stopped
}

@test "a command that can't submit is refused before anything is touched" {
  new_project_with_runs
  make_grid
  run "$xp" -C proj launch --sge "$grid/bin/qsub"
  [ "$status" = 6 ]
  assert_one_error "is not a valid SGE executable. 'qsub' is the only SGE executable"
  run "$xp" -C proj launch --lsf 'bsub -Is'
  [ "$status" = 6 ]
  assert_one_error 'bsub could not be found.'
  run "$xp" -C proj launch --sge ' '
  [ "$status" = 2 ]
  [ ! -e "$project/runs" ]
}

@test "a launch goes to one place" {
  new_project_with_runs
  for other in '--lsf bsub' '--host node7'; do
    run "$xp" -C proj launch --sge qsub $other
    [ "$status" = 2 ]
  done
}

@test "the kill command ends the job of a run and no other" {
  make_grid
  echo thesis >"$grid/jobs/12"
  echo xp_synth_1_0123 >"$grid/jobs/13"
  kill_command=$build_dir/bin/xp_qdel
  run "$kill_command" 12
  [ "$status" = 1 ]
  [ "$output" = "xp_qdel: error: job 12 is called thesis and isn't one of a run" ]
  run "$kill_command" '13 12'
  [ "$status" = 1 ]
  jobs_are '12 13'
  run "$kill_command" 13
  [ "$status" = 0 ]
  jobs_are 12
  run "$kill_command"
  [ "$status" = 2 ]
}

@test "a launch on LSF is killed by the path of its script" {
  new_project_with_runs
  make_lsf
  touch "$grid/held"
  run "$xp" -C proj launch synth_1 --no-wait --lsf 'bsub -q medium'
  [ "$status" = 0 ]
  [ "$output" = 'synth_1: submitted as job 12' ]
  [ "$(cat "$grid/jobs/12")" = "$project/runs/synth_1/runme.sh" ]
  run_is synth_1 queued
  run "$xp" -C proj kill synth_1
  [ "$status" = 0 ]
  jobs_are '*'
}

@test "LSF is asked first to write to the project's folder, if the user wants that" {
  new_project_with_runs
  make_lsf
  touch "$grid/held"
  client bsub <<'END'
echo "$*" >>"$grid/calls"
[ "${*: -2:1}" != touch ] || { touch "${*: -1}"; exit; }
for word; do :; done
echo "$word" >"$grid/jobs/12"
echo 'Job <12> is submitted to queue <medium>.'
END
  run "$xp" -C proj launch synth_1 --no-wait --lsf 'bsub -q medium' --test-folder
  [ "$status" = 0 ]
  [ "$(sed -n 1p "$grid/calls")" = "-q medium touch $project/lsf_config_test.txt" ]
  [ ! -e "$project/lsf_config_test.txt" ]
  run_is synth_1 queued
  run "$xp" -C proj launch synth_1 --test-folder
  [ "$status" = 2 ]
}

@test "a launch on LSF runs to its end" {
  new_project_with_runs
  make_lsf
  run "$xp" -C proj launch synth_1 --lsf 'bsub -q medium'
  [ "$status" = 0 ]
  run_is synth_1 "done"
}
