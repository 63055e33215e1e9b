#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Runs over the real tools.

load xp.bash

setup_file() { need_tools; }

@test "a launch takes a design from Verilog to a bitstream" {
  new_project_with_runs
  run -0 --separate-stderr "$xp" -C proj launch
  [ -s "$project/runs/impl_1/blinky.bin" ]
  [[ ${lines[0]} == Run*Strategy*Status*LUTs*Fmax*Slack*Seconds* ]]
  [[ ${lines[1]} == 'synth_1  synth  Default   done    synth_design '* ]]
  [[ ${lines[2]} == 'impl_1   impl   Default   done    write_bitstream '* ]]
  [[ $output == *"Bitstream of impl_1: $project/runs/impl_1/blinky.bin"* ]]
  [[ $output == *"Log of impl_1: $project/runs/impl_1/runme.log"* ]]
  # The numbers are those of the tool's own report.
  local fmax
  fmax=$(json 'round(list(j["fmax"].values())[0]["achieved"], 1)' \
    <"$project/runs/impl_1/route_design.report.json")
  [[ ${lines[2]} == *" $fmax "* ]]
  run -0 --separate-stderr "$xp" -C proj status impl_1 --json
  [ "$(json 'j["runs"][0]["results"]["luts"] > 20, j["runs"][0]["results"]["worst_slack_ns"] > 0' \
    <<<"$output")" = '(True, True)' ]
}

@test "the project file fits its schema before and after a launch" {
  command -v xmllint >/dev/null || skip 'no xmllint here'
  new_project --define N=3 --include .
  "$xp" -C proj create synth_1 --flow synth --set abc9=true
  "$xp" -C proj create impl_1 --flow impl --to route
  xmllint --noout --nonet --schema "$source_dir/data/schemas/project.xsd" proj/project.xml
  "$xp" -C proj launch
  xmllint --noout --nonet --schema "$source_dir/data/schemas/project.xsd" proj/project.xml
}

@test "off a terminal each step is told in one line, without an escape byte" {
  new_project_with_runs
  run -0 --separate-stderr "$xp" -C proj launch
  [ "$(grep -vc "done" <<<"$stderr")" = 5 ]
  [[ $stderr == 'synth_1: synth_design'*'synth_1: done in '*'impl_1: init_design'*'impl_1: place_design'*'impl_1: route_design'*'impl_1: write_bitstream'*'impl_1: done in '*' MHz' ]]
  [[ $output$stderr != *$'\e'* ]]
}

@test "on a terminal the line that changes is cut at the width and gone at the end" {
  script -qec true /dev/null >/dev/null 2>&1 || skip 'SKIPPED: no pseudo-terminal can be made here'
  new_project
  "$xp" -C proj create synth_1 --flow synth
  COLUMNS=40 run -0 script -qec "'$xp' -C proj launch" /dev/null
  [[ $output == *$'\r[0/1] running 1: synth_1 '* ]]
  local drawn
  while IFS= read -r -d $'\r' drawn; do
    drawn=${drawn%%$'\e[K'*}
    drawn=${drawn##*$'\n'}
    [[ $drawn != '[0/1]'* || ${#drawn} -le 39 ]]
  done <<<"$output"
  [[ $output == *$'\r\e[K'*'synth_1: done in '* ]]
}

@test "a dumb terminal gets plain lines" {
  script -qec true /dev/null >/dev/null 2>&1 || skip 'SKIPPED: no pseudo-terminal can be made here'
  new_project
  "$xp" -C proj create synth_1 --flow synth
  TERM=dumb run -0 script -qec "'$xp' -C proj launch" /dev/null
  [[ $output != *$'\e'* ]]
  [[ $output == *'synth_1: synth_design'* ]]
}

@test "what is up to date isn't launched again, and needs no tool" {
  new_project_with_runs
  "$xp" -C proj launch
  touch "$BATS_TEST_TMPDIR/stamp"
  run -0 --separate-stderr without_tools "$xp" -C proj launch
  [ "$stderr" = $'synth_1: up to date\nimpl_1: up to date' ]
  [[ $output == *"Bitstream of impl_1: "* ]]
  [ -z "$(find "$project/runs" -newer "$BATS_TEST_TMPDIR/stamp")" ]
}

@test "an implementation launches its synthesis first, and only that" {
  new_project_with_runs
  "$xp" -C proj create impl_2 --flow impl
  run -0 --separate-stderr "$xp" -C proj launch impl_2
  [[ $stderr == 'synth_1: synth_design'* ]]
  [ "$(status_of synth_1 status)" = "done" ]
  [ "$(status_of impl_2 status)" = "done" ]
  [ "$(status_of impl_1 status)" = 'not started' ]
}

@test "a changed option makes a run stale, and it begins again at that step" {
  new_project_with_runs
  "$xp" -C proj launch
  local dir=$project/runs/impl_1
  touch -r "$dir/.ice40_init.end.rst" stamp
  "$xp" -C proj set impl_1 seed=4
  [ "$(status_of impl_1 stale)" = True ]
  [ "$(status_of synth_1 stale)" = False ]
  run -0 "$xp" -C proj show impl_1
  [[ $output == *'Stale '*seed*1*4* ]]
  run -0 --separate-stderr "$xp" -C proj launch
  [[ $stderr == 'synth_1: up to date'* ]]
  [ ! "$dir/.ice40_init.end.rst" -nt stamp ]
  [ ! stamp -nt "$dir/.ice40_init.end.rst" ]
  [ "$(status_of impl_1 stale)" = False ]
  grep -q -- '--seed 4' "$dir/runme.sh"
}

@test "an option set back makes a run fresh again" {
  new_project_with_runs
  "$xp" -C proj launch
  "$xp" -C proj set impl_1 seed=4
  "$xp" -C proj set impl_1 seed=1
  [ "$(status_of impl_1 stale)" = False ]
}

# What makes a source mean something else: blinky steps twice as fast.
change_design() { sed -i 's/STEP = 1500000/STEP = 750000/' blinky.v; }

@test "a changed source makes synthesis and implementation stale, and both run again" {
  new_project_with_runs
  "$xp" -C proj launch
  cp blinky.v kept.v
  change_design
  [ "$(status_of synth_1 stale)" = True ]
  [ "$(status_of impl_1 stale)" = True ]
  run -0 "$xp" -C proj show synth_1
  [[ $output == *"$BATS_TEST_TMPDIR/blinky.v"* ]]
  run -0 "$xp" -C proj show impl_1
  [[ $output == *'Its synthesis synth_1 is out of date.'* ]]
  cp kept.v blinky.v
  [ "$(status_of impl_1 stale)" = False ]
  change_design
  run -0 --separate-stderr "$xp" -C proj launch impl_1
  [[ $stderr == *'synth_1: synth_design'*'impl_1: init_design'* ]]
}

@test "a source that is added counts when it means something, however old it is" {
  new_project_with_runs
  "$xp" -C proj launch synth_1
  echo 'module spare (input a, output b); assign b = a; endmodule' >spare.v
  echo 'module blinky (input clk, output led); assign led = clk; endmodule' >other.v
  touch -d '1 day ago' spare.v other.v
  "$xp" -C proj add spare.v
  [ "$(status_of synth_1 stale)" = False ]
  "$xp" -C proj add other.v
  [ "$(status_of synth_1 stale)" = True ]
  run -0 "$xp" -C proj show synth_1
  [[ $output == *other.v* ]]
}

@test "a changed file that a source includes makes the synthesis stale" {
  mkdir inc
  echo '`define STEPS 1500000' >inc/steps.vh
  touch -d '1 hour ago' inc/steps.vh
  sed -i '1i `include "steps.vh"
    s/STEP = 1500000/STEP = `STEPS/' blinky.v
  touch -d '1 hour ago' blinky.v
  new_project --include inc
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj launch
  [ "$(status_of synth_1 stale)" = False ]
  echo '`define STEPS 1500001' >inc/steps.vh
  touch -d '1 hour ago' inc/steps.vh
  [ "$(status_of synth_1 stale)" = True ]
}

@test "changed constraints make the implementation stale, not the synthesis" {
  new_project_with_runs
  "$xp" -C proj launch
  sed -i 's/^set_io clk .*/set_io clk J4/' blinky.pcf
  [ "$(status_of synth_1 stale)" = False ]
  [ "$(status_of impl_1 stale)" = True ]
}

@test "a run that is to end early is done there, and goes on from there later" {
  new_project_with_runs
  "$xp" -C proj set impl_1 --to place
  run -0 "$xp" -C proj launch impl_1
  [ "$(status_of impl_1 status)" = "done" ]
  [ ! -e "$project/runs/impl_1/.ice40_route.begin.rst" ]
  touch -r "$project/runs/impl_1/.ice40_place.end.rst" stamp
  "$xp" -C proj set impl_1 --to ''
  run -0 "$xp" -C proj launch impl_1
  [ -s "$project/runs/impl_1/blinky.bin" ]
  [ ! "$project/runs/impl_1/.ice40_place.end.rst" -nt stamp ]
}

@test "a disabled step is passed over" {
  new_project_with_runs
  "$xp" -C proj set impl_1 write_bitstream.is_enabled=false
  run -0 "$xp" -C proj launch impl_1
  [ "$(status_of impl_1 status)" = "done" ]
  [ ! -e "$project/runs/impl_1/blinky.bin" ]
  [ "$(status_of impl_1 bitstream)" = None ]
}

@test "a launch needn't be waited for" {
  new_project_with_runs
  hold_tool yosys
  run -0 --separate-stderr "$xp" -C proj launch synth_1 --no-wait
  [ "$stderr" = 'synth_1: started' ]
  tool_started
  [ "$(status_of synth_1 status)" = running ]
  [ "$(status_of synth_1 step)" = synth_design ]
  release_tool
  run -0 --separate-stderr "$xp" -C proj wait
  [[ $output == *'synth_1  synth  Default   done '* ]]
}

@test "without waiting, an implementation whose synthesis isn't done is refused" {
  new_project_with_runs
  hold_tool yosys
  run -6 "$xp" -C proj launch --no-wait
  [[ $output == *'synth_1: started'* ]]
  assert_one_error "Run impl_1 isn't launched: its synthesis synth_1 isn't done"
  tool_started
  [ "$(status_of impl_1 status)" = 'not started' ]
}

@test "the log of a run is what its tools printed" {
  new_project_with_runs
  "$xp" -C proj launch synth_1
  run -0 --separate-stderr "$xp" -C proj log synth_1
  [ "$output" = "$(cat "$project/runs/synth_1/runme.log")" ]
  [[ $output == *'Executing'* ]]
  run -0 --separate-stderr "$xp" -C proj log synth_1 --lines 3
  [ "$output" = "$(tail -n 3 "$project/runs/synth_1/runme.log")" ]
}

@test "a log of any length is told whole, byte for byte" {
  new_project_with_runs
  "$xp" -C proj launch synth_1
  log="$project/runs/synth_1/runme.log"
  # Lines of 1 to 4 bytes a character, none as long as a power of two; and one of 20 MB.
  yes $'\tInfo: the größte 日本 \U1F600 cell, 100 % of it' | head -n 1000000 >>"$log"
  { head -c 20000000 /dev/zero | tr '\0' x; echo; } >>"$log"
  [ "$(stat -c %s "$log")" -gt 67108864 ]
  "$xp" -C proj log synth_1 | cmp - "$log"
  "$xp" -C proj log synth_1 --lines 2 | cmp - <(tail -n 2 "$log")
  # What a terminal would obey isn't told, and a last line gets its end.
  printf 'a\e[31mb\rc\377d' >>"$log"
  run -0 --separate-stderr "$xp" -C proj log synth_1 --lines 1
  [ "$output" = 'a\x1b[31mb\rc\u{fffd}d' ]
  "$xp" -C proj log synth_1 | tail -n 1 | cmp - <(printf '%s\n' "$output")
}

@test "a run that begins anew has a log of its own" {
  new_project_with_runs
  "$xp" -C proj launch synth_1
  "$xp" -C proj set synth_1 abc9=true
  "$xp" -C proj launch synth_1
  [ "$(grep -c '^Command: yosys ' "$project/runs/synth_1/runme.log")" = 1 ]
}

@test "a design with blanks and quotes around its paths runs" {
  mkdir 'my design'
  cp -p blinky.v blinky.pcf 'my design'
  "$xp" new 'my project' --top blinky --source 'my design/blinky.v' \
    --constraints 'my design/blinky.pcf'
  "$xp" -C 'my project' create synth_1 --flow synth
  "$xp" -C 'my project' create impl_1 --flow impl
  run -0 "$xp" -C 'my project' launch
  [ -s 'my project/runs/impl_1/blinky.bin' ]
}
