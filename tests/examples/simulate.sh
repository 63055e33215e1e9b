#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# simulate.sh FOLDER OUTPUT TOP SOURCE...
# Compiles the sources with Icarus Verilog, runs them in FOLDER, and passes when
# the last line is PASS. Without Icarus Verilog the test counts as skipped.
set -eu
folder=$1
output=$2
top=$3
shift 3
if ! command -v iverilog >/dev/null; then
    echo "SKIPPED: iverilog is not installed; install package iverilog"
    exit 77
fi
cd "$folder"
iverilog -g2005-sv -Wall -Wno-timescale -s "$top" -o "$output" "$@"
vvp -n "$output" >"$output.log"
cat "$output.log"
[ "$(tail -n 1 "$output.log")" = PASS ]
