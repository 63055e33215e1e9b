#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Why a run is out of date, and what a launch would do about it.

load xp.bash

setup_file() { need_tools; }

launched_project() {
  new_project_with_runs
  "$xp" -C proj launch 2>/dev/null
}

# Puts a program in front of the tool $1 that says version $2, and else is the tool.
tell_other_version() {
  local real
  real=$(command -v "$1")
  mkdir -p other
  cat >"other/$1" <<TOOL
#!/bin/sh
[ "\$1" = --version ] || exec '$real' "\$@"
echo asked >>'$BATS_TEST_TMPDIR/asked'
echo '$2'
TOOL
  chmod +x "other/$1"
  PATH=$BATS_TEST_TMPDIR/other:$PATH
}

@test "a touched file and one that is checked out anew leave everything up to date" {
  launched_project
  cp blinky.v kept.v
  rm blinky.v
  cp kept.v blinky.v
  touch -d '+10 seconds' blinky.pcf
  run -0 "$xp" -C proj why impl_1
  [ "$output" = 'impl_1: up to date' ]
  run -0 "$xp" -C proj plan
  [ "$output" = $'synth_1: up to date\nimpl_1: up to date' ]
}

@test "a changed file is found though its time is that of before" {
  launched_project
  cp -p blinky.v kept.v
  sed -i 's/blinky/blinkY/' blinky.v
  touch -r kept.v blinky.v
  run -0 "$xp" -C proj why synth_1
  [[ $output == "synth_1, launched "*", is out of date:"*synth_design*"source $BATS_TEST_TMPDIR/blinky.v: changed, since "* ]]
}

@test "a file that is gone is told as missing" {
  launched_project
  rm blinky.pcf
  run -0 "$xp" -C proj why impl_1
  [[ $output == *"constraints $BATS_TEST_TMPDIR/blinky.pcf: missing"* ]]
  run -0 "$xp" -C proj why synth_1
  [ "$output" = 'synth_1: up to date' ]
}

@test "another version of a tool is told from which to which, and only for its steps" {
  launched_project
  tell_other_version nextpnr-ice40 'nextpnr-ice40 -- Next Generation Place and Route (Version 99.1)'
  run -0 "$xp" -C proj why impl_1
  [[ $output == *$'place_design\n  tool nextpnr-ice40: nextpnr-ice40 '*' at the launch, nextpnr-ice40 99.1 now, since '* ]]
  [[ $output != *$'init_design\n'* ]]
  [ "$(wc -l <asked)" = 1 ]
  run -0 "$xp" -C proj why synth_1
  [ "$output" = 'synth_1: up to date' ]
  run -0 "$xp" -C proj plan
  [[ $output == *'1. impl_1: place_design to write_bitstream'* ]]
}

@test "a tool of the same version elsewhere changes nothing" {
  launched_project
  tell_other_version yosys "$(yosys --version)"
  [ "$(status_of synth_1 stale)" = False ]
  [ "$(wc -l <asked)" = 1 ]
}

@test "xp status asks no tool while it is that of the launch" {
  new_project_with_runs
  tell_other_version yosys "$(yosys --version)"
  "$xp" -C proj launch synth_1
  : >asked
  [ "$(status_of synth_1 stale)" = False ]
  [ ! -s asked ]
}

@test "a plan tells what the launch then does" {
  launched_project
  "$xp" -C proj set impl_1 router=router2
  run -0 "$xp" -C proj plan
  [ "$output" = 'synth_1: up to date
1. impl_1: route_design to write_bitstream
   route_design: option router: router1 at the launch, router2 now' ]
  local dir=$project/runs/impl_1
  touch -r "$dir/.ice40_place.end.rst" stamp
  "$xp" -C proj launch
  [ ! "$dir/.ice40_place.end.rst" -nt stamp ]
  run -0 "$xp" -C proj plan impl_1
  [ "$output" = 'impl_1: up to date' ]
}

@test "a plan changes nothing, also while another xp holds the project" {
  new_project_with_runs
  find proj | sort >before
  cp proj/project.xml kept.xml
  exec 6>>proj/.project.lock
  flock 6
  run -0 "$xp" -C proj plan
  exec 6>&-
  [ "$output" = '1. synth_1: synth_design
   it was never launched
2. impl_1: init_design to write_bitstream
   its synthesis synth_1 runs anew' ]
  find proj | sort | cmp - before
  cmp proj/project.xml kept.xml
}

@test "a plan says what keeps a launch from beginning" {
  new_project_with_runs
  run -0 without_tools "$xp" -C proj plan
  [[ $output == *'A launch would be refused now: Nothing is launched: '*yosys*'apt-get install'* ]]
  rm blinky.v
  run -0 "$xp" -C proj plan synth_1
  [[ $output == "synth_1: refused. Run synth_1 isn't launched: its source $BATS_TEST_TMPDIR/blinky.v doesn't exist."* ]]
}

@test "why and plan speak JSON" {
  launched_project
  "$xp" -C proj set impl_1 seed=5
  run -0 --separate-stderr "$xp" -C proj why impl_1 --json
  [ "$(json 'j["stale"], j["steps"][0]["step"], j["steps"][0]["reasons"][0]["after"], j["steps"][1]["follows"]' <<<"$output")" = \
    "(True, 'place_design', '5', 'place_design')" ]
  [ "$(json 'len(j["reports"]) > 0' <<<"$output")" = True ]
  run -0 --separate-stderr "$xp" -C proj plan --json
  [ "$(json '[(r["name"], r["action"], r["from"]) for r in j["runs"]], j["refusal"]' <<<"$output")" = \
    "([('synth_1', 'none', ''), ('impl_1', 'launch', 'place_design')], '')" ]
}

@test "a project of before, without fingerprints, is judged by times" {
  launched_project
  sed -i '/<File /d; /<Tool /d; s/Version="1" Minor="2" Name/Version="1" Minor="1" Name/' proj/project.xml
  [ "$(status_of synth_1 stale)" = False ]
  touch -d '+10 seconds' blinky.v
  run -0 "$xp" -C proj why synth_1
  [[ $output == *"source $BATS_TEST_TMPDIR/blinky.v: changed, since "* ]]
}

# What makes a source mean something else: blinky steps twice as fast.
change_design() { sed -i 's/STEP = 1500000/STEP = 750000/' blinky.v; }

@test "a changed comment makes nothing out of date, and that is told" {
  launched_project
  sed -i '1i // A line more,\n// and another.' blinky.v
  sed -i 's/^# .*/# Another comment./; $a # the end' blinky.pcf
  [ "$(status_of synth_1 stale)" = False ]
  [ "$(status_of impl_1 stale)" = False ]
  run -0 "$xp" -C proj why synth_1
  [[ ${lines[0]} == 'synth_1: up to date' ]]
  [[ ${lines[1]} == 'no reason to launch again:' ]]
  [[ ${lines[2]} == "  source $BATS_TEST_TMPDIR/blinky.v: changed, since "*', but it means the same' ]]
  run -0 "$xp" -C proj why impl_1 --json
  [[ "$(json 'j["stale"], len(j["harmless"])' <<<"$output")" == '(False, 1)' ]]
  run -0 "$xp" -C proj launch
  [[ $output == *'synth_1: up to date'* ]]
  [[ $output == *'impl_1: up to date'* ]]
}

@test "a change of the design beside a changed comment is found" {
  launched_project
  sed -i '1i // A line more.' blinky.v
  [ "$(status_of synth_1 stale)" = False ]
  change_design
  [ "$(status_of synth_1 stale)" = True ]
  sed -i 's/set_io *clk.*/set_io clk J4/' blinky.pcf
  run -0 "$xp" -C proj why impl_1
  [[ $output == *"constraints $BATS_TEST_TMPDIR/blinky.pcf: changed"* ]]
}

@test "a source that can't be read as Verilog any more is a change" {
  launched_project
  echo 'endmodule' >>blinky.v
  [ "$(status_of synth_1 stale)" = True ]
}

@test "the contents of a memory mean something" {
  cat >rom.v <<'V'
module rom(input clk, input [3:0] a, output reg [7:0] led);
  reg [7:0] mem [0:15];
  initial $readmemh("rom.hex", mem);
  always @(posedge clk) led <= mem[a] + a;
endmodule
V
  printf '%s\n' 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 >rom.hex
  touch -d '1 hour ago' rom.v rom.hex
  "$xp" new proj --top rom --source rom.v 2>/dev/null
  "$xp" -C proj create synth_1 --flow synth 2>/dev/null
  "$xp" -C proj launch 2>/dev/null
  sed -i '1i // one' rom.hex
  [ "$(status_of synth_1 stale)" = False ]
  sed -i 's/^05$/55/' rom.hex
  [ "$(status_of synth_1 stale)" = True ]
}

@test "a synthesis that makes the same netlist leaves the implementation as it is, and says so" {
  launched_project
  before=$(stat -c %Y.%i proj/runs/impl_1/blinky.bin)
  # Elaborated as a comparison more, which the synthesis sees through.
  sed -i "s/if (last) begin/if (last == 1'b1) begin/" blinky.v
  [ "$(status_of synth_1 stale)" = True ]
  run -0 "$xp" -C proj launch
  [[ $output == *'impl_1: up to date, synth_1 made the same netlist again'* ]]
  [ "$(stat -c %Y.%i proj/runs/impl_1/blinky.bin)" = "$before" ]
  run -0 "$xp" -C proj why impl_1
  [[ ${lines[0]} == 'impl_1: up to date' ]]
  [[ $output == *'synthesis synth_1 was launched again and made the same netlist'* ]]
  change_design
  run -0 "$xp" -C proj launch
  [[ $output != *'same netlist'* ]]
  [ "$(stat -c %Y.%i proj/runs/impl_1/blinky.bin)" != "$before" ]
}

@test "while its synthesis is launched anew an implementation isn't called up to date" {
  launched_project
  "$xp" -C proj reset synth_1 --keep-files 2>/dev/null
  hold_tool yosys
  "$xp" -C proj launch synth_1 --no-wait 2>/dev/null
  tool_started
  [ "$(status_of impl_1 stale)" = True ]
  release_tool
  "$xp" -C proj wait 2>/dev/null
  [ "$(status_of impl_1 stale)" = False ]
}
