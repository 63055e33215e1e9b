#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Many runs as one array of jobs of a real grid engine, and of LSF by stand-ins over it.

load run.bash

sge=(--sge 'qsub -V -q all.q')
lsf=(--lsf 'bsub -q medium')
lsf_clients=$BATS_TEST_DIRNAME/lsf

# The most tasks of array $1 that were seen at work at once while xp waited.
watch_array() {
  local now most=0
  while kill -0 "$xp_pid" 2>/dev/null; do
    now=$(qstat -u '*' -s r | awk -v id="$1" '$1 == id' | wc -l)
    [ "$now" -le "$most" ] || most=$now
    sleep 0.2
  done
  echo "$most"
}

# Four syntheses whose tools stay until release_tools, two of them at work.
launch_held() {
  new_syntheses 4
  gated_tool
  "$xp" -C proj launch --no-wait -j 2 "$@" 3>&- 7>&- 8>&- 2>submit.err ||
    { cat submit.err >&2; return 1; }
  wait_until eval '[ "$(statuses)" = "running running queued queued" ]'
}

release_tools() { touch "$tool_dir"/go.{1,2,3,4}; }

# A sweep of four seeds goes through as one array with the words $@ for the cluster.
sweep_through() {
  new_project
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj launch synth_1
  "$xp" -C proj sweep seeds --seeds 1-4
  "$xp" -C proj launch seeds -j 2 "$@" 3>&- 7>&- 8>&- >launch.out 2>&1 &
  xp_pid=$!
  wait_until eval '[ -s "$(echo proj/runs/seeds*4)/job.id" ]'
  job=$(cat proj/runs/seeds*1/job.id)
  job=${job%%[.[]*}
  most=$(watch_array "$job")
  wait "$xp_pid" || { cat launch.out; return 1; }
  [ "$most" -ge 1 ] || { cat launch.out; return 1; }
  [ "$most" -le 2 ]
  [ "$(statuses)" = 'done done done done done' ]
  [ "$(ls proj/runs/seeds*/*.bin | wc -l)" = 4 ]
  [ "$(cat proj/runs/seeds*/job.id.log | sort -u | wc -l)" = 1 ]
  wait_until queue_is_empty
}

# One task that runs and one that waits are killed, and the others go on.
kill_tasks() {
  run -0 "$xp" -C proj kill synth_1 synth_4
  read_launch synth_1
  [ -z "$(launch_processes)" ]
  run_is synth_2 running
  release_tools
  run -0 "$xp" -C proj wait synth_2 synth_3
  [ "$(statuses)" = 'stopped done done not started' ]
  wait_until queue_is_empty
}

@test "a sweep is one array of the grid engine with two at once, and every run is done" {
  sweep_through "${sge[@]}"
}

@test "tasks of the grid engine are killed one by one, and the others go on" {
  launch_held "${sge[@]}"
  kill_tasks
}

@test "a task that waits is taken out by a reset" {
  launch_held "${sge[@]}"
  run -0 "$xp" -C proj reset synth_3
  run_is synth_3 'not started'
  run_is synth_4 queued
  [ "$(qstat -u '*' -s p | awk '/xp_/ { print $NF }')" = 4 ]
}

@test "an array whose submission was cut off is found in the queue and submitted once" {
  new_syntheses 3
  qmod -d '*' >/dev/null
  fake_client qsub <<'END'
"$real" "$@" >/dev/null 2>&1
kill -9 $$
END
  "$xp" -C proj launch --no-wait -j 2 "${sge[@]}"
  [ "$(jobs_in_queue | sort -u | wc -l)" = 1 ]
  [ "$(cat proj/runs/synth_3/job.id)" = "$(jobs_in_queue | sort -u).3" ]
  qmod -e '*' >/dev/null
  run -0 "$xp" -C proj wait
  [ "$(statuses)" = 'done done done' ]
}

@test "a task that dies without a word is lost, and the others aren't" {
  launch_held "${sge[@]}"
  job=$(cat proj/runs/synth_1/job.id)
  qdel "${job%.*}" -t 1 >/dev/null
  read_launch synth_1
  wait_until eval '[ -z "$(qstat -u "*" -s r | awk -v id='"${job%.*}"' "\$1 == id && \$NF == 1")" ]'
  bash -c "grep -alzx XPERIMENT_LAUNCH=$launch_id /proc/[0-9]*/environ 2>/dev/null" | cut -d/ -f3 |
    xargs -r kill -9
  on_node1 "grep -alzx XPERIMENT_LAUNCH=$launch_id /proc/[0-9]*/environ 2>/dev/null | cut -d/ -f3 | xargs -r kill -9"
  find proj/runs/synth_1 -exec touch -h -d '5 minutes ago' {} +
  run_is synth_1 lost
  run_is synth_2 running
}

@test "the kill command of other programs ends one task" {
  launch_held "${sge[@]}"
  run -0 "$build_dir/bin/xp_qdel" "$(cat proj/runs/synth_2/job.id)"
  [ "$(qstat -u '*' | awk '/xp_/ && $NF == 2' | wc -l)" = 0 ]
  run_is synth_1 running
}

@test "a task that can't win is ended on its host, and its place is given to the next" {
  new_project
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj launch synth_1
  "$xp" -C proj sweep n --seeds 1-2
  hold_tool nextpnr-ice40
  "$xp" -C proj launch n -j 1 "${sge[@]}" --abandon 'fmax < 4000' 3>&- 7>&- 8>&- \
    >launch.out 2>&1 &
  xp_pid=$!
  tool_started
  job=$(cat proj/runs/n_Default_s1/job.id)
  [ "$(cat proj/runs/n_Default_s2/job.id)" = "${job%.1}.2" ]
  read_launch n_Default_s1
  release_tool
  # Its routing would hang.
  wait_until run_is n_Default_s1 abandoned
  [ -z "$(launch_processes)" ]
  release_tool
  wait "$xp_pid" || { cat launch.out; return 1; }
  [ "$(statuses)" = 'done abandoned abandoned' ]
  wait_until queue_is_empty
}

@test "a sweep is one array of LSF, and every run is done" {
  PATH=$lsf_clients:$PATH
  sweep_through "${lsf[@]}"
}

@test "tasks of LSF are killed one by one, and the others go on" {
  PATH=$lsf_clients:$PATH
  launch_held "${lsf[@]}"
  [[ $(cat proj/runs/synth_1/job.id) == *'[1]' ]]
  kill_tasks
}
