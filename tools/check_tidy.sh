#!/bin/sh
# clang-tidy over the sources of the libraries and programs.
#
#   tools/check_tidy.sh UNITS ALONE
#
# Each holds a compile_commands.json: UNITS of a build with units of sources, ALONE of one without.
# Headers take most of the time, and are read once for a unit. A name that is declared and not used
# is found only in a source that is read alone, and so is an include that is missing.
set -eu
cd "$(dirname "$0")/.."
units=$(realpath "$1")
alone=$(realpath "$2")

# tidy LOG ARGUMENT...: what it says goes to the log, and is shown if it is a complaint.
tidy() {
  log=$1
  shift
  run-clang-tidy-14 -quiet -j "$(nproc)" "$@" > "$log" 2>&1 ||
    { grep -E 'error:|warning:' "$log" | sort -u | head -60; return 1; }
}

# A unit includes sources.
tidy "$units/tidy.log" -p "$units" -checks=-bugprone-suspicious-include \
  "^($units|$PWD)/(shared|workbench|shell)/.*(/unity_[0-9]+_cxx\\.cxx|\\.cpp)\$"

# The fuzz targets compile the libraries source by source; nothing else does so with the shell.
declaring=$(git grep -lE '^ *(using [A-Za-z_:]+::[A-Za-z_]+;|namespace [a-zA-Z]+ = )' -- \
  'shared/*.cpp' 'workbench/*.cpp' | sed "s#.*#^$PWD/&\$#")
# shellcheck disable=SC2086  # No name of a source has a blank.
tidy "$alone/tidy.log" -p "$alone" '-checks=-*,misc-unused-using-decls,misc-unused-alias-decls' \
  "^$PWD/shell/.*\\.cpp\$" $declaring
