#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Puts the packages of the lock file under FOLDER/node_modules, if they aren't there.
#
#   packages.sh FOLDER
set -eu
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1"
cd "$1"
wanted=$(cat "$here/package.json" "$here/package-lock.json" | sha256sum)
exec 9> .packages.lock
flock 9
[ "$(cat .packages 2> /dev/null)" != "$wanted" ] || exit 0
rm -f .packages
cp "$here/package.json" "$here/package-lock.json" "$here/.npmrc" .
npm ci --ignore-scripts --no-audit --no-fund --loglevel=error >&2
echo "$wanted" > .packages
