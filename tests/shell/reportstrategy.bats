#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Report strategies of the user, over a small catalogue of the tests.

load xp.bash

own_setup() {
  local root=$BATS_TEST_TMPDIR/root
  mkdir -p "$root/reportstrategies"
  ln -s "$source_dir/data/strategies" "$source_dir/data/scripts" "$root/"
  cat >"$root/reportstrategies/report.xml" <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<Reports>
  <ReportSpec name="report_timing" short_description="Paths" Version="1" Minor="0">
    <Options><Option name="max_paths" type="int" def_value="1"/></Options>
  </ReportSpec>
  <ReportSpec name="report_timing" short_description="Paths" Version="1" Minor="1">
    <Options>
      <Option name="max_paths" type="int" def_value="5"/>
      <Option name="full" type="bool" def_value="false"/>
      <Option name="from" type="string" def_value=""/>
    </Options>
  </ReportSpec>
  <ReportSpec name="report_drc" short_description="Checks" Version="1" Minor="0"/>
</Reports>
XML
  export XPERIMENT_ROOT=$root
}

reports_dir() {
  echo "$XDG_CONFIG_HOME/xperiment/2026.1/reportstrategies"
}

keep_files() {
  kept=$(md5sum "$(reports_dir)"/*)
}

files_are_kept() {
  [ "$(md5sum "$(reports_dir)"/*)" = "$kept" ]
}

# The Python expression $2 over the reports `r` of the report strategy $1.
reports_of() {
  "$xp" reportstrategy show "$1" --json | json "(lambda r: $2)(j['reports'])"
}

@test "reports are added with their options, and are there in the next xp" {
  own_setup
  run -0 --separate-stderr "$xp" reportstrategy create Daily --flow impl --description 'Each day'
  [[ $stderr == *"Report strategy impl/Daily is made: $(reports_dir)/Daily.ice40_implementation.psg"* ]]
  "$xp" reportstrategy add Daily route_design report_timing max_paths=20 full=true
  "$xp" reportstrategy add Daily route_design report_drc
  "$xp" reportstrategy add Daily place_design report_timing --version 1.0
  [ "$(reports_of Daily '[(x["step"], x["report"], x["version"]) for x in r]')" = \
    "[('route_design', 'report_timing', '1.1'), ('route_design', 'report_drc', '1.0'), ('place_design', 'report_timing', '1.0')]" ]
  [ "$(reports_of Daily '[(o["option"], o["value"]) for o in r[0]["options"] if o["changed"]]')" = \
    "[('max_paths', '20'), ('full', 'true')]" ]
  run -0 --separate-stderr "$xp" reportstrategy list
  [[ $output == *'impl'*'Daily'*'yours'*'route_design: report_timing report_drc; place_design: report_timing'*'Each day'* ]]
  run -0 --separate-stderr "$xp" reportstrategy show Daily
  grep -Eq '^\* +route_design +report_timing +1.1 +Timing +max_paths +20 +5$' <<<"$output"
}

@test "two reports of a name are told apart by number and by what they are shown as" {
  own_setup
  "$xp" reportstrategy create Daily --flow impl
  "$xp" reportstrategy add Daily route_design report_timing
  run -0 "$xp" reportstrategy add Daily route_design report_timing max_paths=1
  [[ $output == *'report_timing#2 of route_design is in impl/Daily'* ]]
  "$xp" reportstrategy add Daily route_design report_timing --name 'Worst path'
  [ "$(reports_of Daily '[(x["report"], x["shown_as"]) for x in r]')" = \
    "[('report_timing', 'Timing'), ('report_timing#2', 'Timing 2'), ('report_timing#3', 'Worst Path')]" ]
  keep_files
  run -6 "$xp" reportstrategy add Daily route_design report_timing --name 'Worst path'
  assert_one_error 'The step route_design has a report "Worst Path" already' '--name'
  run -6 "$xp" reportstrategy remove Daily route_design report_timing
  assert_one_error 'There are 3 reports route_design.report_timing. Say which with #1'
  run -6 "$xp" reportstrategy set Daily route_design.report_timing.full=true
  assert_one_error 'Say which with #1'
  files_are_kept
  "$xp" reportstrategy set Daily 'route_design.report_timing#3.full=true' 'route_design.report_timing#1.max_paths=9'
  "$xp" reportstrategy remove Daily route_design 'report_timing#2'
  [ "$(reports_of Daily '[(x["report"], [o["value"] for o in x["options"]][:2]) for x in r]')" = \
    "[('report_timing', ['9', 'false']), ('report_timing#2', ['5', 'true'])]" ]
}

@test "what isn't known is refused with what is, and nothing is changed" {
  own_setup
  "$xp" reportstrategy create Daily --flow impl
  "$xp" reportstrategy add Daily route_design report_timing
  keep_files
  local step
  for step in init_design write_bitstream synth_design nosuch; do
    run -6 "$xp" reportstrategy add Daily $step report_drc
    assert_one_error "No report can be made of a step $step. Choose one of: place_design, route_design"
  done
  run -6 "$xp" reportstrategy add Daily route_design report_timin
  assert_one_error 'There is no report report_timin. There are: report_drc, report_timing'
  for version in 2.0 x 1 1.x 1.1.1; do
    run -6 "$xp" reportstrategy add Daily route_design report_timing --version $version
    assert_one_error "The report report_timing has no version $version. The latest is 1.1"
  done
  run -6 "$xp" reportstrategy add Daily route_design report_timing max_paths=5 ful=true
  assert_one_error 'There is no option' 'max_paths, full, from'
  run -6 "$xp" reportstrategy set Daily route_design.report_timing.max_paths=many
  assert_one_error "'many' is no whole number"
  # shellcheck disable=SC2016
  run -6 "$xp" reportstrategy set Daily 'route_design.report_timing.from=[exec reboot]'
  assert_one_error 'Choose another value'
  run -6 "$xp" reportstrategy set Daily place_design.report_timing.full=true
  assert_one_error 'There is no report place_design.report_timing in the strategy' 'route_design.report_timing'
  run -6 "$xp" reportstrategy set Daily full=true
  assert_one_error '"full" names no option of a report'
  run -6 "$xp" reportstrategy remove Daily route_design report_drc
  assert_one_error 'There is no report route_design.report_drc'
  run -6 "$xp" reportstrategy show Dialy
  assert_one_error "There is no report strategy 'Dialy'. Did you mean 'Daily'?"
  files_are_kept
}

@test "copies, renames, comparisons and deletions are those of strategies" {
  own_setup
  "$xp" reportstrategy create Daily --flow impl
  "$xp" reportstrategy add Daily route_design report_timing
  "$xp" reportstrategy copy Daily Weekly --set route_design.report_timing.max_paths=50
  "$xp" reportstrategy add Weekly route_design report_drc
  run -0 --separate-stderr "$xp" reportstrategy compare Daily Weekly --json
  [ "$(json '[(d["option"], d["first"], d["second"]) for d in j["differences"] if "MORE" not in d["option"]]' <<<"$output")" = \
    "[('report_drc', '', '1.0'), ('report_timing.max_paths', '5', '50')]" ]
  run -0 "$xp" reportstrategy compare Daily Daily
  [[ $output == *"impl/Daily and impl/Daily don't differ"* ]]
  "$xp" reportstrategy rename Weekly Monthly
  [ "$(ls "$(reports_dir)")" = $'Daily.ice40_implementation.psg\nMonthly.ice40_implementation.psg' ]
  run -0 "$xp" reportstrategy delete Daily Monthly
  [[ $output == *"impl/Daily is deleted, with its file $(reports_dir)/Daily"* ]]
  [ -z "$(ls "$(reports_dir)")" ]
}

@test "a report strategy goes to another user by a file" {
  own_setup
  "$xp" reportstrategy create Daily --flow impl --description 'Each day'
  "$xp" reportstrategy add Daily route_design report_timing max_paths=20 --name 'Worst path'
  "$xp" reportstrategy export Daily daily.psg
  run -6 "$xp" reportstrategy export Daily daily.psg
  assert_one_error 'There is a file' '--force'
  run -6 "$xp" reportstrategy import daily.psg
  assert_one_error 'There is a report strategy impl/Daily already' 'xp reportstrategy import daily.psg --as NAME'
  "$xp" reportstrategy import daily.psg --as Theirs
  run -0 "$xp" reportstrategy compare Daily Theirs
  [[ $output == *"don't differ"* ]]
  [ "$(reports_of Theirs 'r[0]["shown_as"]')" = 'Worst Path' ]
}

@test "a file that isn't whole or holds what isn't known is refused with file and line" {
  own_setup
  "$xp" reportstrategy create Daily --flow impl
  "$xp" reportstrategy add Daily route_design report_timing max_paths=20
  "$xp" reportstrategy export Daily good.psg
  "$xp" reportstrategy delete Daily
  local change size
  for change in 's/name="max_paths"/name="paths"/' 's/def_value="20"/def_value="x"/' 's/Id="route_design"/Id="zap"/' \
    's/Flow="[a-z0-9_]*"/Flow="none"/' 's/Name="report_timing"/Name="report_all"/' 's/ Minor="1"\/*>/ Minor="9">/' \
    's/<Spec /<Spek /' 's/ReportStrategies/Other/' 's/Major="2026"/Major="new"/' '/<Desc/d' 's/Name="Daily" //'; do
    sed "$change" good.psg >bad.psg
    ! cmp -s good.psg bad.psg
    run -6 --separate-stderr "$xp" reportstrategy import bad.psg
    [ -z "$output" ]
    output=$stderr
    assert_one_error 'bad.psg, line ' 'nothing was taken over'
  done
  size=$(stat -c %s good.psg)
  for at in 0 1 40 $((size / 2)) $((size - 12)); do
    head -c "$at" good.psg >bad.psg
    run -6 "$xp" reportstrategy import bad.psg
    assert_one_error 'bad.psg'
  done
  [ -z "$(ls "$(reports_dir)")" ]
}

@test "of a file with several, all are taken or none" {
  own_setup
  "$xp" reportstrategy create One --flow impl
  "$xp" reportstrategy export One one.psg
  "$xp" reportstrategy rename One Two
  # Both in one file.
  sed '/<ReportStrategy>/,/<\/ReportStrategy>/!d; s/Name="One"/Name="Three"/' one.psg >three
  sed '/<\/ReportStrategies>/{
    e cat three
  }' one.psg >both.psg
  "$xp" reportstrategy import both.psg
  [ "$(find "$(reports_dir)" -name '*.psg' | wc -l)" = 3 ]
  "$xp" reportstrategy delete One
  run -6 "$xp" reportstrategy import both.psg
  assert_one_error 'There is a report strategy impl/Three already'
  [ "$(find "$(reports_dir)" -name '*.psg' | wc -l)" = 2 ]
  run -6 "$xp" reportstrategy import both.psg --as Four
  assert_one_error 'holds 2 of them'
}

@test "without a catalogue one message says so, and strategies are there" {
  own_setup
  rm "$XPERIMENT_ROOT/reportstrategies/report.xml"
  run -0 --separate-stderr "$xp" strategy list
  [[ $output == *Annealing* ]]
  [ "$(grep -c . <<<"$stderr")" = 1 ]
  [[ $stderr == *"there is no report catalogue $XPERIMENT_ROOT/reportstrategies/report.xml"* ]]
  run -0 --separate-stderr "$xp" status --help
  [ -z "$stderr" ]
}

@test "two xp at once lose no report" {
  own_setup
  "$xp" reportstrategy create Daily --flow impl
  local i
  for i in 1 2 3 4 5; do
    "$xp" reportstrategy add Daily route_design report_timing --name "Path $i" 2>/dev/null &
  done
  wait
  [ "$(reports_of Daily 'sorted(x["shown_as"] for x in r)')" = \
    "['Path 1', 'Path 2', 'Path 3', 'Path 4', 'Path 5']" ]
}
