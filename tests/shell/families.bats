#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# What verbs make of the name of a family or sweep.

load xp.bash

new_sweep() {
  new_project
  "$xp" -C proj create synth_1 --flow synth 2>/dev/null
  "$xp" -C proj sweep night --strategies Default,Performance --seeds 1-2 --to init >/dev/null 2>&1
}

# A synthesis and the sweep, launched over tools that end at once.
launched_sweep() {
  new_sweep
  need_tools
  "$xp" -C proj launch synth_1 night_Default >/dev/null 2>&1
  run_is night_Default_s2 "done"
}

@test "where one run is asked for, a sweep is answered with its runs" {
  new_sweep
  for verb in why explain log show bug; do
    run -6 --separate-stderr "$xp" -C proj $verb night
    [ -z "$output" ]
    [ "$stderr" = "xp: error: 'night' is a sweep of 4 runs, and one run is asked for. Name it: night_Default_s1, night_Default_s2, night_Performance_s1, night_Performance_s2" ] ||
      { echo "$verb: $stderr"; return 1; }
  done
  run -6 --separate-stderr "$xp" -C proj show night_Performance
  [[ $stderr == *"'night_Performance' is a family of 2 runs, and one run is asked for. Name it: night_Performance_s1, night_Performance_s2" ]]
}

@test "of a large sweep some runs are named, and how to see all" {
  new_sweep
  "$xp" -C proj sweep night --strategies Default --seeds 3-9 --to init >/dev/null 2>&1
  run -6 --separate-stderr "$xp" -C proj show night
  [[ $stderr == *"'night' is a sweep of 11 runs"*', ... (all: xp ls night)' ]]
}

@test "a name that is nearly that of a sweep is still suggested" {
  new_sweep
  run -6 --separate-stderr "$xp" -C proj reset nigth
  [[ $stderr == *"There is no run 'nigth'. Did you mean 'night'?"* ]]
}

@test "a sweep is changed as a whole or not at all" {
  new_sweep
  run -0 "$xp" -C proj set night_Default seed=77
  for name in night_Default_s1 night_Default_s2; do
    "$xp" -C proj show "$name" --json >shown.json
    grep -q '"77"' shown.json
  done
  "$xp" -C proj show night_Performance_s1 --json >shown.json
  run -1 grep -q '"77"' shown.json
  cp proj/project.xml before.xml
  run -6 "$xp" -C proj set night seed=5 no_such_option=1
  cmp proj/project.xml before.xml
  run -0 --separate-stderr "$xp" -C proj apply night_Default
  [ "$(grep -c 'has the values of Default now' <<<"$stderr")" = 2 ]
}

@test "reset takes a family back, and one undo brings all of it back" {
  launched_sweep
  run -0 --separate-stderr "$xp" -C proj reset night_Default
  [[ $stderr == *'night_Default_s1, night_Default_s2: reset. Next: xp launch night_Default' ]]
  run_is night_Default_s1 'not started'
  run_is night_Default_s2 'not started'
  run_is synth_1 "done"
  [ "$("$xp" -C proj undo --list --json | json 'len(j["entries"])')" = 1 ]
  run -0 "$xp" -C proj undo
  run_is night_Default_s1 "done"
  run_is night_Default_s2 "done"
}

@test "one undo brings back what a launch of several runs cleared" {
  launched_sweep
  # Of both the end is missing, so that they are launched again.
  rm proj/runs/night_Default_s?/.ice40_init.end.rst
  for name in night_Default_s1 night_Default_s2; do
    echo "the first of $name" >"proj/runs/$name/init_design.metrics.json"
  done
  run -0 "$xp" -C proj launch night_Default
  run_is night_Default_s2 "done"
  "$xp" -C proj undo --list --json >entries.json
  [ "$(json '[(e["verb"], len(e["runs"])) for e in j["entries"]]' <entries.json)" = "[('launch', 2)]" ]
  run -0 "$xp" -C proj undo
  for name in night_Default_s1 night_Default_s2; do
    [ "$(cat "proj/runs/$name/init_design.metrics.json")" = "the first of $name" ]
  done
}
