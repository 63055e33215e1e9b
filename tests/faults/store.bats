#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# kill -9 at one system call after another of what clears runs and brings them back: at any
# time the run is what it was, or what it was to become, or one more call makes it so; and
# what was cleared comes back whole. SWEEP_STEP=1 takes each call.

load faults.bash

# What run synth_1 is: the files of its directory, and what the project file says of it.
# Not the history, the lock, the link for viewers, and what a killed save or launch leaves.
state() {
  if [ -d $run_dir ]; then
    local rest=(! -name .launches.jsonl ! -name .run.lock ! -name '*.tds'
      ! -name .launch ! -name '.*.??????????')
    find $run_dir -mindepth 1 "${rest[@]}" -printf '%P %y %l\n' | sort
    find $run_dir -type f "${rest[@]}" -exec cksum {} + | sort
  else
    echo 'no directory'
  fi
  xmllint --nonet --xpath '//Run[@Name="synth_1"]' proj/project.xml 2>/dev/null || echo 'no run'
}

state_is() { diff "$1.state" <(state) >state.diff; }

# Calls xp with "$@", which succeeds and says nothing that isn't in xp.err.
calls() {
  "$xp" -C proj "$@" >xp.out 2>xp.err || { echo "xp $*: status $?"; cat xp.err; return 1; }
}

# $1.state is the state now; the project with it becomes what each kill of a sweep begins with.
note_state() { state >"$1.state"; }
begin_from_here() { rm -rf template && cp -a proj template; }

# Runs xp with "$@" again and again, killed at the first, the second, ... call, each time from
# the same beginning, until it comes to its end; behind each kill holds what `survives` asks for.
sweep() {
  local number step=${SWEEP_STEP:-3} tries=0
  may_trace
  for ((number = 1; ; number += step)); do
    rm -rf proj && cp -a template proj
    status=0
    "$kill_at" "$number" "$xp" -C proj "$@" >xp.out 2>xp.err 8>&- || status=$?
    [ "$status" = 137 ] || break
    tries=$((tries + 1))
    cp xp.err killed.err
    survives && assert_canaries && [ -z "$(strangers)" ] || {
      echo "behind kill $number: $(tail -n 1 killed.err)"
      cat state.diff
      find proj | sort
      strangers
      return 1
    }
  done
  [ "$status" = 0 ]
  echo "# xp $*: $tries kills" >&3
  # A sweep that comes nowhere shows nothing.
  [ $((tries * step)) -ge "$least" ]
}

# The latest of what can be taken back of verb $1.
entry_of() { "$xp" -C proj undo --list | awk -v verb="$1" '$4 == verb { print $1; exit }'; }

# What nobody knows in the project's folder.
strangers() {
  find proj -maxdepth 1 -mindepth 1 ! -name project.xml ! -name runs ! -name .xperiment \
    ! -name '.*lock*' ! -name '.project.xml.??????????'
  find proj/runs -maxdepth 1 -mindepth 1 ! -name synth_1
}

# Launched, an option changed, and launched again.
new_relaunched_project() {
  new_quick_project
  calls launch
  note_state first
  calls set synth_1 abc9=true
  calls launch
  note_state second
}

@test "xp killed at any point of rm: the run is there or gone, and comes back whole" {
  new_quick_project
  calls launch
  note_state before
  begin_from_here
  survives() {
    calls ls || return 1
    if grep -q 'Name="synth_1"' proj/project.xml; then
      state_is before || return 1
      calls rm synth_1 || return 1
    fi
    ! grep -q 'Name="synth_1"' proj/project.xml || return 1
    calls undo && state_is before
  }
  least=25 sweep rm synth_1
}

@test "xp killed at any point of the undo of an rm: another brings it back" {
  new_quick_project
  calls launch
  note_state before
  calls rm synth_1
  begin_from_here
  survives() {
    calls ls || return 1
    state_is before || { calls undo && state_is before; } || return 1
    calls rm synth_1 || return 1
    [ ! -e $run_dir ] || return 1
    calls undo && state_is before
  }
  least=20 sweep undo
}

@test "xp killed at any point of a reset: one undo brings all back, also behind another reset" {
  new_quick_project
  calls launch
  note_state before
  begin_from_here
  survives() {
    calls ls || return 1
    rm -rf half && cp -a proj half
    state_is before || { calls undo && state_is before; } || return 1
    rm -rf proj && mv half proj
    calls reset synth_1 && [ -z "$(ls $run_dir)" ] && run_is synth_1 'not started' || return 1
    calls undo && state_is before
  }
  least=25 sweep reset synth_1
}

@test "xp killed at any point of the undo of a reset: another brings all back" {
  new_quick_project
  calls launch
  note_state before
  calls reset synth_1
  begin_from_here
  survives() {
    calls ls || return 1
    state_is before || calls undo || return 1
    state_is before
  }
  least=25 sweep undo
}

@test "xp killed at any point of the undo of a launch: another brings it back, and both stay" {
  new_relaunched_project
  begin_from_here
  calls undo
  note_state undone
  calls undo
  state_is second
  survives() {
    calls ls || return 1
    state_is undone || calls undo || return 1
    state_is undone || return 1
    calls undo || return 1
    # One that was killed at its very end is done once more.
    state_is second || calls undo || return 1
    state_is second
  }
  least=40 sweep undo
}

@test "xp killed at any point of the undo of an undo: another brings it back, and both stay" {
  new_relaunched_project
  calls undo
  note_state undone
  begin_from_here
  survives() {
    calls ls || return 1
    state_is second || calls undo || return 1
    state_is second || return 1
    calls undo || return 1
    state_is undone || calls undo || return 1
    state_is undone
  }
  least=40 sweep undo
}

@test "xp killed at any point of another launch: the one before comes back whole" {
  new_quick_project
  calls launch
  note_state before
  calls set synth_1 abc9=true
  begin_from_here
  # The option was set before the launch, and is no part of what it cleared.
  files_are_before() {
    diff <(grep -v '<' before.state) <(state | grep -v '<') >state.diff
  }
  survives() {
    soon nothing_lives && calls status || return 1
    rm -rf half && cp -a proj half
    files_are_before || { calls undo && files_are_before; } || return 1
    rm -rf proj && mv half proj
    calls launch && is_whole $run_dir || return 1
    # Where the killed one had begun, the first step back leads to what it left.
    calls undo || return 1
    files_are_before || { calls undo "$(entry_of launch)" && files_are_before; }
  }
  least=40 sweep launch --no-wait
}
