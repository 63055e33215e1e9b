#!/bin/sh
# Fails when a source isn't as clang-format lays it out.
set -eu
cd "$(dirname "$0")/.."
git ls-files -z -- '*.h' '*.cpp' | xargs -0 clang-format-14 --dry-run --Werror
