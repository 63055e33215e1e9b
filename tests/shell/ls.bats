#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
# The list of runs.

load xp.bash

teardown() {
  end_runs
}

# Three implementations of a family behind the synthesis.
new_project_with_family() {
  new_project
  "$xp" -C proj create synth_1 --flow synth -q
  "$xp" -C proj sweep night --seeds 3,20,1 -q >/dev/null
  cd proj || return
}

names() {
  "$xp" ls "$@" --json | json "' '.join(r['name'] for r in j['runs'])"
}

@test "each run has a line, with what to do next" {
  new_project_with_family
  run -0 --separate-stderr "$xp" ls
  [ "${#lines[@]}" = 5 ]
  [[ ${lines[0]} =~ ^Run\ +Status\ +Stale\ +Strategy\ +Seed\ +'Fmax MHz'\ +LUTs\ +Seconds\ +Next$ ]]
  [[ ${lines[1]} =~ ^synth_1\ +'- not started'\ .*\ 'xp launch synth_1'$ ]]
  [[ ${lines[3]} =~ ^night_Default_s20\ .*\ 20\ .*\ 'xp launch night_Default_s20'$ ]]
  [ -z "$stderr" ]
}

@test "runs, families and sweeps are chosen by name, and by options" {
  new_project_with_family
  [ "$(names night_Default_s20 synth_1)" = 'night_Default_s20 synth_1' ]
  [ "$(names night)" = 'night_Default_s3 night_Default_s20 night_Default_s1' ]
  [ "$(names --family night_Default)" = "$(names night)" ]
  [ "$(names --status failed,done)" = '' ]
  [ "$(names --status 'not started' night_Default_s1)" = night_Default_s1 ]
  [ "$(names --stale)" = '' ]
  run -0 --separate-stderr "$xp" ls --stale
  [ -z "$output" ]
  [[ $stderr == 'No run is like that.'* ]]
}

@test "they are sorted as asked, and the other way round" {
  new_project_with_family
  [ "$(names --sort name)" = 'night_Default_s1 night_Default_s3 night_Default_s20 synth_1' ]
  [ "$(names --sort seed)" = 'night_Default_s1 night_Default_s3 night_Default_s20 synth_1' ]
  [ "$(names night --sort seed -r)" = 'night_Default_s20 night_Default_s3 night_Default_s1' ]
  # Nothing is known of any: their order stays.
  [ "$(names --sort fmax)" = "$(names)" ]
}

@test "a wrong sort key, status or family is met with what was meant" {
  new_project_with_family
  run -2 "$xp" ls --sort fmx
  assert_one_error "There is no sort key 'fmx'." "Did you mean 'fmax'?"
  run -2 "$xp" ls --status faild
  assert_one_error "There is no status 'faild'." "Did you mean 'failed'?"
  run -6 "$xp" ls --family nihgt
  assert_one_error "There is no family or sweep 'nihgt'." "Did you mean 'night'?"
  run -6 "$xp" ls synt_1
  assert_one_error "There is no run 'synt_1'. Did you mean 'synth_1'?"
}

@test "an empty project is told with what to do" {
  new_project
  run -0 --separate-stderr "$xp" -C proj ls
  [ -z "$output" ]
  [[ $stderr == 'The project has no runs. Make one: xp create '* ]]
}

@test "a list that another program stops to read ends quietly" {
  new_project_with_family
  run --separate-stderr bash -o pipefail -c '"$1" ls | head -1' - "$xp"
  [[ $output == Run* ]]
  [ -z "$stderr" ]
  # Where the signal is ignored, too.
  run -0 --separate-stderr "$python" - "$xp" <<'PY'
import subprocess, sys
for words in (['ls'], ['status'], ['help']):
    xp = subprocess.Popen([sys.argv[1]] + words, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          restore_signals=False)
    xp.stdout.close()
    said = xp.stderr.read()
    assert (xp.wait(), said) == (141, b''), (words, xp.returncode, said)
PY
}

@test "status, results and staleness are those of the runs" {
  need_tools
  new_project_with_family
  "$xp" launch night_Default_s1 -q >/dev/null
  run -0 "$xp" ls night_Default_s1 --json
  assert_schema ls
  [ "$(json "j['runs'][0]['status'], j['runs'][0]['stale'], j['runs'][0]['next']" <<<"$output")" = "('done', False, None)" ]
  [ "$(json "j['runs'][0]['results']['fmax_mhz'] > 50" <<<"$output")" = True ]
  # The best first, and what isn't known last.
  [ "$(names --sort fmax | cut -d' ' -f1)" = night_Default_s1 ]
  "$xp" set night_Default_s1 place_design.seed=9
  [ "$(names --stale)" = night_Default_s1 ]
  run -0 "$xp" ls night_Default_s1
  [[ ${lines[1]} == *'+ done'*stale*' 9 '*'xp launch night_Default_s1' ]]
}

@test "it tells what xp status tells" {
  need_tools
  new_project_with_family
  "$xp" launch night_Default_s3 -q >/dev/null
  rm runs/night_Default_s3/.ice40_bitstream.end.rst
  local keys="[(r['name'], r['status'], r['stale'], r['step'], r['results']['luts']) for r in j['runs']]"
  [ "$("$xp" ls --json | json "$keys")" = "$("$xp" status --json | json "$keys")" ]
}

@test "on a terminal the lines are cut at its width" {
  command -v script >/dev/null || skip 'no script (package bsdutils) here'
  new_project_with_family
  local line
  COLUMNS=40 run script -qec "'$xp' ls" /dev/null </dev/null
  while read -r line; do
    line=$(sed $'s/\e\\[[0-9]*m//g; s/\r$//' <<<"$line")
    [ "${#line}" -le 40 ] || { echo "too long: $line"; false; }
  done <<<"$output"
  [[ $output == *night_Default_s20* ]]
}
