#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# What the step wrapper adds to a step, in milliseconds, against the bare command.
#
#   step_wrapper.sh [<steps>]     200 steps by default; status 1 if a step costs over 10 ms
#
# Steps have names of their own, as those of a run do: replacing an old marker makes
# ext4 flush it, which no first try pays.

set -eu

steps=${1:-200}
wrapper=$(cd "$(dirname "$0")/.." && pwd)/data/scripts/ZUMWrap.sh
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
cp "$wrapper" .
mkdir bin
for ((i = 0; i < steps; i++)); do
  ln -s /bin/true "bin/step$i"
done

# Microseconds for all steps, each called with the words $@ before it.
measure() {
  local start=${EPOCHREALTIME/[.,]/}
  for ((i = 0; i < steps; i++)); do
    "$@" "./bin/step$i" >>runme.log 2>&1
  done
  echo $((${EPOCHREALTIME/[.,]/} - start))
}

bare=$(measure setsid)
wrapped=$(measure ./ZUMWrap.sh runme.log)
cost=$(((wrapped - bare) / steps))
printf '%d steps: bare %d us, wrapped %d us, cost %d us a step\n' \
  "$steps" $((bare / steps)) $((wrapped / steps)) "$cost"
[ "$cost" -le 10000 ]
