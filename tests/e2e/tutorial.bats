#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The tutorial and the demo, as a user types them.

bats_require_minimum_version 1.5.0

source_dir=$(cd "$BATS_TEST_DIRNAME/../.." && pwd)
build_dir=${XPERIMENT_BUILD_DIR:-$source_dir/build/dev}

setup_file() {
  local tool
  for tool in yosys nextpnr-ice40 icepack icetime; do
    command -v $tool >/dev/null || skip "$tool is missing"
  done
}

setup() {
  export XDG_CONFIG_HOME=$BATS_TEST_TMPDIR/config TERM=dumb LC_ALL=C
  unset XPERIMENT_ROOT XPERIMENT_APP_DATA_DIR DISPLAY WAYLAND_DISPLAY
  PATH=$build_dir/bin:$PATH
  cd "$BATS_TEST_TMPDIR" || return
}

teardown() {
  local project
  for project in mychip demo; do
    [ ! -d "$BATS_TEST_TMPDIR/$project" ] ||
      xp -C "$BATS_TEST_TMPDIR/$project" kill --all >/dev/null 2>&1 || :
  done
}

# The commands of the tutorial, in order: its indented lines.
commands() {
  sed -n 's/^    //p' "$source_dir/docs/tutorial.md"
}

@test "every command of the tutorial works in its order" {
  ln -s "$source_dir/examples" examples
  [ "$(commands | wc -l)" -gt 25 ]
  { echo 'set -e -x'; commands; } >commands.sh
  run -0 bash commands.sh
  [[ $output == *'synth_1 made the same netlist again'* ]]
  [ -s mychip/xperiment.html ]
  [ -s mychip/runs/impl_1/blinky.bin ]
  [ -d mychip/runs/night_Performance_s6 ]
}

@test "the demo makes twelve implementations, compares them, and stands still the second time" {
  run -0 "$source_dir/tools/demo.sh" "$build_dir" "$BATS_TEST_TMPDIR/demo"
  [ "$(find demo/runs -name rv32i_soc.bin | wc -l)" = 12 ]
  [[ $output == *'against demo_base_Default'* ]]
  [[ $output == *'Best: demo_'* ]]
  [ -s demo/xperiment.html ]
  run -0 "$source_dir/tools/demo.sh" "$build_dir" "$BATS_TEST_TMPDIR/demo"
  [ "$(grep -c ': up to date$' <<<"$output")" = 14 ]
}
