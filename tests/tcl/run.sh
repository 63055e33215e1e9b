#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Runs "$@" in a folder of its own, without anything of the real user.
set -eu
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
unset XPERIMENT_ROOT XPERIMENT_APP_DATA_DIR KPX_PREPEND_PATH KPX_BINROOT \
  KPX_PREPEND_LD_LIBRARY_PATH COLUMNS
mkdir "$place/home" "$place/work"
export HOME=$place/home XDG_CONFIG_HOME=$place/home/config LC_ALL=C.UTF-8
cd "$place/work"
status=0
"$@" || status=$?
exit "$status"
