#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Several xp at one project at the same time.

load faults.bash

# A synthesis tool that notes when two of it are at work in one directory.
watchful_tool() {
  quick_tools
  cat >"$tool_dir/before" <<'TOOL'
mkdir at_work || echo "$PWD" >>"$here/doubled"
echo "$PWD" >>"$here/started"
: >ready
while [ -e "$here/hold" ]; do sleep 0.02; done
rmdir at_work
TOOL
}

# Starts xp with the words $2... in the background; what it says goes to $1.out.
beside() {
  local name=$1
  shift
  "$xp" -C proj "$@" >"$name.out" 2>&1 &
  pids[$name]=$!
}

# Sets ended[$1] to the status of that xp.
end_of() {
  ended[$1]=0
  wait "${pids[$1]}" || ended[$1]=$?
}

# Every status is one that can be true now that nothing is at work.
at_rest() {
  local word
  soon nothing_lives || return 1
  [ ! -e "$tool_dir/doubled" ] || { echo "two at work in $(<"$tool_dir/doubled")"; return 1; }
  word=$(status_word "$1")
  [[ $word != running && $word != queued ]] || { echo "$1 is $word"; return 1; }
  [ "$word" != 'done' ] || is_whole "proj/runs/$1"
}

@test "of two launches of one run at once one works, and the other is told why not" {
  new_quick_project
  watchful_tool
  declare -A pids ended
  local round
  for round in 1 2 3 4 5 6; do
    beside a launch synth_1 --no-wait
    beside b launch synth_1 --no-wait
    end_of a
    end_of b
    at_rest synth_1
    # Who came when the other was through finds a run that is at work, or done.
    [ "${ended[a]}" = 0 ] || [ "${ended[b]}" = 0 ]
    for name in a b; do
      [ "${ended[$name]}" = 0 ] || grep -q 'is open in another process\|already, launched by' $name.out
    done
    [ "$(wc -l <"$tool_dir/started")" = "$round" ]
    [ "$(status_word synth_1)" = 'done' ]
    "$xp" -C proj reset synth_1
  done
  assert_canaries
}

@test "of launches of two runs at once none is lost, and none runs twice" {
  new_quick_project
  "$xp" -C proj create synth_2 --flow synth 2>/dev/null
  watchful_tool
  declare -A pids ended
  local round
  for round in 1 2 3 4; do
    beside a launch synth_1
    beside b launch synth_2
    end_of a
    end_of b
    at_rest synth_1
    at_rest synth_2
    for name in a b; do
      local run=synth_1
      [ $name = a ] || run=synth_2
      if [ "${ended[$name]}" = 0 ]; then
        [ "$(status_word $run)" = 'done' ]
      else
        grep -q 'is open in another process' $name.out
        "$xp" -C proj launch $run
      fi
    done
    "$xp" -C proj reset synth_1
    "$xp" -C proj reset synth_2
  done
  [ "$(wc -l <"$tool_dir/started")" = 8 ]
  assert_canaries
}

@test "a launch and a reset at once leave a run that is whole or not there" {
  new_quick_project
  watchful_tool
  declare -A pids ended
  local round
  for round in 1 2 3 4 5 6; do
    beside a launch synth_1 --no-wait
    beside b reset synth_1
    end_of a
    end_of b
    [ "${ended[a]}" = 0 ] || grep -q 'is open in another process' a.out
    at_rest synth_1
    "$xp" -C proj launch synth_1
    is_whole $run_dir
  done
  assert_canaries
}

@test "a kill and a launch at once: what is left is at work and told so, or nothing is" {
  new_quick_project
  watchful_tool
  touch "$tool_dir/hold"
  declare -A pids ended
  local round
  for round in 1 2 3 4 5 6 7 8; do
    beside a launch synth_1 --no-wait
    beside b kill synth_1
    end_of a
    end_of b
    [ "${ended[b]}" = 0 ] || { cat b.out; false; }
    case $(status_word synth_1) in
      running | queued) soon test -e $run_dir/ready ;;
      *) nothing_lives ;;
    esac
    "$xp" -C proj kill synth_1
    nothing_lives
    [[ $(status_word synth_1) == stopped || $(status_word synth_1) == 'not started' ]]
    "$xp" -C proj reset synth_1
    rm -rf $run_dir/at_work $run_dir/ready
  done
  assert_canaries
}

@test "kills of one run at once all end well" {
  new_quick_project
  watchful_tool
  touch "$tool_dir/hold"
  declare -A pids ended
  local name
  "$xp" -C proj launch synth_1 --no-wait
  soon test -e $run_dir/ready
  for name in a b c; do
    beside $name kill synth_1
  done
  for name in a b c; do
    end_of $name
    [ "${ended[$name]}" = 0 ] || { cat $name.out; false; }
  done
  nothing_lives
  [ "$(status_word synth_1)" = stopped ]
}

@test "a status asked for again and again during launches and resets never fails or lies" {
  new_quick_project
  declare -A pids ended
  local round word
  for round in 1 2 3; do
    beside a launch synth_1
    while kill -0 "${pids[a]}" 2>/dev/null; do
      word=$(status_word synth_1)
      case $word in
        'done') is_whole $run_dir ;;
        'not started' | queued | running) ;;
        *) echo "says $word"; false ;;
      esac
    done
    end_of a
    [ "$(status_word synth_1)" = 'done' ]
    "$xp" -C proj reset synth_1
  done
}
