#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Takes the example processor from Verilog to bitstreams, with three strategies, and
# compares them.
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

# Runs xp in the project, and shows the call.
xp() {
  printf '\n> xp %s\n' "$*" >&2
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
create_run synth_1 --flow synth
create_run impl_default --flow impl --synth synth_1
create_run impl_performance --flow impl --synth synth_1 --strategy Performance
create_run impl_explore --flow impl --synth synth_1 --strategy Explore
xp -C "$project" launch
xp -C "$project" compare --goal fmax

shown=$program
case $shown in
  "$PWD"/*) shown=${shown#"$PWD"/} ;;
esac
cat <<END

The reports lie in $project/runs, in the folder of each run. To see them:

  $shown -C $project report list
  $shown -C $project report open impl_performance report_timing_summary
END
