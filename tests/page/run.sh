#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Runs a file of tests of the page.
#
#   run.sh FOLDER NAME.test.mjs...
#
# The packages of web/ lie in FOLDER; they are fetched once for each lock file. Ends with 77
# where the browser, node or the packages aren't to be had.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
source_dir=$(cd "$here/../.." && pwd)
folder=$1
shift

skip() {
  echo "SKIPPED: the page isn't tested: $*" >&2
  exit 77
}

XPERIMENT_CHROMIUM=$(command -v chromium) || skip "chromium is missing (tools/setup.sh test installs it)"
command -v node > /dev/null || skip "node is missing (tools/setup.sh test installs it)"
command -v npm > /dev/null || skip "npm is missing (tools/setup.sh test installs it)"
major=$(node -p 'process.versions.node.split(".")[0]')
[ "$major" -ge 18 ] || skip "node $(node --version) is older than 18"
"$source_dir/web/packages.sh" "$folder" || skip "the packages of web/ can't be fetched"

export XPERIMENT_CHROMIUM NODE_PATH="$folder/node_modules" XPERIMENT_PAGE_SHOTS="$folder/screenshots"
cd "$here"
exec node --test "$@"
