#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# What differs between two runs or families over the real tools, and which warnings are new.

load xp.bash

setup_file() { need_tools; }

@test "two runs and two families differ in what was changed and nothing else" {
  # A goal that one of them misses.
  new_project --freq 400
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj sweep n --strategies Default,Performance --seeds 1-2 --to route
  "$xp" -C proj launch -j 2 2>/dev/null
  run -0 --separate-stderr "$xp" -C proj diff n_Default_s1 n_Default_s1
  [ "$output" = "n_Default_s1 and n_Default_s1 don't differ in options, inputs, tools, results, reports and warnings." ]

  run -0 --separate-stderr "$xp" -C proj diff n_Default_s1 n_Default_s2
  [ "${lines[0]}" = 'Options            n_Default_s1  n_Default_s2' ]
  [ "${lines[1]}" = 'place_design.seed  1             2' ]
  # Both miss it, by another number: no warning is new.
  [[ $output != *Inputs* && $output != *Tools* && $output != *Reports* && $output != *warnings* ]]
  [[ $output == *'Fmax MHz '*', better'* || $output == *'Fmax MHz '*', worse'* ]]

  run -0 --separate-stderr "$xp" -C proj diff n_Default n_Performance
  [ "${lines[0]}" = 'Family    n_Default  n_Performance' ]
  [[ $output == *'place_design.heap_timingweight  10         30'* && $output != *place_design.seed* ]]
  [[ $output == *"can't tell: "*'more seeds needed'* ]]

  run -1 --separate-stderr "$xp" -C proj diff n_Default_s1 n_Default_s2 --exit-code
  run -0 --separate-stderr "$xp" -C proj diff n_Default_s1 n_Default_s1 --exit-code
  run -0 --separate-stderr "$xp" -C proj diff n_Default n_Performance --json
  [ "$(json 'j["kind"], j["equal"], len(j["new_warnings"])' <<<"$output")" = "('families', False, 0)" ]

  # A warning that the launch before didn't have, and another source.
  "$xp" -C proj create synth_2 --flow synth
  sed -i 's/led\[6\] && !back/(led[6] ^ loose[3]) \&\& !back/; s/localparam WIDTH/wire [7:0] loose; &/' blinky.v
  "$xp" -C proj launch synth_2 2>/dev/null
  run -0 --separate-stderr "$xp" -C proj diff synth_1 synth_2
  [[ $output == *blinky.v*'content '*'content '* ]]
  [[ $output == *'New warnings in synth_2'*'synth_design: '*loose* ]]
  run -0 --separate-stderr "$xp" -C proj diff synth_2 synth_1
  [[ $output == *'Gone, only in synth_2'*'synth_design: '*loose* ]]
}

@test "what can't be held against each other is refused" {
  new_project_with_runs
  "$xp" -C proj sweep n --strategies Default,Explore --seeds 1-2
  run -2 --separate-stderr "$xp" -C proj diff impl_1 n_Default
  [ "$stderr" = 'xp: error: One of impl_1 and n_Default is a run and the other a family. Name two runs, or two families.' ]
  run -2 --separate-stderr "$xp" -C proj diff n n_Default
  [[ $stderr == 'xp: error: n is a sweep of several families. Name two of them: n_Default, n_'* ]]
  run -6 --separate-stderr "$xp" -C proj diff impl_1 impl_9
  [ "$stderr" = "xp: error: There is no run 'impl_9'. Did you mean 'impl_1'?" ]
  run -2 --separate-stderr "$xp" -C proj diff impl_1
}
