#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# xp doctor tries a real grid engine.

load run.bash

grid_line() {
  json "[c['health'] + ' ' + c['text'] for c in j['checks'] if c['area'] == 'grid']" <<<"$output"
}

@test "a job of one second leaves a marker that is seen" {
  new_project
  run -0 --separate-stderr "$xp" -C proj doctor --json --sge 'qsub -q all.q@node1'
  [[ $(grid_line) == *'ok a job of one second: taken after '*'marker from node1 seen after '* ]]
  [ -z "$(find proj -maxdepth 1 -name '*doctor*')" ]
  wait_until queue_is_empty
}

@test "the grid of the last launch is tried without being named" {
  new_syntheses 1
  "$xp" -C proj launch --sge 'qsub -V -q all.q@head' 2>/dev/null
  run -0 --separate-stderr "$xp" -C proj doctor --json
  [[ $(grid_line) == *'marker from head seen'* ]]
  wait_until queue_is_empty
}

@test "a queue that is closed is told, and no job is left" {
  new_project
  qmod -d '*' >/dev/null
  run -5 --separate-stderr "$xp" -C proj doctor --json --sge 'qsub -q all.q' --wait 2
  qmod -e '*' >/dev/null
  [[ $(grid_line) == *"bad the marker of job "*"wasn't seen within 2 s"* ]]
  wait_until queue_is_empty
}
