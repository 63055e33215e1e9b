#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Whether data/html/page.html is what web/ builds.
#
#   check_template.sh FOLDER
#
# The packages of web/ lie in FOLDER.
set -eu
source_dir=$(cd "$(dirname "$0")/../.." && pwd)
"$source_dir/web/packages.sh" "$1"
export NODE_PATH="$1/node_modules"
node "$source_dir/web/build.mjs" --out "$1/page.html"
if ! cmp "$1/page.html" "$source_dir/data/html/page.html"; then
  echo "data/html/page.html isn't what web/ builds; run: npm --prefix web ci && npm --prefix web run build" >&2
  exit 1
fi
(cd "$source_dir/web" && "$NODE_PATH/.bin/tsc" --noEmit -p . --typeRoots "$NODE_PATH")
