#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
# What xp writes to a terminal, and what it doesn't write elsewhere.

load xp.bash

# Runs xp with "$@" on a terminal; $output is what came to it.
on_terminal() {
  local words
  printf -v words ' %q' "$xp" "$@"
  run script -qec "${words# }" /dev/null </dev/null
}

need_script() {
  command -v script >/dev/null || skip 'no script (package bsdutils) here'
}

has_escapes() {
  [[ $output == *$'\e'* ]]
}

assert_no_escapes() {
  ! has_escapes || { echo "escape byte in: $output"; return 1; }
}

# Every verb, one a line, those behind others too.
all_verbs() {
  local verb
  for verb in $("$xp" help | sed -n '/^Verbs:/,/^$/s/^  \([a-z]*\) .*/\1/p'); do
    echo "$verb"
    "$xp" help "$verb" | sed -n "/^Usage: xp $verb VERB/,/^Examples/s/^  \([a-z]*\)  .*/$verb \1/p"
  done
}

@test "words of status have colours on a terminal" {
  need_script
  new_project_with_runs
  on_terminal -C proj status
  [[ $output == *$'\e[2mnot started\e[0m'* ]]
  [[ $output == *$'\e[1mRun\e[0m'* ]]
}

@test "an error has a colour on a terminal" {
  need_script
  on_terminal stauts
  [[ $output == *$'xp: \e[31merror:\e[0m There is no verb'* ]]
}

@test "with colours the columns stand where they stand without" {
  need_script
  new_project_with_runs
  on_terminal -C proj status
  local plain
  plain=$(sed $'s/\e\\[[0-9]*m//g; s/\r$//' <<<"$output")
  run -0 "$xp" -C proj status
  [ "$output" = "$plain" ]
}

@test "NO_COLOR, a dumb terminal and --plain mean no escape byte" {
  need_script
  new_project_with_runs
  NO_COLOR=1 on_terminal -C proj status
  [[ $output == *'not started'* ]]
  assert_no_escapes
  TERM=dumb on_terminal -C proj status
  [[ $output == *'not started'* ]]
  assert_no_escapes
  on_terminal --plain -C proj status
  [[ $output == *'not started'* ]]
  assert_no_escapes
  on_terminal -C proj status --plain
  [[ $output == *'not started'* ]]
  assert_no_escapes
}

@test "an empty NO_COLOR is none" {
  need_script
  new_project_with_runs
  NO_COLOR='' on_terminal -C proj status
  has_escapes
}

@test "off a terminal no verb writes an escape byte" {
  new_project_with_runs
  cd proj
  local verb count=0
  while read -r verb; do
    # Without arguments it works or refuses, and both is told.
    # shellcheck disable=SC2086
    run "$xp" $verb </dev/null
    assert_no_escapes
    # shellcheck disable=SC2086
    run -0 "$xp" help $verb
    assert_no_escapes
    # shellcheck disable=SC2086
    run "$xp" $verb synth_1 </dev/null
    assert_no_escapes
    count=$((count + 1))
  done < <(all_verbs | grep -vxE 'launch|serve')
  [ "$count" -gt 30 ]
}

@test "a log that holds escape bytes is shown without them" {
  new_project
  "$xp" -C proj create synth_1 --flow synth -q
  fake_tool yosys <<'TOOL'
[ "$1" != --version ] || { echo 'Yosys 0.23'; exit; }
printf 'a \e[31mred\e[0m word\n'
exit 1
TOOL
  run -1 "$xp" -C proj launch
  assert_no_escapes
  run -0 "$xp" -C proj log synth_1
  [[ $output == *'red'*word* ]]
  assert_no_escapes
}

@test "what holds for every verb is taken before it, behind it and between" {
  new_project_with_runs
  for words in '-q --plain -C proj status' 'status -q --plain -C proj' '-q status --plain -C proj'; do
    # shellcheck disable=SC2086
    run -0 "$xp" $words
    [[ $output == *synth_1* ]]
  done
  run -0 "$xp" strategy --plain list -q
  run -0 "$xp" strategy -C proj list
}

@test "quiet silences notes, and no error" {
  new_project
  run -0 --separate-stderr "$xp" -C proj create synth_1 --flow synth -q
  [ -z "$stderr" ]
  run -0 --separate-stderr "$xp" --quiet -C proj set synth_1 --to ''
  [ -z "$stderr" ]
  run -6 --separate-stderr "$xp" --quiet -C proj create synth_1 --flow synth
  [[ $stderr == 'xp: error: '* ]]
  run -2 --separate-stderr "$xp" -q stauts
  [[ $stderr == 'xp: error: '* ]]
}

@test "a mistyped option before the verb is met with the one that was meant" {
  run -2 "$xp" --quite status
  assert_one_error "There is no option --quite. Did you mean '--quiet'?"
}
