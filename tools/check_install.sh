#!/bin/sh
# Installs a build into a folder of its own, builds the consumer project against
# it and runs that.
#
#   tools/check_install.sh BUILD
set -eu
cd "$(dirname "$0")/.."
build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/usr" > "$work/install.log"
cmake -S tests/install/consumer -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$work/usr" \
  -DCMAKE_BUILD_TYPE=Release > "$work/configure.log" || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/consumer"
mkdir "$work/runs"
LD_LIBRARY_PATH=$(dirname "$(find "$work/usr" -name 'libxperiment_runs.so')") \
  "$work/consumer/consumer" "$work/runs"
for name in environment runs; do
  PKG_CONFIG_PATH=$(dirname "$(find "$work/usr" -name 'xperiment-runs.pc')") \
    pkg-config --exists "xperiment-$name"
done
