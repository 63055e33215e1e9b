# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Many runs as one array of jobs, with client programs that behave like those of a grid engine
# and of LSF.

load xp.bash
load clients.bash

teardown() { end_runs; }

# What the tools wrote when they began: how many of them were at work.
most_at_once() { sort -n "$tool_dir/at_once" | tail -n 1; }

# A tool $1 that tells how many of it are at work before it becomes the real one.
counting_tool() {
  fake_tool "$1" <<'TOOL'
here=${0%/*}
case $1 in --version | -V) ;; *)
  (flock 9; echo $$ >>"$here/now"; wc -l <"$here/now" >>"$here/at_once") 9>"$here/lock"
  read -r -t 0.3 <>"$here/never"
  (flock 9; sed -i 1d "$here/now") 9>"$here/lock"
esac
PATH=${PATH#*"$here":}
exec "${0##*/}" "$@"
TOOL
}

@test "runs launched together are one array, with no more at work than is said" {
  new_syntheses 5
  make_grid
  counting_tool yosys
  run -0 "$xp" -C proj launch -j 2 --sge 'qsub -q all.q'
  [[ $output == *'synth_5: done in '* ]]
  [ "$(statuses)" = 'done done done done done' ]
  [ "$(cat "$grid/last")" = 12 ]
  [ "$(most_at_once)" = 2 ]
  [ "$(cat proj/runs/synth_1/job.id) $(cat proj/runs/synth_5/job.id)" = '12.1 12.5' ]
  grep -q 'Your job-array 12.1-5:1 ' proj/runs/synth_3/job.id.log
  # Each has a launch and a log of its own.
  [ "$(cat proj/runs/*/.launch.xml | grep -o ' Id="[^"]*"' | sort -u | wc -l)" = 5 ]
  [ "$(grep -l 'End of script' proj/runs/*/runme.log | wc -l)" = 5 ]
}

@test "the implementations of a sweep are one array when their synthesis is done" {
  new_project
  make_grid
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj sweep seeds --seeds 1-3
  run -0 "$xp" -C proj launch -j 2 --sge qsub
  [ "$(statuses)" = 'done done done done' ]
  [ "$(cat proj/runs/synth_1/job.id)" = 12 ]
  [ "$(cat proj/runs/seeds*/job.id | tr -d '\n')" = 13.113.213.3 ]
  grep -q 'JobName="xp_seeds_' "$(echo proj/runs/seeds*1/.launch.xml)"
}

@test "behind syntheses that are at work others are submitted as there is room" {
  new_project
  make_grid
  counting_tool nextpnr-ice40
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj create synth_2 --flow synth --strategy Area
  "$xp" -C proj sweep seeds --synth synth_1,synth_2 --seeds 1-2
  run -0 "$xp" -C proj launch -j 2 --sge qsub
  [ "$(statuses)" = 'done done done done done done' ]
  [ "$(most_at_once)" -le 2 ]
}

@test "a launch in Tcl is one array too" {
  new_syntheses 3
  make_grid
  cat >launch.tcl <<'TCL'
project open proj
run launch -sge {qsub -q all.q} -jobs 2
puts [run wait]
TCL
  run -0 --separate-stderr "$xp" tcl launch.tcl
  [ "$output" = 'synth_1 done synth_2 done synth_3 done' ]
  [ "$(cat proj/runs/*/job.id | tr -d '\n')" = 12.112.212.3 ]
}

@test "a kill ends one task, whether it runs or waits, and the others go on" {
  new_syntheses 4
  make_grid
  gated_tool
  run -0 "$xp" -C proj launch -j 2 --no-wait --sge qsub
  [[ $output == *'synth_2: submitted as job 12.2'* ]]
  wait_until statuses_are 'running running queued queued'
  run -0 "$xp" -C proj kill synth_1
  [[ $output == *'job 12.1 ended in '* ]]
  run -0 "$xp" -C proj kill synth_4
  for n in 2 3; do touch "$tool_dir/go.$n"; done
  run -0 "$xp" -C proj wait synth_2 synth_3
  [ "$(statuses)" = 'stopped done done not started' ]
  wait_until jobs_are '*'
}

@test "a reset takes a task back that waits, and it is launched again alone" {
  new_syntheses 3
  make_grid
  touch "$grid/held"
  "$xp" -C proj launch -j 2 --no-wait --sge qsub
  run -0 "$xp" -C proj reset synth_2
  jobs_are '12.1 12.3'
  [ "$(statuses)" = 'queued not started queued' ]
  rm "$grid/held"
  run -0 "$xp" -C proj launch synth_2
  run_is synth_2 "done"
  [ ! -e proj/runs/synth_2/job.id ]
}

@test "a task that comes up for a run that was reset touches nothing" {
  new_syntheses 2
  make_grid
  touch "$grid/held"
  "$xp" -C proj launch -j 1 --no-wait --sge qsub
  local script before
  script=$(echo proj/.xperiment/arrays/*.sh)
  # The grid engine has forgotten the array, and hasn't.
  mv "$grid/jobs" "$grid/gone"
  mkdir "$grid/jobs"
  "$xp" -C proj reset synth_1
  before=$(ls -A proj/runs/synth_1)
  SGE_TASK_ID=1 run -0 sh "$script"
  [ "$(ls -A proj/runs/synth_1)" = "$before" ]
  run_is synth_1 'not started'
}

@test "a lost task is told as lost, and the others aren't" {
  new_syntheses 2
  make_grid
  gated_tool
  "$xp" -C proj launch -j 2 --no-wait --sge qsub
  wait_until statuses_are 'running running'
  rm "$grid/jobs/12.1"
  read_launch synth_1
  grep -alzx "XPERIMENT_LAUNCH=$launch_id" /proc/[0-9]*/environ 2>/dev/null | cut -d/ -f3 |
    xargs kill -9
  find proj/runs -exec touch -h -d '10 minutes ago' {} +
  run_is synth_1 lost
  run_is synth_2 running
}

@test "an array whose submission is cut off is found again and never submitted twice" {
  new_syntheses 2
  make_grid
  touch "$grid/held" "$grid/silent"
  run -0 "$xp" -C proj launch -j 2 --no-wait --sge qsub
  [[ $output == *'synth_2: submitted as job 12.2'* ]]
  [ "$(cat "$grid/last")" = 12 ]
  jobs_are '12.1 12.2'
}

@test "an array of which nobody knows shows as queued, is warned of once, and is found later" {
  new_syntheses 2
  make_grid
  touch "$grid/held" "$grid/silent" "$grid/away"
  run -0 "$xp" -C proj launch -j 2 --no-wait --sge qsub
  [ "$(grep -c "Whether the grid engine took runs synth_1, synth_2 isn't known" <<<"$output")" = 1 ]
  [ "$(statuses)" = 'queued queued' ]
  rm "$grid/away"
  run -0 "$xp" -C proj kill --all
  jobs_are '*'
}

@test "a refusal of an array is told once" {
  new_syntheses 2
  make_grid
  echo 'Unable to run job: unknown queue "nono.q".' >"$grid/refuse"
  run -6 "$xp" -C proj launch -j 2 --no-wait --sge 'qsub -q nono.q'
  assert_one_error "Runs synth_1, synth_2 aren't launched, as the grid engine refuses their array of jobs: Unable to run job: unknown queue"
  [ "$(statuses)" = 'not started not started' ]
  jobs_are '*'
}

@test "an array on LSF works to its end, and its tasks are killed by number" {
  new_syntheses 3
  make_lsf_with_bjobs
  gated_tool
  "$xp" -C proj launch -j 2 --no-wait --lsf 'bsub -q medium'
  [ "$(cat proj/runs/synth_3/job.id)" = '12[3]' ]
  wait_until statuses_are 'running running queued'
  run -0 "$xp" -C proj kill synth_2
  [[ $output == *'job 12[2] ended in '* ]]
  for n in 1 3; do touch "$tool_dir/go.$n"; done
  run -0 "$xp" -C proj wait
  [ "$(statuses)" = 'done stopped done' ]
}

@test "what can't be an array is refused before anything is touched" {
  new_syntheses 2
  make_lsf
  run -6 "$xp" -C proj launch -j 2 --lsf 'bsub -q medium'
  assert_one_error 'Without bjobs no task of an array can be found'
  run -6 "$xp" -C proj launch -j 2 --sge 'qsub -tc 3'
  assert_one_error "The switch -tc can't be used with -j"
  run -6 "$xp" -C proj launch --sge 'qsub -t 1-3'
  assert_one_error "The switch -t can't be used"
  run -2 "$xp" -C proj launch -j 2 --no-wait
  assert_one_error '--jobs excludes --no-wait'
  [ ! -e proj/runs ]
}
