#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Records the session of the README: a sweep, its launch, what is best and why.
#
#   record_session.sh BUILD_DIR
#
# Leaves docs/sessions/sweep.cast, to be played by `asciinema play`, and the picture of it,
# docs/pictures/sweep.svg. Needs asciinema and the tools of the flow.

set -eu

if [ $# != 1 ] || [ ! -x "$1/bin/xp" ]; then
  echo "usage: ${0##*/} BUILD_DIR" >&2
  exit 2
fi
source_dir=$(cd "$(dirname "$0")/.." && pwd)
bin_dir=$(cd "$1" && pwd)/bin
work=$(mktemp -d "${TMPDIR:-/tmp}/session.XXXXXX")
trap 'rm -rf "$work"' EXIT

# What is typed; a line that begins with # is a word to who watches.
cat >"$work/words" <<'WORDS'
# Two strategies, four seeds each: the seed alone moves Fmax by percents.
xp sweep night --strategies Default,Performance --seeds 1-4
xp launch night
xp ls
# Which one is best, by a rule, and why?
xp best night --by 'fmax max 1%' --then 'luts min'
# And is the better strategy really better?
xp compare night
WORDS

cat >"$work/session" <<'SESSION'
type_line() {
  local i
  printf '\033[1m$\033[0m '
  for ((i = 0; i < ${#1}; ++i)); do
    printf '%s' "${1:i:1}"
    sleep 0.025
  done
  sleep 0.4
  printf '\n'
}
while read -r -u 9 line; do
  type_line "$line"
  # Nobody is there to answer a question.
  [[ $line == "#"* ]] || eval "$line" 9<&- </dev/null
  sleep 1
done 9<../words
sleep 2
SESSION

mkdir "$work/mychip"
cd "$work/mychip"
cp "$source_dir"/examples/blinky/blinky.{v,pcf} .
# Nothing of who records it plays a part, or is recorded.
export XDG_CONFIG_HOME=$work/config PATH=$bin_dir:$PATH LC_ALL=C.UTF-8
xp new . --top blinky --source blinky.v --constraints blinky.pcf --freq 100
xp create synth_1 --flow synth
asciinema rec --quiet --overwrite --cols 132 --rows 34 --idle-time-limit 1.5 \
  --command "env -u HOME -u LOGNAME -u USER TERM=xterm-256color bash ../session" "$work/raw.cast"

mkdir -p "$source_dir/docs/sessions"
# Of the header only what a player needs, and no path of this machine.
python3 - "$work/raw.cast" "$source_dir/docs/sessions/sweep.cast" "$work" <<'PYTHON'
import json
import sys

with open(sys.argv[1], encoding="utf-8") as raw:
    lines = raw.read().splitlines()
head = json.loads(lines[0])
kept = {key: head[key] for key in ("version", "width", "height", "idle_time_limit")}
kept["title"] = "A sweep, its launch, and which strategy is better"
with open(sys.argv[2], "w", encoding="utf-8") as cast:
    cast.write(json.dumps(kept) + "\n")
    for line in lines[1:]:
        time, kind, text = json.loads(line)
        text = text.replace(sys.argv[3], "~")
        cast.write(json.dumps([round(time, 3), kind, text], ensure_ascii=False) + "\n")
PYTHON
python3 "$source_dir/tools/session_picture.py" "$source_dir/docs/sessions/sweep.cast" \
  "$source_dir/docs/pictures/sweep.svg"
