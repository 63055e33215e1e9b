#!/bin/sh
# clang-tidy over the sources of the libraries and programs.
#
#   tools/check_tidy.sh BUILD     BUILD holds compile_commands.json
set -eu
cd "$(dirname "$0")/.."
run-clang-tidy-14 -quiet -p "$1" -j "$(nproc)" "^$PWD/(shared|workbench|shell)/.*\\.cpp\$" > "$1/tidy.log" 2>&1 ||
  { grep -E 'error:|warning:' "$1/tidy.log" | sort -u | head -60; exit 1; }
