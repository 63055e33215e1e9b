#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors

load xp.bash

verbs='new add create set apply launch plan wait kill reset status log show why'

@test "without a verb it lists the verbs and ends with 2" {
  run -2 "$xp"
  assert_one_error 'Say what to do'
  for verb in $verbs help; do
    [[ $output == *"  $verb "* ]]
  done
}

@test "a mistyped verb is met with the one that was meant" {
  run -2 "$xp" stauts
  assert_one_error "There is no verb 'stauts'. Did you mean 'status'?"
  run -2 "$xp" lauch
  assert_one_error "Did you mean 'launch'?"
}

@test "a verb that is like none is met with the way to the list" {
  run -2 "$xp" zzzzzz
  assert_one_error "There is no verb 'zzzzzz'. \"xp help\" lists them."
}

@test "help lists every verb on standard output" {
  run -0 --separate-stderr "$xp" help
  for verb in $verbs; do
    [[ $output == *"  $verb "* ]]
  done
  [ -z "$stderr" ]
  run -0 "$xp" --help
  [[ $output == *$'Exit status:\n  0    done'* ]]
}

@test "the help of every verb shows its arguments and an example" {
  for verb in $verbs; do
    run -0 --separate-stderr "$xp" help "$verb"
    [[ $output == *"Usage: xp $verb"* ]]
    [[ $output == *"Examples:"*"xp $verb"* ]]
    local by_help=$output
    run -0 "$xp" "$verb" --help
    [ "$output" = "$by_help" ]
  done
}

@test "the help of a verb with others behind it lists them, each with a help of its own" {
  local inner
  run -0 --separate-stderr "$xp" help strategy
  [[ $output == *'Usage: xp strategy VERB'* ]]
  local by_help=$output
  run -0 "$xp" strategy --help
  [ "$output" = "$by_help" ]
  run -0 "$xp" help reportstrategy
  [[ $output == *"  add "*"  remove "* ]]
  for inner in list show create copy rename delete set compare export import; do
    [[ $by_help == *"  $inner "* ]]
    run -0 --separate-stderr "$xp" help strategy "$inner"
    [[ $output == *"Usage: xp strategy $inner"*"Examples:"*"  xp strategy $inner"* ]]
    local by_inner=$output
    run -0 "$xp" strategy "$inner" --help
    [ "$output" = "$by_inner" ]
  done
}

@test "a verb with others behind it wants one of them" {
  run -2 "$xp" strategy
  assert_one_error 'Say what to do: xp strategy VERB' '  copy '
  run -2 "$xp" strategy cpy
  assert_one_error "There is no verb 'cpy'. Did you mean 'copy'?"
  run -2 "$xp" strategy zzzzzz
  assert_one_error '"xp help strategy" lists them.'
  run -2 "$xp" strategy copy
  assert_one_error 'strategy copy: ' '"xp help strategy copy"'
}

@test "help of a mistyped verb suggests one" {
  run -2 "$xp" help lanch
  assert_one_error "Did you mean 'launch'?"
}

@test "the version is that of the product" {
  run -0 "$xp" --version
  [ "$output" = 'xp 2026.1' ]
}

@test "a missing argument, an unknown option and an option without its value end with 2" {
  run -2 "$xp" create
  assert_one_error 'create: ' '"xp help create"'
  run -2 "$xp" status --jsn
  assert_one_error 'status: ' '--jsn'
  run -2 "$xp" -C
  assert_one_error '-C needs a folder'
  run -2 "$xp" --nonsense status
  assert_one_error 'There is no option --nonsense'
}

@test "an unknown flow ends with 2" {
  new_project
  run -2 "$xp" -C proj create r1 --flow sim
  assert_one_error "There is no flow 'sim'. Say synth or impl."
}

@test "data goes to standard output and messages to standard error" {
  new_project_with_runs
  run -0 --separate-stderr "$xp" -C proj status
  [[ $output == *synth_1* ]]
  [ -z "$stderr" ]
  run -0 --separate-stderr "$xp" -C proj create synth_2 --flow synth
  [ -z "$output" ]
  [[ $stderr == *'Run synth_2 is made'* ]]
}

@test "off a terminal no escape byte is written" {
  new_project_with_runs
  for words in help status 'show synth_1' 'strategy list' 'strategy show Area'; do
    # shellcheck disable=SC2086
    run -0 "$xp" -C proj $words
    [[ $output != *$'\e'* ]]
  done
}

@test "output that can't be written is an error" {
  [ -w /dev/full ] || skip 'no /dev/full here'
  run -6 bash -c '"$1" help >/dev/full' - "$xp"
  assert_one_error "Standard output can't be written"
}
