# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# What was launched is remembered, and what is cleared can be brought back.

# A synthesis tool that is done at once, see faults.bash.
load "$BATS_TEST_DIRNAME/../faults/faults.bash"

launches_of() { "$xp" -C proj history "$@" --json; }

# How many launches the history of $1 has.
launch_count() {
  launches_of "$@" | "$python" -c 'import json, sys; print(len(json.load(sys.stdin)["launches"]))'
}

@test "a launch stands in the history once, whoever looks" {
  new_quick_project
  [ "$(launch_count)" = 0 ]
  "$xp" -C proj launch
  "$xp" -C proj status
  "$xp" -C proj wait
  [ "$(launch_count)" = 1 ]
  run -0 launches_of synth_1
  assert_schema history
  [[ $output == *'"outcome": "done"'* ]]
  # What the netlist says that made it.
  [[ $output == *'"tool": "quick 1"'* ]]
  [ "$(wc -l <$run_dir/.launches.jsonl)" = 1 ]
}

@test "a launch that nobody waited for is remembered by the next who looks" {
  new_quick_project
  "$xp" -C proj launch --no-wait
  "$xp" -C proj wait
  "$xp" -C proj status
  [ "$(wc -l <$run_dir/.launches.jsonl)" = 1 ]
}

@test "a launch that nobody waited for is remembered by a list of the runs" {
  new_quick_project
  "$xp" -C proj launch
  cp "$run_dir/.launches.jsonl" launches
  rm "$run_dir/.launches.jsonl"
  run -0 --separate-stderr "$xp" -C proj ls
  [ -z "$stderr" ]
  # With the figures of the reports, as the launch itself wrote it.
  cmp launches "$run_dir/.launches.jsonl"
  "$xp" -C proj ls
  cmp launches "$run_dir/.launches.jsonl"
}

@test "the history tells what changed since the launch before" {
  new_quick_project
  "$xp" -C proj launch
  "$xp" -C proj set synth_1 abc9=true
  "$xp" -C proj launch
  run -0 --separate-stderr "$xp" -C proj history
  [ "${#lines[@]}" = 3 ]
  [[ ${lines[1]} == *'synth_design.abc9: default -> true' ]]
  [[ ${lines[2]} == *' -' ]]
  run -0 --separate-stderr "$xp" -C proj history --limit 1
  [ "${#lines[@]}" = 2 ]
  run -0 --separate-stderr "$xp" -C proj history --since 2999-01-01
  [ -z "$output" ]
  [ "$stderr" = 'No launch is remembered since 2999-01-01' ]
}

@test "the history goes from night to night" {
  new_quick_project
  "$xp" -C proj launch
  run -0 "$xp" -C proj history --nights --json
  assert_schema history
  run -0 --separate-stderr "$xp" -C proj history --nights
  [ "${#lines[@]}" = 2 ]
  [[ ${lines[1]} == *synth_1*1*0* ]]
}

@test "the history refuses what it doesn't know" {
  new_quick_project
  run -6 "$xp" -C proj history nobody
  run -2 --separate-stderr "$xp" -C proj history --since yesterday
  [[ $stderr == *'2026-11-20'* ]]
  run -2 "$xp" -C proj history --since 2026-02-31
}

@test "the history outlives its database, resets and removals" {
  new_quick_project
  "$xp" -C proj launch
  "$xp" -C proj reset synth_1
  [ "$(launch_count)" = 1 ]
  echo 'no database' >proj/.xperiment/history.sqlite
  [ "$(launch_count)" = 1 ]
  "$xp" -C proj rm synth_1
  rm -f proj/.xperiment/history.sqlite
  [ "$(launch_count synth_1)" = 1 ]
}

@test "several look at the history at once" {
  new_quick_project
  "$xp" -C proj launch
  rm -rf proj/.xperiment
  local pids=() pid
  for _ in 1 2 3 4 5 6; do
    "$xp" -C proj history >"out.$RANDOM.$RANDOM" &
    pids+=($!)
  done
  for pid in "${pids[@]}"; do wait "$pid"; done
  for out in out.*; do [ "$(wc -l <"$out")" = 2 ]; done
  [ "$(launch_count)" = 1 ]
}

@test "a reset is taken back, and that too" {
  new_quick_project
  "$xp" -C proj launch
  cp -a $run_dir kept
  "$xp" -C proj reset synth_1
  run_is synth_1 'not started'
  run -0 --separate-stderr "$xp" -C proj undo
  [[ $stderr == *'-reset: taken back (synth_1). Next: xp status; to undo this: xp undo' ]]
  run_is synth_1 'done'
  diff -r kept $run_dir
  "$xp" -C proj undo
  run_is synth_1 'not started'
  "$xp" -C proj undo
  diff -r kept $run_dir
}

@test "a launch is taken back to the one before" {
  new_quick_project
  "$xp" -C proj launch
  cp -a $run_dir kept
  "$xp" -C proj set synth_1 abc9=true
  "$xp" -C proj launch
  "$xp" -C proj undo
  rm kept/.launches.jsonl
  diff -r -x .launches.jsonl kept $run_dir
  run_is synth_1 'done'
}

@test "what can be taken back is listed" {
  new_quick_project
  run -0 --separate-stderr "$xp" -C proj undo --list
  [ "$stderr" = 'There is nothing to take back' ]
  run -6 "$xp" -C proj undo
  "$xp" -C proj launch
  "$xp" -C proj reset synth_1
  run -0 --separate-stderr "$xp" -C proj undo --list
  [[ ${lines[1]} == *-1-reset*reset*synth_1 ]]
  run -0 "$xp" -C proj undo --list --json
  assert_schema undo
  run -0 "$xp" -C proj undo --keep 3 --keep-mb 10
  run -6 "$xp" -C proj undo 2020-01-01-1-reset
}

@test "a run is removed with its directory, and comes back" {
  new_quick_project
  "$xp" -C proj launch
  cp -a $run_dir kept
  run -0 --separate-stderr "$xp" -C proj rm synth_1
  [ "$stderr" = 'synth_1: removed. To bring it back: xp undo' ]
  [ ! -e $run_dir ]
  run -6 "$xp" -C proj show synth_1
  "$xp" -C proj undo
  diff -r kept $run_dir
  run_is synth_1 'done'
}

@test "a synthesis that others start from is removed with them alone" {
  new_project_with_runs
  run -6 "$xp" -C proj rm synth_1
  [[ $output == *'impl_1 starts from it'* ]]
  run -6 "$xp" -C proj rm synth_1 --with-dependants
  [[ $output == *'Say --yes'* ]]
  "$xp" -C proj rm synth_1 --with-dependants --yes
  run -0 "$xp" -C proj status --json
  [[ $output == *'"runs": []'* ]]
}

@test "a run at work isn't removed" {
  new_quick_project
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  launch_fake synth_1
  run -6 "$xp" -C proj rm synth_1
  [ -d $run_dir ]
  "$xp" -C proj rm synth_1 --kill
  [ ! -e $run_dir ]
}

# Whether xp, which ended with status $1 and said what is in file $2, was refused because
# another one has the project.
was_refused() {
  [ "$1" != 0 ] && grep -q 'is open in another process' "$2"
}

@test "two xp at once: one is refused, or both come one behind the other, and nothing is lost" {
  new_quick_project
  "$xp" -C proj launch
  cp -a $run_dir kept
  local first=0 second=0
  "$xp" -C proj reset synth_1 2>first.err &
  "$xp" -C proj reset synth_1 2>second.err || second=$?
  wait $! || first=$?
  [ "$first" = 0 ] || was_refused "$first" first.err
  [ "$second" = 0 ] || was_refused "$second" second.err
  [ "$first" = 0 ] || [ "$second" = 0 ]
  "$xp" -C proj undo
  diff -r kept $run_dir
}

@test "while one xp changes the project another neither clears nor takes back" {
  new_quick_project
  "$xp" -C proj launch
  "$xp" -C proj reset synth_1
  cp -a proj/.xperiment/undo kept
  fake_tool yosys <<'TOOL'
note; begun; hang
TOOL
  "$xp" -C proj launch synth_1 8>&- 2>launch.err &
  tool_started
  for words in 'undo' 'undo --keep 1' 'rm synth_1 --kill' 'reset synth_1'; do
    run -6 --separate-stderr "$xp" -C proj $words
    [[ $stderr == *'is open in another process'* ]]
  done
  run -0 "$xp" -C proj undo --list
  [[ $output == *-reset* ]]
  diff -r kept proj/.xperiment/undo
  kill -INT $! 2>/dev/null || :
  "$xp" -C proj kill synth_1
  wait $! || :
}

@test "xp killed at any point of a reset leaves what can be brought back" {
  new_quick_project
  "$xp" -C proj launch
  cp -a $run_dir kept
  cp proj/project.xml kept.xml
  local number step=${KILL_STEP:-4} kills=0
  for ((number = 1; number < 4000; number += step)); do
    status=0
    "$kill_at" "$number" "$xp" -C proj reset synth_1 2>/dev/null || status=$?
    while "$xp" -C proj undo --list | grep -q reset; do
      "$xp" -C proj undo
    done
    diff -r kept $run_dir
    cmp kept.xml proj/project.xml
    rm -rf proj/.xperiment/undo
    ((status != 0)) || break
    kills=$((kills + 1))
  done
  assert_canaries
  [ $((kills * step)) -ge 25 ]
}
