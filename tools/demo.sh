#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Takes the example processor from Verilog to bitstreams: two synthesis strategies, two for
# place and route and three seeds make twelve implementations, which are compared.
#
#   demo.sh BUILD_DIR [PROJECT_DIR]
#
# The project stays in PROJECT_DIR, by default "demo" beside the sources. A second
# call launches only what isn't up to date.

set -eu

if [ $# -lt 1 ] || [ $# -gt 2 ]; then
  echo "usage: ${0##*/} BUILD_DIR [PROJECT_DIR]" >&2
  exit 2
fi
source_dir=$(cd "$(dirname "$0")/.." && pwd)
program=$(cd "$1" && pwd)/bin/xp
project=${2:-$source_dir/demo}
design=$source_dir/examples/rv32i
# No strategy of the user plays a part here.
export XDG_CONFIG_HOME="$project/.config"

if [ ! -x "$program" ]; then
  echo "demo.sh: there is no $program; build it first, or call make demo" >&2
  exit 1
fi

# Runs xp in the project, and shows the call as it can be typed.
xp() {
  local word call=xp
  for word in "$@"; do
    case $word in
      '' | *[!A-Za-z0-9_./:,=+-]*) call+=" ${word@Q}" ;;
      *) call+=" $word" ;;
    esac
  done
  printf '\n> %s\n' "$call" >&2
  "$program" "$@"
}

create_run() {
  if ! "$program" -C "$project" show "$1" >/dev/null 2>&1; then
    xp -C "$project" create "$@"
  fi
}

if [ ! -e "$project/project.xml" ]; then
  xp new "$project" --top rv32i_soc --source "$design/rv32i_core.v" "$design/rv32i_soc.v" \
    --constraints "$design/rv32i.pcf" --device hx8k --package ct256 --freq 40
fi
# Two syntheses, from each two ways to place and route, each of them with three seeds.
create_run base --flow synth
create_run area --flow synth --strategy Area
if ! "$program" -C "$project" show demo_base_Default_s1 >/dev/null 2>&1; then
  xp -C "$project" sweep demo --synth base,area \
    --strategies Default,Performance --seeds 1-3
fi
xp -C "$project" launch
xp -C "$project" compare demo
xp -C "$project" best demo --by 'fmax max 1%' --then 'luts min' --require 'slack >= 0'
xp -C "$project" html -o "$project/xperiment.html"

shown=$program
case $shown in
  "$PWD"/*) shown=${shown#"$PWD"/} ;;
esac
cat <<END

The page of all runs:  $project/xperiment.html

  $shown -C $project status
  $shown -C $project diff demo_base_Default demo_area_Default
  $shown -C $project report open demo_base_Default_s1 report_timing_summary
END
# Who sits before a desktop sees it at once.
if [ -t 1 ] && [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && command -v xdg-open >/dev/null 2>&1; then
  xdg-open "$project/xperiment.html" >/dev/null 2>&1 || :
fi
