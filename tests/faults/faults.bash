# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Tools that are done at once, and what must hold whatever went wrong: a folder beside
# the project that nobody may touch, a status that is true, no process left.

load "$BATS_TEST_DIRNAME/../shell/xp.bash"

kill_at=$build_dir/bin/kill_at
run_dir=proj/runs/synth_1

teardown() {
  release_tool fail
  "$xp" -C "$project" kill --all 2>/dev/null || :
}

# A synthesis tool that is done at once: a design of one flip-flop.
quick_tools() {
  mkdir -p "$tool_dir"
  cat >"$tool_dir/netlist" <<'JSON'
{"creator": "quick 1", "modules": {"blinky": {"attributes": {"top": "1"},
 "ports": {"clk": {"direction": "input", "bits": [2]}, "led": {"direction": "output", "bits": [3]}},
 "cells": {"led_reg": {"type": "SB_DFF", "port_directions": {"C": "input", "D": "input", "Q": "output"},
  "connections": {"C": [2], "D": [3], "Q": [3]}, "parameters": {}, "attributes": {}}}, "netnames": {}}}}
JSON
  cat >"$tool_dir/counts" <<'JSON'
{"creator": "quick 1", "modules": {"\\blinky": {"num_cells": 1, "num_cells_by_type": {"SB_DFF": 1}}},
 "design": {"num_cells": 1, "num_cells_by_type": {"SB_DFF": 1}}}
JSON
  cat >"$tool_dir/yosys" <<'TOOL'
#!/bin/sh
here=${0%/*}
case $1 in --version | -V) echo 'Yosys 1'; exit 0 ;; esac
[ ! -e "$here/before" ] || . "$here/before"
cat "$here/netlist" >/dev/fd/10
cat "$here/counts" >/dev/fd/11
cat "$here/counts" >/dev/fd/12
TOOL
  chmod +x "$tool_dir/yosys"
  PATH=$tool_dir:$PATH
}

# A project with the synthesis synth_1 by the quick tools, and the canaries.
new_quick_project() {
  quick_tools
  new_project
  "$xp" -C proj create synth_1 --flow synth "$@" 2>/dev/null
  make_canaries
}

# Files beside the run directory, with the names that a run uses for its own.
make_canaries() {
  local name
  mkdir -p outside/deeper
  for name in runme.log runme.sh .ice40_synth.begin.rst .ice40_synth.end.rst \
    .iCE40_Synthesis.queue.rst .stop.rst .launch.xml .run.lock job.id blinky.json \
    synth_design.stat.json synth_design.metrics.json deeper/file; do
    echo "precious $name" >"outside/$name"
  done
  touch -d '3 hours ago' outside/* outside/.[!.]* outside/deeper
  canaries >canaries.before
}

# What can be seen of the canaries: names, kinds, times and contents.
canaries() {
  find outside -printf '%p %y %m %s %T@\n' | sort
  find outside -type f -exec cat {} + | cksum
}

assert_canaries() {
  diff canaries.before <(canaries)
}

# Nothing of project lives: no process that carries a launch's identity and works in it,
# nobody who holds the lock of a run.
nothing_lives() {
  local environment
  for environment in $(grep -lz '^XPERIMENT_LAUNCH=' /proc/[0-9]*/environ 2>/dev/null); do
    case $(readlink "${environment%/environ}/cwd") in
      "$project"/*) return 1 ;;
    esac
  done
  return 0
}

# Waits until "$@" succeeds, as wait_until does, but asks fifty times a second.
soon() {
  local end=$((SECONDS + 60))
  until "$@"; do
    ((SECONDS < end)) || { echo "never came true: $*" >&2; return 1; }
    read -rt 0.02 <> <(:) || :
  done
}

# The status of run $1, such as "not started".
status_word() {
  "$xp" -C "$project" status "$1" --json | sed -n 's/^ *"status": "\(.*\)",*$/\1/p'
}

# Sets launch_id, by which survivors finds them, to the last launch of run $1.
read_launch_id() {
  launch_id=$(sed -n 's/.* Id="\([^"]*\)".*/\1/p' "$project/runs/$1/.launch.xml")
  [ -n "$launch_id" ]
}

# Skips the test where no program can be traced.
may_trace() {
  [ -x "$kill_at" ] || { echo "$kill_at isn't built: build all before these tests"; return 1; }
  "$kill_at" 1000 true 2>/dev/null || skip 'SKIPPED: there is no right to trace'
}

nothing_survives() { [ -z "$(survivors)" ]; }

# Whether what the run made is whole.
is_whole() {
  cmp -s "$tool_dir/netlist" "$1/blinky.json" && [ -e "$1/.ice40_synth.end.rst" ] &&
    [ ! -e "$1/.ice40_synth.error.rst" ]
}
