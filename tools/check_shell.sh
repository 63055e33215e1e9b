#!/bin/sh
# Runs shellcheck over every shell script that is shipped, generated or used here.
set -eu
cd "$(dirname "$0")/.."
git ls-files -- '*.sh' .ci/run 'tests/grid/lsf/b*' | grep -v '^tests/golden/' | tr '\n' '\0' | xargs -0 -r shellcheck
git ls-files -- '*.bats' | tr '\n' '\0' | xargs -0 -r shellcheck -s bats -S warning -e SC2030,SC2031,SC2154
# What the script writer makes, as its goldens have it. The frame of a script is
# fixed: it exits by a plain "exit", expands its own words and never reads one variable,
# names its log to the wrapper and writes to it, and looks at the wrapper's status; the
# values of options stand in it as they are.
git ls-files -- 'tests/golden/**/runme.sh' 'tests/golden/**/*_reports.sh' | tr '\n' '\0' |
  xargs -0 -r shellcheck -s sh -e SC2086,SC2034,SC2164,SC2269,SC2066,SC2094,SC2181,SC1001,SC1012
