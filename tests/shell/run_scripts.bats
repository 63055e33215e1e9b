#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Run scripts of the user's own.

load xp.bash

setup_file() { need_tools; }

teardown() { end_runs; }

# Makes the script $1, which does what standard input says and then has the wrapper run a
# program of the user's in the place of the synthesis.
own_script() {
  mkdir -p own
  printf '#!/bin/sh\necho {} >blinky.json\n' >own/ice40_synth
  chmod +x own/ice40_synth
  { printf '#!/bin/bash\n'; cat; printf './ZUMWrap.sh "$MQ_LOG" %q/own/ice40_synth\n' "$PWD"; } >"$1"
}

@test "a run does what the user's script does, in its directory" {
  new_syntheses 2
  own_script mine.sh <<<'echo "this is mine, in $PWD"; touch was_here'
  printf '# mine\n\nsynth_2 : %s\n' "$PWD/mine.sh" >scripts.txt
  run -0 --separate-stderr "$xp" -C proj launch --run-scripts scripts.txt
  [[ $stderr == *"User run script: $PWD/mine.sh"* ]]
  [ -e proj/runs/synth_2/was_here ]
  grep -Fx "this is mine, in $project/runs/synth_2" proj/runs/synth_2/runme.log
  [ -s proj/runs/synth_2/blinky.json ]
  [ ! -e proj/runs/synth_1/was_here ]
  statuses_are 'done done'
}

@test "standard output holds the result and nothing else" {
  new_syntheses 1
  own_script mine.sh </dev/null
  echo "synth_1: $PWD/mine.sh" >scripts.txt
  run -0 --separate-stderr "$xp" -C proj launch --run-scripts scripts.txt
  [[ ${lines[0]} == Run* ]]
  [[ $output != *'User run script'* ]]
}

@test "a user's script holds the lock, carries the launch and is stopped" {
  new_syntheses 1
  own_script mine.sh <<TOOL
touch begun; mkfifo never; while :; do read -r x <never; done
TOOL
  echo "synth_1: $PWD/mine.sh" >scripts.txt
  "$xp" -C proj launch --no-wait --run-scripts scripts.txt
  wait_until [ -e proj/runs/synth_1/begun ]
  run_is synth_1 running
  read_launch synth_1
  [ -n "$(survivors)" ]
  run -0 "$xp" -C proj kill synth_1
  assert_nothing_left synth_1
}

@test "a script that was made from a generated one does as that does" {
  new_syntheses 1
  "$xp" -C proj launch synth_1
  sed 's/^EAStep/touch was_here; EAStep/' proj/runs/synth_1/runme.sh >mine.sh
  "$xp" -C proj reset synth_1
  echo "synth_1: $PWD/mine.sh" >scripts.txt
  run -0 "$xp" -C proj launch --run-scripts scripts.txt
  [ -e proj/runs/synth_1/was_here ]
  run_is synth_1 "done"
}

@test "the next launch without it takes the generated script again" {
  new_syntheses 1
  own_script mine.sh <<<'touch was_here'
  echo "synth_1: $PWD/mine.sh" >scripts.txt
  "$xp" -C proj launch --run-scripts scripts.txt
  "$xp" -C proj reset synth_1
  [ ! -e proj/runs/synth_1/runme.user.sh ]
  rm proj/runs/synth_1/was_here
  run -0 "$xp" -C proj launch
  [ ! -e proj/runs/synth_1/was_here ]
}

@test "a script that is missing or says default leaves the generated one, with a warning" {
  new_syntheses 2
  printf 'synth_1: default\nsynth_2: no/such.sh\n' >scripts.txt
  run -0 --separate-stderr "$xp" -C proj launch --run-scripts scripts.txt
  [[ $stderr == *'no/such.sh'* ]]
  statuses_are 'done done'
  run -2 "$xp" -C proj launch --run-scripts no/such.txt
}

@test "a user's script goes to another host as the generated one does" {
  new_syntheses 1
  own_script mine.sh <<<'touch was_here'
  echo "synth_1: $PWD/mine.sh" >scripts.txt
  printf '#!/bin/sh\nexec sh -c "$2"\n' >remote
  chmod +x remote
  run -0 "$xp" -C proj launch --run-scripts scripts.txt --host node7 --host-command "$PWD/remote"
  [ -e proj/runs/synth_1/was_here ]
  run_is synth_1 "done"
}
