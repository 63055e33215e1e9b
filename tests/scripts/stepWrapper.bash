# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# A run directory with the step wrapper in it, and programs for it to run. A file of
# tests for another wrapper sets `wrapper_name` and `wrapper_log` once this is loaded.
# WRAPPER_SHELL names the shell that runs the wrapper (default: sh).

bats_require_minimum_version 1.5.0

source_dir=$(cd "$BATS_TEST_DIRNAME/../.." && pwd)
wrapper_source=$source_dir/data/scripts/ZUMWrap.sh
wrapper_name=ZUMWrap.sh
wrapper_log=runme.log
handle_schema=$source_dir/data/schemas/process-handle.xsd

setup() {
  run_dir="$BATS_TEST_TMPDIR/run"
  bin_dir="$BATS_TEST_TMPDIR/bin"
  mkdir -p "$run_dir" "$bin_dir"
  cp "$source_dir/data/scripts/$wrapper_name" "$run_dir"
  cd "$run_dir"
  PATH=$bin_dir:$PATH
  unset XPERIMENT_SKIP_STEPS XPERIMENT_LAUNCH
  wrapper=''
}

# Ends what a failed test has left running.
teardown() {
  local pid
  if [ -n "$wrapper" ]; then
    kill -KILL "$wrapper" 2>/dev/null || :
  fi
  for pid in "$BATS_TEST_TMPDIR"/*.pid; do
    if [ -s "$pid" ]; then
      kill -KILL -- "-$(<"$pid")" 2>/dev/null || :
    fi
  done
}

# A program $1 whose text is standard input. It can leave its process id with
# `i_am NAME` and wait with `hold`, without an end unless a signal ends it.
program() {
  {
    echo '#!/bin/sh'
    echo "out='$BATS_TEST_TMPDIR'"
    echo 'i_am() { echo $$ >"$out/$1.new"; mv "$out/$1.new" "$out/$1.pid"; }'
    echo 'hold() { while :; do sleep 1; done; }'
    cat
  } >"$bin_dir/$1"
  chmod +x "$bin_dir/$1"
}

# The wrapper as a run script calls it.
wrap() {
  ${WRAPPER_SHELL:-sh} "./$wrapper_name" "$wrapper_log" "$@" >>"$wrapper_log" 2>&1 3>&-
}

# The same beside the test, `wrapper` being its process id. A shell starts what runs
# beside it with INT ignored; a run script's wrapper hasn't.
start_wrap() {
  # shellcheck disable=SC2086
  env --default-signal=INT,QUIT ${WRAPPER_SHELL:-sh} "./$wrapper_name" "$wrapper_log" "$@" >>"$wrapper_log" 2>&1 3>&- &
  wrapper=$!
}

# Sets `status` to the wrapper's.
finish_wrap() {
  status=0
  wait "$wrapper" || status=$?
  wrapper=''
}

# Comes back when the command $@ is true, or fails after 20 s.
until_true() {
  local end=$((SECONDS + 20))
  until "$@"; do
    if ((SECONDS >= end)); then
      echo "never came true: $*"
      return 1
    fi
    read -rt 0.02 <> <(:) || :
  done
}

file_stands() { [ -e "$1" ]; }

# Comes back when the program has said that it is $1, and sets `pid`.
until_it_is() {
  until_true file_stands "$BATS_TEST_TMPDIR/$1.pid"
  pid=$(<"$BATS_TEST_TMPDIR/$1.pid")
}

# Nothing lives in the process group $1; who waits to be reaped doesn't live.
group_is_gone() {
  local stat rest
  for stat in /proc/[0-9]*/stat; do
    rest=$(cat "$stat" 2>/dev/null) || continue
    rest=${rest##*) }
    # shellcheck disable=SC2086
    set -- "$1" $rest
    if [ "$4" = "$1" ] && [ "$2" != Z ]; then
      echo "alive: $stat $rest"
      return 1
    fi
  done
}

# Every process of the group $1 is suspended. A shell that starts a program may be in D:
# it waits for a child that was suspended before it became the program.
group_is_stopped() {
  local stat rest
  for stat in /proc/[0-9]*/stat; do
    rest=$(cat "$stat" 2>/dev/null) || continue
    rest=${rest##*) }
    # shellcheck disable=SC2086
    set -- "$1" $rest
    [ "$4" != "$1" ] || [[ $2 == [TDZ] ]] || return 1
  done
}

# The hidden files of the run directory, in one line.
markers() {
  (
    shopt -s dotglob nullglob
    for file in .*.*; do
      printf '%s ' "$file"
    done
  )
}

# What the handle of step $1 has at the XPath $2.
handle() {
  xmllint --xpath "string($2)" ".$1.begin.rst"
}

milliseconds() {
  local now=${EPOCHREALTIME/[.,]/}
  echo "${now%???}"
}
