#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# xp bug: a pack repeats the failure elsewhere, with nothing of the original left.

load xp.bash

setup_file() { need_tools; }
teardown() { end_runs; }

# Moves into a project of its own folder that is gone once the run $1 is packed, and unpacks.
packed() {
  run -0 "$xp" -C proj bug "$1" -o pack.tar.gz
  mkdir elsewhere
  tar -xzf pack.tar.gz -C elsewhere
  rm -r proj src
  cd "elsewhere/bug-$1" || return
}

# Sources with an included file in another folder and a memory file beside them.
new_design() {
  mkdir -p src/rtl src/inc
  cat >src/rtl/t.v
  cat >src/inc/width.vh <<<'`define WIDTH 4'
  printf '0\n1\n2\n3\n' >src/rtl/rom.hex
  [ ! -f blinky.pcf ] || mv blinky.pcf src/pins.pcf
  "$xp" new proj --top t --source src/rtl/t.v --include src/inc "$@" 2>/dev/null
  "$xp" -C proj create synth_1 --flow synth 2>/dev/null
}

good_design() {
  new_design "$@" <<'V'
`include "width.vh"
module t(input c, input [1:0] a, output reg [`WIDTH-1:0] q);
  reg [`WIDTH-1:0] m[0:3];
  initial $readmemh("rom.hex", m);
  always @(posedge c) q <= m[a];
endmodule
V
}

# Nothing in the pack tells where it was made, by whom, or what the environment held.
assert_clean() {
  run grep -rlF -e "$BATS_TEST_TMPDIR" -e "$HOME/" -e s3cr3t .
  [ -z "$output" ] || { echo "tells its origin: $output"; return 1; }
}

@test "a synthesis that fails is repeated with the same words" {
  export XP_TOKEN=s3cr3t
  new_design <<'V'
`include "width.vh"
module t(input c, output reg [`WIDTH-1:0] q);
  always @(posedge c) q <= q + ;
endmodule
V
  run -1 "$xp" -C proj launch synth_1
  packed synth_1
  assert_clean
  run -1 ./reproduce.sh
  [[ $output == *'t.v:3: ERROR: syntax error'* ]]
  grep -q 'syntax error' README.md run/runme.log
  grep -qF 'Yosys' versions.txt
}

@test "a synthesis that is done is repeated with its includes and memory files" {
  good_design
  "$xp" -C proj launch synth_1 2>/dev/null
  packed synth_1
  assert_clean
  run -0 ./reproduce.sh
  [ -s run/netlist.json ]
}

@test "a placement that doesn't fit is repeated" {
  new_design --device lp384 --package qn32 <<'V'
`include "width.vh"
module t(input c, input d, output q);
  reg [499:0] r;
  always @(posedge c) r <= {r[498:0], d ^ r[17]};
  assign q = r[499];
endmodule
V
  "$xp" -C proj create impl_1 --flow impl --set allow_unconstrained=true 2>/dev/null
  "$xp" -C proj create impl_2 --flow impl 2>/dev/null
  run -1 "$xp" -C proj launch impl_1
  packed impl_1
  assert_clean
  run ! ./reproduce.sh
  [[ $output == *"no BELs remaining to implement cell type 'ICESTORM_LC'"* ]]
  # The project is cut to the run and its synthesis.
  run -0 grep -o '<Run Name="[^"]*"' project/project.xml
  [ "$output" = $'<Run Name="synth_1"\n<Run Name="impl_1"' ]
  grep -qF 'init_design.allow_unconstrained=true' options.txt
}

@test "constraints that a check refuses are refused by the tool too" {
  sed -i 's/J3/ZZ99/' blinky.pcf
  cp blinky.v good.v
  new_design --constraints src/pins.pcf <good.v
  sed -i 's/Top="t"/Top="blinky"/' proj/project.xml
  "$xp" -C proj create impl_1 --flow impl 2>/dev/null
  run -1 "$xp" -C proj launch impl_1
  packed impl_1
  run ! ./reproduce.sh
  [[ $output == *ZZ99* ]]
}

@test "the routing and the bitstream of a good run are repeated" {
  good_design --device lp384 --package qn32
  "$xp" -C proj create impl_1 --flow impl --set allow_unconstrained=true --to route 2>/dev/null
  "$xp" -C proj launch impl_1 2>/dev/null
  packed impl_1
  run -0 ./reproduce.sh
  [[ $output == *'Timing estimate'* ]]
}

@test "a run that wasn't launched, and a file that is there, are refused" {
  good_design
  run -6 "$xp" -C proj bug synth_1
  assert_one_error "wasn't launched" 'xp launch synth_1'
  [ ! -e bug-synth_1.tar.gz ]
  "$xp" -C proj launch synth_1 2>/dev/null
  echo mine >pack.tar.gz
  run -6 "$xp" -C proj bug synth_1 -o pack.tar.gz
  assert_one_error 'is there already'
  [ "$(cat pack.tar.gz)" = mine ]
}

@test "a place that can't be written is told, and nothing is left" {
  good_design
  "$xp" -C proj launch synth_1 2>/dev/null
  mkdir tmp
  TMPDIR=$PWD/tmp run -6 "$xp" -C proj bug synth_1 -o nosuch/pack.tar.gz
  assert_one_error "can't be packed"
  [ -z "$(ls tmp)" ]
}

@test "without -o the archive lies here" {
  good_design
  "$xp" -C proj launch synth_1 2>/dev/null
  run -0 --separate-stderr "$xp" -C proj bug synth_1
  [ "$output" = bug-synth_1.tar.gz ]
  tar -tzf bug-synth_1.tar.gz | grep -qx bug-synth_1/reproduce.sh
}

@test "what is too large for a pack, or gone, is told with it" {
  good_design
  # Comments make it so large.
  { cat src/rtl/rom.hex; head -c 68000000 /dev/zero | tr '\0' '/'; echo; } >rom.hex
  mv rom.hex src/rtl/rom.hex
  fake_tool yosys <<<'echo "ERROR: the moon is full"; exit 3'
  run -1 "$xp" -C proj launch synth_1
  rm src/inc/width.vh
  run -0 --separate-stderr "$xp" -C proj bug synth_1 -o pack.tar.gz
  [[ $stderr == *'Left out: design/rtl/rom.hex: it has more than 64 MB'* ]]
  tar -xzf pack.tar.gz
  grep -q '^- design/rtl/rom.hex: it has more than 64 MB$' bug-synth_1/README.md
  [ ! -e bug-synth_1/design/rtl/rom.hex ]
}
