#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# What xp refuses: one clear message, a status other than 0, and what was there intact.

load xp.bash

setup_file() {
  [ "$(id -u)" = 0 ] || echo '# not root: unwritable folders by their mode, full disks skipped' >&3
}

# The project file must be as it was.
keep_file() {
  cp proj/project.xml kept.xml
}

file_is_kept() {
  cmp proj/project.xml kept.xml
}

@test "without the tools nothing is launched" {
  new_project_with_runs
  keep_file
  run -5 without_tools "$xp" -C proj launch
  assert_one_error 'yosys, nextpnr-ice40, icepack, icetime are missing' \
    'apt-get install yosys nextpnr-ice40 fpga-icestorm'
  file_is_kept
  [ ! -e proj/runs ]
}

@test "only the tools that a run needs are asked for" {
  new_project_with_runs
  run -5 without_tools "$xp" -C proj launch synth_1
  assert_one_error 'yosys is missing' 'apt-get install yosys'
  [[ $output != *nextpnr* ]]
}

@test "an empty search path doesn't mean the current folder" {
  new_project_with_runs
  printf '#!/bin/sh\ntouch ran\n' >proj/yosys
  chmod +x proj/yosys
  cd proj
  run -5 /usr/bin/env PATH= "$xp" launch synth_1
  assert_one_error 'yosys is missing'
  [ ! -e ran ]
}

@test "a source whose name a shell would read is one word" {
  command -v yosys >/dev/null || skip 'no yosys here'
  cp -p blinky.v 'a;touch ran;b&(c).v'
  "$xp" new proj --top blinky --source 'a;touch ran;b&(c).v'
  "$xp" -C proj create synth_1 --flow synth
  run -0 "$xp" -C proj launch
  [ -z "$(find . -name ran)" ]
}

@test "an unknown device is refused with the known ones" {
  run -6 "$xp" new proj --top blinky --source blinky.v --constraints blinky.pcf --device hx9k
  assert_one_error hx9k hx8k up5k
  [ ! -e proj ]
}

@test "a package that the device doesn't have is refused" {
  [ -d /usr/share/fpga-icestorm/chipdb ] || skip 'no chip databases here'
  run -6 "$xp" new proj --top blinky --source blinky.v --package xy99
  assert_one_error xy99 ct256
  [ ! -e proj ]
}

@test "a frequency that is none is refused" {
  for frequency in fast 0 -5 12MHz ''; do
    run -2 "$xp" new proj --top blinky --source blinky.v "--freq=$frequency"
    assert_one_error
    [ ! -e proj ]
  done
}

@test "a source that doesn't exist is refused" {
  run -6 "$xp" new proj --top blinky --source nowhere.v
  assert_one_error 'There is no file nowhere.v'
  [ ! -e proj ]
  new_project
  keep_file
  run -6 "$xp" -C proj add blinky.v nowhere.v
  assert_one_error 'There is no file nowhere.v'
  file_is_kept
}

@test "a folder in place of a source is refused" {
  mkdir folder.v
  run -6 "$xp" new proj --top blinky --source folder.v
  assert_one_error 'folder.v' 'it is no file'
}

@test "a second project in a folder is refused" {
  new_project
  keep_file
  run -6 "$xp" new proj --top other --source blinky.v
  assert_one_error 'holds a project already'
  file_is_kept
}

@test "a folder that can't be made is refused" {
  echo text >file
  run -6 "$xp" new file/proj --top blinky --source blinky.v
  assert_one_error "$BATS_TEST_TMPDIR/file/proj" 'Choose a folder that you may write to'
  [ "$(cat file)" = text ]
}

@test "a folder with a name that scripts can't carry is refused" {
  run -6 "$xp" new "it's" --top blinky --source blinky.v
  assert_one_error "it's" "the character '"
  [ ! -e "it's" ]
}

@test "a project in a folder that can't be written isn't changed" {
  new_project
  keep_file
  if [ "$(id -u)" = 0 ]; then
    chattr +i proj proj/project.xml 2>/dev/null || skip 'root, and no immutable files here'
  else
    chmod a-w proj
  fi
  run "$xp" -C proj create synth_1 --flow synth
  if [ "$(id -u)" = 0 ]; then
    chattr -i proj proj/project.xml
  else
    chmod u+w proj
  fi
  [ "$status" = 6 ]
  assert_one_error proj
  file_is_kept
}

@test "a place for the runs that can't be used is refused" {
  new_project_with_runs
  echo text >proj/runs
  run -6 "$xp" -C proj launch synth_1
  assert_one_error "$project/runs"
  [ "$(cat proj/runs)" = text ]
  [ "$(rm proj/runs; status_of synth_1 status)" = 'not started' ]
}

@test "without a project it says how to make one" {
  run -6 "$xp" status
  assert_one_error 'There is no project' 'xp new'
}

@test "a project file of a newer version is refused and left as it is" {
  new_project_with_runs
  sed -i 's/Version="1"/Version="2"/' proj/project.xml
  keep_file
  for verb in status launch 'create r9 --flow synth' 'set synth_1 abc9=true'; do
    # shellcheck disable=SC2086
    run -6 "$xp" -C proj $verb
    assert_one_error 'version 2 of the format' 'Use the newer program'
  done
  file_is_kept
}

@test "a project file cut off anywhere is refused and left as it is" {
  new_project_with_runs
  cp proj/project.xml whole.xml
  size=$(stat -c %s whole.xml)
  for at in 0 1 30 $((size / 4)) $((size / 2)) $((size * 3 / 4)) $((size - 12)) $((size - 3)); do
    head -c "$at" whole.xml >proj/project.xml
    keep_file
    run -6 "$xp" -C proj create r9 --flow synth
    assert_one_error "$project/project.xml" "can't be read" 'Bring back a good copy'
    file_is_kept
  done
}

@test "a damaged project file is refused with its line" {
  new_project_with_runs
  cp proj/project.xml whole.xml
  for change in 's/Flow="ice40_synthesis"/Flow="none"/' 's/<Run /<Run Name="x" /' \
    's/Name="synth_1"/Name="..\/etc"/' 's/<Project/<Other/;s/Project>/Other>/'; do
    sed "$change" whole.xml >proj/project.xml
    keep_file
    run -6 "$xp" -C proj status
    assert_one_error "$project/project.xml"
    file_is_kept
  done
}

@test "a run name that isn't one is refused" {
  new_project
  keep_file
  for name in a/b ../up .hidden '' 'with blank' 'a;b' "$(printf 'x%.0s' {1..101})"; do
    run -6 "$xp" -C proj create --flow synth -- "$name"
    assert_one_error "can't be the name of a run"
  done
  file_is_kept
}

@test "a run name that is taken is refused, whatever its case" {
  new_project_with_runs
  keep_file
  run -6 "$xp" -C proj create Synth_1 --flow synth
  assert_one_error 'There is a run Synth_1 already'
  file_is_kept
}

@test "an unknown run is refused with the known ones" {
  new_project_with_runs
  for verb in launch wait status log show 'set --strategy Default'; do
    # shellcheck disable=SC2086
    run -6 "$xp" -C proj $verb nosuch
    assert_one_error 'There is no run nosuch' 'synth_1, impl_1'
  done
}

@test "an unknown strategy is refused with the known ones" {
  new_project
  keep_file
  run -6 "$xp" -C proj create r1 --flow synth --strategy Fast
  assert_one_error 'There is no strategy Fast' 'Default, Area'
  file_is_kept
}

@test "an unknown option or value is refused, and nothing of the rest is set" {
  new_project_with_runs
  keep_file
  run -6 "$xp" -C proj set impl_1 seed=5 sede=7
  assert_one_error 'There is no option sede' 'place_design.seed'
  run -6 "$xp" -C proj set impl_1 seed=many
  assert_one_error 'place_design.seed' "'many' is no whole number"
  run -6 "$xp" -C proj set impl_1 router=router9
  assert_one_error "'router9' is none of its values: router1, router2"
  run -6 "$xp" -C proj set impl_1 no_tmdriv=maybe
  assert_one_error "'maybe' is neither true nor false"
  run -6 "$xp" -C proj set impl_1 --to nosuch
  assert_one_error 'has no step nosuch'
  run -2 "$xp" -C proj set impl_1 seed
  assert_one_error "'seed' sets nothing"
  file_is_kept
}

@test "an option text that a shell would take as its own is refused" {
  new_project_with_runs
  keep_file
  # shellcheck disable=SC2016
  for value in '$(reboot)' 'a;b' '`x`' 'a|b' '*'; do
    run -6 "$xp" -C proj set impl_1 "router=$value"
    assert_one_error 'a shell would take as its own'
  done
  file_is_kept
}

@test "an implementation without a synthesis is refused" {
  new_project
  run -6 "$xp" -C proj create impl_1 --flow impl
  assert_one_error 'The project has no synthesis run'
  "$xp" -C proj create synth_1 --flow synth
  run -6 "$xp" -C proj create impl_1 --flow impl --synth nosuch
  assert_one_error 'nosuch is none'
}

@test "a launch of a project without runs says how to make one" {
  new_project
  run -6 "$xp" -C proj launch
  assert_one_error 'The project has no runs'
}

@test "waiting for a run that isn't launched is refused" {
  new_project_with_runs
  run -6 "$xp" -C proj wait synth_1
  assert_one_error "Run synth_1 isn't launched" 'xp launch synth_1'
  run -0 "$xp" -C proj wait
  [[ $output == *'No run is at work'* ]]
}

@test "the log of a run that isn't launched is refused" {
  new_project_with_runs
  run -6 "$xp" -C proj log synth_1
  assert_one_error 'Run synth_1 has no log'
}

@test "a project that is open for changes elsewhere is refused, but can be read" {
  new_project_with_runs
  keep_file
  exec 9<>proj/.project.lock
  flock 9
  echo 'process 17 on a.host' >proj/.project.lock
  for verb in launch 'create r9 --flow synth' 'set synth_1 abc9=true' 'add blinky.v'; do
    # shellcheck disable=SC2086
    run -6 "$xp" -C proj $verb
    assert_one_error 'is open in another process: process 17 on a.host'
  done
  file_is_kept
  for verb in status 'show synth_1' wait; do
    # shellcheck disable=SC2086
    run -0 "$xp" -C proj $verb
  done
  exec 9>&-
  run -0 "$xp" -C proj set synth_1 abc9=true
}

@test "a disk that is full when the scripts are written is told, and the project is intact" {
  [ "$(id -u)" = 0 ] || skip 'not root: no small disk can be mounted'
  command -v yosys >/dev/null || skip 'no yosys here'
  mkdir proj
  mount -t tmpfs -o size=256k,nr_inodes=200 xptest proj || skip 'no small disk can be mounted here'
  new_project_with_runs
  keep_file
  dd if=/dev/zero of=proj/filler bs=1k 2>/dev/null || :
  run "$xp" -C proj launch synth_1
  file_is_kept || { umount proj; return 1; }
  rm proj/filler
  local after
  after=$(status_of synth_1 status)
  umount proj
  [ "$status" = 6 ]
  assert_one_error "$project"
  [ "$after" = 'not started' ]
}
