# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# xp killed while it hands a run to a cluster: no job is lost, and none works twice.

load faults.bash
load "$BATS_TEST_DIRNAME/../shell/clients.bash"

# A tool that is done at once and notes where one was at work already.
noted_tool() {
  cat >"$tool_dir/before" <<'TOOL'
mkdir at_work || echo "$PWD" >>"$here/doubled"
echo "$PWD" >>"$here/worked"
rmdir at_work
TOOL
}

no_job() { jobs_are '*'; }

# How often the tool was at work.
work_count() { wc -l 2>/dev/null <"$tool_dir/worked" || echo 0; }

@test "xp killed at any point of a submission: the job is found again, and the run goes on" {
  may_trace
  new_quick_project
  make_grid
  noted_tool
  local number kills=0 taken=0 word
  for ((number = 1; ; number += ${SWEEP_STEP:-2})); do
    "$xp" -C proj reset synth_1 2>/dev/null
    rm -f "$tool_dir/worked"
    status=0
    "$kill_at" "$number" "$xp" -C proj launch synth_1 --no-wait --sge qsub >xp.out 2>xp.err ||
      status=$?
    [ "$status" = 137 ] || break
    kills=$((kills + 1))
    echo "behind kill $number: $(tail -n 1 xp.err)"
    soon no_job
    soon nothing_lives
    # What hasn't written for a minute is looked for.
    [ ! -d "$run_dir" ] || find "$run_dir" -exec touch -h -d '5 minutes ago' {} +
    word=$(status_word synth_1)
    echo "says $word"
    # A job that was taken has worked, and is told; one that wasn't is told as none.
    if [ "$(work_count)" = 1 ]; then
      taken=$((taken + 1))
      [ "$word" = 'done' ]
    else
      [[ $word =~ ^(not started|stopped|lost|failed)$ ]]
    fi
    "$xp" -C proj launch synth_1 --sge qsub >next.out 2>&1 || { cat next.out; false; }
    [ "$(status_word synth_1)" = 'done' ]
    is_whole $run_dir
    [ "$(work_count)" = 1 ]
    [ ! -e "$tool_dir/doubled" ]
  done
  assert_canaries
  echo "# launch --sge: $kills kills, $taken behind the submission" >&3
  [ "$kills" -ge 2 ]
  if [ "${SWEEP_STEP:-2}" -le 2 ]; then
    [ "$kills" -ge 15 ]
    [ "$taken" -gt 0 ]
    [ "$taken" -lt "$kills" ]
  fi
}

# What run $1 says is true: it is done if its tool was at work, and else it isn't.
tells_truth() {
  local word
  word=$(status_word "$1")
  echo "$1 says $word"
  if grep -qx ".*/runs/$1" "$tool_dir/worked" 2>/dev/null; then
    [ "$word" = 'done' ]
  else
    [[ $word =~ ^(not started|stopped|lost|failed)$ ]]
  fi
}

@test "xp killed at any point of an array's submission: each task is found again, and none works twice" {
  may_trace
  new_quick_project
  "$xp" -C proj create synth_2 --flow synth 2>/dev/null
  make_grid
  noted_tool
  local number kills=0 taken=0
  for ((number = 1; ; number += ${SWEEP_STEP:-5})); do
    "$xp" -C proj reset synth_1 2>/dev/null
    "$xp" -C proj reset synth_2 2>/dev/null
    rm -f "$tool_dir/worked"
    status=0
    "$kill_at" "$number" "$xp" -C proj launch --no-wait -j 2 --sge qsub >xp.out 2>xp.err ||
      status=$?
    [ "$status" = 137 ] || break
    kills=$((kills + 1))
    echo "behind kill $number: $(tail -n 1 xp.err)"
    soon no_job
    soon nothing_lives
    find proj/runs -exec touch -h -d '5 minutes ago' {} + 2>/dev/null || :
    tells_truth synth_1
    tells_truth synth_2
    [ "$(work_count)" = 0 ] || taken=$((taken + 1))
    "$xp" -C proj launch -j 2 --sge qsub >next.out 2>&1 || { cat next.out; false; }
    [ "$(status_word synth_1) $(status_word synth_2)" = 'done done' ]
    is_whole proj/runs/synth_1
    is_whole proj/runs/synth_2
    [ "$(sort "$tool_dir/worked" | uniq | wc -l)" = 2 ]
    [ "$(work_count)" = 2 ]
    [ ! -e "$tool_dir/doubled" ]
  done
  assert_canaries
  echo "# launch -j 2 --sge: $kills kills, $taken behind the submission" >&3
  [ "$kills" -ge 2 ]
  if [ "${SWEEP_STEP:-5}" -le 5 ]; then
    [ "$kills" -ge 15 ]
    [ "$taken" -gt 0 ]
    [ "$taken" -lt "$kills" ]
  fi
}
