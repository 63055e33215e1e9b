#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
# The manual pages, made from the table of verbs.

load xp.bash

pages() {
  "$xp" man-pages "$BATS_TEST_TMPDIR/man"
  cd "$BATS_TEST_TMPDIR/man" || return
}

# The page $1 as a reader sees it.
shown() {
  man -l "$1" | col -bx
}

need_man() {
  command -v man >/dev/null || skip 'man is missing'
  command -v col >/dev/null || skip 'col is missing'
}

@test "every verb has a page, and the ones behind others too" {
  pages
  [ -s xp.1 ]
  local verb count=0
  for verb in $("$xp" help | sed -n '/^Verbs:/,/^$/s/^  \([a-z]*\) .*/\1/p' | grep -vx help); do
    [ -s "xp-$verb.1" ] || { echo "no page of $verb"; false; }
    count=$((count + 1))
  done
  [ "$count" -gt 15 ]
  [ -s xp-strategy-copy.1 ]
}

@test "groff has nothing to say against a page" {
  command -v groff >/dev/null || skip 'groff is missing'
  pages
  local page
  for page in *.1; do
    run -0 --separate-stderr groff -ww -man -Tutf8 -z "$page"
    [ -z "$stderr" ] || { echo "$page: $stderr"; false; }
  done
}

@test "mandoc has nothing to say against a page" {
  command -v mandoc >/dev/null || skip 'mandoc is missing'
  pages
  run -0 mandoc -Tlint -Wwarning *.1
  [ -z "$output" ]
}

@test "a page shows synopsis, arguments, options, statuses and examples" {
  need_man
  pages
  MANWIDTH=100 run -0 shown xp-create.1
  local part
  for part in 'xp create [OPTIONS] NAME' '--strategy STRATEGY' 'Strategy to start from (Default if unsaid)' \
    'EXIT STATUS' '130' 'EXAMPLES' 'xp create synth_1 --flow synth' '-q, --quiet' 'xp(1)'; do
    [[ $output == *"$part"* ]] || { echo "lacks $part: $output"; false; }
  done
}

@test "a value is called by what it is, and not by its type" {
  pages
  # Only a description is any text.
  run -0 grep -hE 'fI(TEXT|INT|UINT|FLOAT|VALUE)' ./*.1
  [ -z "$(grep -v description <<<"$output")" ]
}

@test "a page shows quotes and dashes as they are typed" {
  need_man
  pages
  MANWIDTH=200 LC_ALL=C.UTF-8 run -0 shown xp-best.1
  [[ $output == *"xp best --by 'fmax max 1%' --then 'cells min' --require 'slack >= 0'"* ]]
}

@test "the build leaves the pages and completions beside the program" {
  [ -s "$build_dir/share/man/man1/xp-launch.1" ] || skip 'xp_documents is not built'
  pages
  run -0 diff -r "$build_dir/share/man/man1" .
  "$xp" completion zsh | diff - "$build_dir/share/completion/_xp"
}

@test "a folder that can't be written is refused" {
  : >plain
  run -6 "$xp" man-pages plain/man
  assert_one_error "plain/man/xp" "can't be written"
}
