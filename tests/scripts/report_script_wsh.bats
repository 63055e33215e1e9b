#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The JScript report scripts, as their goldens have them, under the Windows Script Host.

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
    skip 'SKIPPED: wine is missing (packages wine, wine64): no report script of the Script Host is run'
  fi
  run_dir="$BATS_TEST_TMPDIR/a run & more"
  bin_dir="$BATS_TEST_TMPDIR/bin"
  mkdir -p "$run_dir" "$bin_dir"
  cd "$run_dir" || return
  wine_environment
}

# "tarnel" as a batch file whose lines are standard input.
tarnel() {
  {
    printf '@echo off\r\n'
    sed 's/$/\r/'
  } >"$bin_dir/tarnel.bat"
}

# Runs the script of the golden $1 for the step $2 once its reader has removed the three
# lines about the operating system. Under Wine the line that sets the path has to go too:
# the environment can't be set there.
execute() {
  local golden=$source_dir/tests/golden/scripts/$1/$2_reports.js
  cp "$source_dir/data/scripts/ZUMWrapReports.js" .
  sed -e '/^echo "/d' -e '/^exit$/d' -e '/^ProcEnv("PATH") = PathVal;$/d' "$golden" >"$2_reports.js"
  [ "$(diff "$golden" "$2_reports.js" | grep -c '^<')" = 4 ]
  run script_host "$2_reports.js"
}

# The log $1. Blanks before the wrapper's redirection are in an echo's line too.
log() {
  sed 's/ *\r$//' "$1"
}

@test "as it is generated the script doesn't run" {
  tarnel <<<'echo ran >ran'
  cp "$source_dir/data/scripts/ZUMWrapReports.js" "$source_dir/tests/golden/scripts/reports_synth/synth_design_reports.js" .
  run script_host synth_design_reports.js
  script_host_ran
  [ ! -e ran ]
}

@test "the command gets its words and its output goes to the step's log" {
  tarnel <<'T'
echo %*
echo error 1>&2
T
  execute reports_synth synth_design
  [ "$status" = 0 ]
  diff - <(log synth_design_reports.log) <<'W'
-nolog -nojournal -notrace -mode batch -product tarnel -source r_reports.tcl -tclargs synth_design
error
W
}

@test "each step has its log, which is added to" {
  tarnel <<<'echo %*'
  echo earlier >route_design_reports.log
  execute reports_impl opt_design
  execute reports_impl route_design
  local words='-first --second=2 -nolog -nojournal -notrace -mode batch -product zBuild -source reports/all.tcl -tclargs'
  diff - <(log opt_design_reports.log) <<<"$words opt_design"
  diff - <(log route_design_reports.log) <<<$'earlier\n'"$words route_design"
}

@test "nothing but the log is left, and no marker is touched" {
  tarnel <<<'exit /b 0'
  echo kept >.tarnel.end.rst
  touch .stop.rst
  execute reports_synth synth_design
  [ "$(markers)" = '.stop.rst .tarnel.end.rst ' ]
  [ "$(<.tarnel.end.rst)" = kept ]
  [ "$(ls)" = $'ZUMWrapReports.js\nsynth_design_reports.js\nsynth_design_reports.log' ]
}

@test "a command that fails ends the script with its status and is told in the log" {
  tarnel <<<'exit /b 5'
  execute reports_synth synth_design
  [ "$status" = 5 ]
  [ "$(log synth_design_reports.log)" = "ZUMWrapReports.js: 'tarnel' ended with status 5" ]
}

@test "a batch file that ends the shell around it is judged all the same" {
  tarnel <<<'exit 3'
  execute reports_synth synth_design
  [ "$status" = 3 ]
}

@test "a command that can't be found is told in the log" {
  execute reports_synth synth_design
  [ "$status" != 0 ]
  grep -q "ZUMWrapReports.js: 'tarnel' ended with status" synth_design_reports.log
}

@test "a log that can't be written fails the script" {
  tarnel <<<'exit /b 0'
  mkdir synth_design_reports.log
  execute reports_synth synth_design
  [ "$status" = 1 ]
  [[ "$output" == *"ZUMWrapReports.js: 'tarnel' can't be run: "* ]]
}

# An unescaped backslash is gone, or another character, in the script's own text.
@test "single backslashes in the name of the Tcl file are the Script Host's to read" {
  tarnel <<<'echo %*'
  execute reports_windows place_design
  [ "$status" != 0 ] || ! grep -q 'C:\\runs\\new' place_design_reports.log
}
