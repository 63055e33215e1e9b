#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors

load xp.bash

tarnel=$build_dir/bin/tarnel

# A report script whose step is its argument.
script() {
  {
    printf 'open_step [lindex $argv 0]\n'
    cat
  } >reports.tcl
}

# Runs the script as a report script of a run does.
make_reports() {
  "$tarnel" -nolog -nojournal -notrace -mode batch -product tarnel -source reports.tcl \
    -tclargs "$1"
}

# Results of a synthesis, without having run one.
fake_synthesis() {
  cat >synth_design.metrics.json <<'JSON'
{"format":"xperiment-step-metrics","version":1,"step":"synth_design","tool":"Yosys 0.23",
 "seconds":1,"counts":{"luts":2,"cells":3},"clocks":[],
 "files":{"netlist":"top.json","stat":"synth_design.stat.json"}}
JSON
  cat >synth_design.stat.json <<'JSON'
{"creator":"Yosys 0.23","design":{"num_cells":3,"num_cells_by_type":{"SB_LUT4":2,"SB_DFF":1}}}
JSON
}

@test "a report script makes its reports" {
  fake_synthesis
  script <<<'make_report r {report_utilization -file u.rpt -json u.json}'
  run -0 --separate-stderr make_reports synth_design
  [ -z "$stderr" ]
  [ "$(head -1 u.rpt)" = 'Report report_utilization: Utilisation' ]
  [ "$(json 'j["figures"][0]["value"]' <u.json)" = 2 ]
  [ ! -e .r.fail ]
}

@test "a failing report leaves its marker and the others are made" {
  fake_synthesis
  script <<'TCL'
make_report first {report_utilization -file a.rpt}
make_report bad {report_utilization -nonsense}
make_report last {report_utilization -file b.rpt}
TCL
  run -1 --separate-stderr make_reports synth_design
  [[ $stderr == *"ERROR: report bad: report_utilization: there is no option '-nonsense'."* ]]
  [[ $stderr == *'tarnel: error: 1 of the reports failed'* ]]
  [ -e a.rpt ]
  [ -e b.rpt ]
  [[ $(cat .bad.fail) == *"there is no option '-nonsense'"* ]]
  [ ! -e .first.fail ]
  [ ! -e .last.fail ]
}

@test "a report that succeeds now loses its fail marker" {
  fake_synthesis
  echo old >.r.fail
  script <<<'make_report r {report_utilization -file u.rpt}'
  run -0 make_reports synth_design
  [ ! -e .r.fail ]
}

@test "an error of the script names its line and ends with 1" {
  script <<<'nonsense'
  run -1 --separate-stderr make_reports synth_design
  [ "$stderr" = "tarnel: error: reports.tcl:2: invalid command name \"nonsense\"" ]
}

@test "a step without results makes every report fail" {
  script <<<'make_report r {report_utilization -file u.rpt}'
  run -1 make_reports synth_design
  [[ $output == *'Run step synth_design first.'* ]]
  [ -e .r.fail ]
  [ ! -e u.rpt ]
}

@test "a script can neither start programs nor write outside its folder" {
  fake_synthesis
  mkdir run && mv synth_design.* run && cd run
  script <<'TCL'
make_report a {report_utilization -file ../out.rpt}
make_report b {report_utilization -file u.rpt [exec touch ../out.rpt]}
make_report c {report_utilization -file /tmp/out_of_run.rpt}
make_report d {open ../out.rpt w}
TCL
  run -1 make_reports synth_design
  [ ! -e ../out.rpt ]
  [ ! -e u.rpt ]
  [ ! -e /tmp/out_of_run.rpt ]
  for name in a b c d; do
    [ -s ".$name.fail" ]
  done
}

@test "a disk that is full leaves the old report and the marker tells" {
  fake_synthesis
  script <<<'make_report r {report_utilization -file u.rpt}'
  make_reports synth_design
  cp u.rpt old
  script <<<'make_report r {report_utilization -file u.rpt -hide_unused}'
  run -1 bash -c "ulimit -f 0; trap '' XFSZ; $(declare -f make_reports); tarnel='$tarnel'; make_reports synth_design"
  cmp u.rpt old
}

@test "a wrong command line ends with 2 and one message" {
  for words in '' '-mode gui -source x' '-source x' '-mode batch -source' '-fast'; do
    # shellcheck disable=SC2086
    run -2 --separate-stderr "$tarnel" $words
    [ "$(wc -l <<<"$stderr")" = 1 ]
    [[ $stderr == 'tarnel: error: '*'Call it with -help for its options.' ]]
  done
}

@test "a script that isn't there ends with 1" {
  run -1 --separate-stderr "$tarnel" -mode batch -source none.tcl
  [ "$stderr" = "tarnel: error: The script 'none.tcl' can't be read: No such file or directory. Name the script of a run." ]
}

@test "help and version are on standard output" {
  run -0 --separate-stderr "$tarnel" -help
  [[ $output == 'usage: tarnel '* ]]
  [ -z "$stderr" ]
  run -0 "$tarnel" -version
  [ "$output" = 'tarnel 2026.1' ]
}
