#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The JScript run scripts, as their goldens have them, under the Windows Script Host.

load stepWrapper
load wine

setup_file() {
  load wine
  if wine_is_missing; then
    return
  fi
  start_wine
}

teardown_file() {
  load wine
  wine_is_missing || stop_wine
}

setup() {
  if wine_is_missing; then
    skip 'SKIPPED: wine is missing (packages wine, wine64): no run script of the Script Host is run'
  fi
  run_dir="$BATS_TEST_TMPDIR/a run & more"
  bin_dir="$BATS_TEST_TMPDIR/bin"
  mkdir -p "$run_dir" "$bin_dir"
  cd "$run_dir" || return
  wine_environment
  unset XPERIMENT_SKIP_STEPS
}

# A program $1 that notes its name and its words in a line of "words" and ends with
# the status $2.
recorder() {
  printf '@>>words echo %s:%%*\r\n@exit /b %s\r\n' "$1" "${2:-0}" >"$bin_dir/$1.bat"
}

# Runs the script of the golden $1 once its reader has removed the three lines about
# the operating system. Under Wine the line that sets the path has to go too: the
# environment can't be set there.
execute() {
  local golden=$source_dir/tests/golden/scripts/$1/rundef.js
  cp "$source_dir/data/scripts/ZUMWrap.js" .
  sed -e '/^echo "/d' -e '/^exit$/d' -e '/^ProcEnv("PATH") = PathVal;$/d' "$golden" >rundef.js
  [ "$(diff "$golden" rundef.js | grep -c '^<')" = 4 ]
  run script_host rundef.js
}

# What the programs noted. The blank before the wrapper's redirection is theirs too.
words() {
  sed 's/ *\r$//' words
}

@test "as it is generated the script doesn't run" {
  recorder synth
  cp "$source_dir/data/scripts/ZUMWrap.js" "$source_dir/tests/golden/scripts/nothing_set/rundef.js" .
  run script_host rundef.js
  script_host_ran
  [ ! -e words ]
  [ "$(markers)" = '' ]
}

@test "a step without options is run and leaves its markers" {
  recorder synth
  execute nothing_set
  [ "$(words)" = 'synth:' ]
  [ "$(markers)" = '.synth.begin.rst .synth.end.rst ' ]
}

@test "options arrive in their order" {
  recorder synth
  execute all_set
  [ "$(words)" = 'synth:-flag -level 7 -part up 5k -D A=1 -D B=2 -effort high -in top.v extra.v' ]
}

@test "file names with blanks arrive in quotes, step by step" {
  recorder tool
  recorder Other9
  execute blanks
  diff - <(words) <<'W'
tool:-in "my source.v" -out plain.v "/the/other source.v"
tool:-in "again here.v"
Other9:-part two words -in " "
W
  [ "$(markers)" = '.Other9.begin.rst .Other9.end.rst .tool.begin.rst .tool.end.rst ' ]
}

@test "quotes and backslashes arrive as they are" {
  recorder tool
  execute quotes
  diff - <(words) <<'W'
tool:-mode "a\b" -part "up 5k" -D N=\"1\" -in "C:\my files\a.v" -out C:\a "done"
W
}

@test "the commands around the steps are run" {
  recorder synth
  execute hooks
  [ "$(words)" = 'synth:' ]
  [ "$(markers)" = '.synth.begin.rst .synth.end.rst ' ]
}

@test "a step that stands as a comment isn't run" {
  recorder place
  recorder route
  execute commented
  [ "$(words)" = 'route:' ]
  [ "$(markers)" = '.route.begin.rst .route.end.rst ' ]
}

@test "a script without a step does nothing" {
  execute all_done
  script_host_ran
  [ "$(markers)" = '' ]
}

@test "steps behind a failed one aren't run" {
  recorder synth
  recorder place 3
  recorder route
  execute disabled_step
  [ "$(words)" = $'synth:\nplace:' ]
  [ "$(markers)" = '.place.begin.rst .place.error.rst .synth.begin.rst .synth.end.rst ' ]
}
