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
echo >>"$here/worked"
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
