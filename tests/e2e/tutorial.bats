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
  # What is shown can be typed again.
  [[ $output == *" best demo --by 'fmax max 1%' --then 'luts min'"* ]]
  [ -s demo/xperiment.html ]
  run -0 "$source_dir/tools/demo.sh" "$build_dir" "$BATS_TEST_TMPDIR/demo"
  [ "$(grep -c ': up to date$' <<<"$output")" = 14 ]
}

# The recorded session as text: what was typed and what came, without styles.
session_text() {
  python3 - "$source_dir/docs/sessions/sweep.cast" <<'PYTHON'
import json, re, sys
with open(sys.argv[1], encoding="utf-8") as cast:
    head, *events = [json.loads(line) for line in cast]
assert head["version"] == 2 and head["width"] > 0 and head["height"] > 0, head
assert set(head) == {"version", "width", "height", "idle_time_limit", "title"}, head
idle = head["idle_time_limit"]
last = played = 0.0
for time, kind, text in events:
    assert kind == "o" and time >= last and isinstance(text, str)
    played += min(time - last, idle)
    last = time
assert played < 60, played
print(re.sub(r"\x1b\[[?0-9;]*[A-Za-z]|\r(?!\n)", "", "".join(text for _, _, text in events)))
PYTHON
}

@test "the recorded session is whole, short, and tells nothing of who recorded it" {
  run -0 session_text
  [[ $output == *'$ xp sweep '*'$ xp launch '*'$ xp ls'*'$ xp best '*'$ xp compare '* ]]
  run -1 grep -E '/(home|root|tmp|work|usr|var|etc)/|@[a-z]+:' <<<"$output"
  [ "$(stat -c %s "$source_dir/docs/sessions/sweep.cast")" -lt 200000 ]
}

@test "the commands of the recorded session are still there, with their options" {
  session_text | sed -n 's/^\$ xp //p' | tr -d '\r' >words
  [ "$(wc -l <words)" -ge 5 ]
  while read -r verb words; do
    xp "$verb" --help >help
    for option in $(grep -oE -- '--[a-z-]+' <<<"$words"); do
      grep -q -- "$option" help || { echo "xp $verb has no $option"; return 1; }
    done
  done <words
}

@test "the picture of the recorded session is made of it" {
  python3 "$source_dir/tools/session_picture.py" "$source_dir/docs/sessions/sweep.cast" sweep.svg
  cmp sweep.svg "$source_dir/docs/pictures/sweep.svg"
  xmllint --noout --nonet sweep.svg
  run -1 grep -E 'href="[^#]|<script|url\(' sweep.svg
}
