#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The reports of runs that weren't launched: chosen, changed, and what is refused.

load xp.bash

# A run with the default reports, and the project as it was saved.
project_with_reports() {
  new_project_with_runs
  keep_project
}

keep_project() {
  cp proj/project.xml kept.xml
}

project_is_kept() {
  cmp proj/project.xml kept.xml
}

# The value of the Python expression $2 over `r`, report $1 of impl_1.
report_is() {
  "$xp" -C proj report list impl_1 --all --json |
    json "[eval('''$2''', {'r': r}) for r in j if r['report'] == '$1'][0]"
}

@test "the reports of a new run are those of the default, and aren't generated" {
  project_with_reports
  run -0 --separate-stderr "$xp" -C proj report list
  [[ ${lines[0]} == Run*Step*Report*State*File ]]
  [[ $output == *synth_1*synth_design*report_utilization*'not generated'*-* ]]
  [[ $output == *impl_1*route_design*report_timing_summary*'not generated'*-* ]]
  # A log that isn't there is no report yet.
  [[ $output != *_log* ]]
  run -0 --separate-stderr "$xp" -C proj report list impl_1 --json
  [ "$(json '{r["run"] for r in j}, {r["state"] for r in j}' <<<"$output")" = \
    "({'impl_1'}, {'not generated'})" ]
  [ "$(json '{r["static"] for r in j}' <<<"$output")" = '{False}' ]
  run -0 --separate-stderr "$xp" -C proj report list impl_1 --all --json
  [ "$(json 'sorted({r["static"] for r in j})' <<<"$output")" = '[False, True]' ]
  project_is_kept
}

@test "create takes the reports of a report strategy" {
  new_project
  "$xp" -C proj create synth_1 --flow synth --reports 'Tarnel Synthesis Default Reports'
  "$xp" -C proj create impl_1 --flow impl --reports 'impl/Tarnel Implementation Default Reports'
  [ "$("$xp" -C proj show impl_1 --json | json 'j["report_strategy"]')" = \
    'Tarnel Implementation Default Reports' ]
  keep_project
  run -6 "$xp" -C proj create impl_2 --flow impl --reports 'Tarnel Implementation Defaults'
  assert_one_error "There is no report strategy 'Tarnel Implementation Defaults' for the flow impl." \
    "Did you mean 'Tarnel Implementation Default Reports'?"
  run -6 "$xp" -C proj create impl_2 --flow impl --reports nosuch
  assert_one_error 'Choose one of: Tarnel Implementation Default Reports.'
  project_is_kept
}

@test "a report is added, and every call after it knows it" {
  project_with_reports
  run -0 --separate-stderr "$xp" -C proj report add impl_1 route report_timing --name Slowest \
    --set max_paths=3 --set no_source=true
  [ -z "$output" ]
  [ "$stderr" = "Report Slowest of run impl_1 is added. Make it with: xp report generate impl_1 Slowest" ]
  [ "$(report_is Slowest 'r["step"], r["command"], r["display_name"], r["enabled"]')" = \
    "('route_design', 'report_timing', 'Slowest', True)" ]
  [ "$(report_is Slowest '{o["option"]: o["value"] for o in r["options"]}')" = \
    "{'max_paths': '3', 'no_source': 'true'}" ]
}

@test "what add refuses isn't added" {
  project_with_reports
  run -6 "$xp" -C proj report add impl_1 route report_power
  assert_one_error 'There is no report report_power in the catalogue' 'report_timing'
  run -6 "$xp" -C proj report add impl_1 nowhere report_drc
  assert_one_error 'The run impl_1 has no step nowhere' 'route_design'
  run -6 "$xp" -C proj report add impl_1 route report_timing --set max_paths=many
  assert_one_error 'The option max_paths of report impl_1_route_report_timing_1' 'no whole number'
  run -6 "$xp" -C proj report add impl_1 route report_timing --set speed=1
  assert_one_error 'has no option speed' 'max_paths'
  run -2 "$xp" -C proj report add impl_1 route report_timing --set max_paths
  assert_one_error "'max_paths' sets nothing"
  run -6 "$xp" -C proj report add impl_1 route report_timing --name Utilization
  assert_one_error 'Run impl_1 has a report called Utilization already'
  local name
  for name in $'a\eb' $'a\nb' a/b ..; do
    run -6 "$xp" -C proj report add impl_1 route report_timing --name "$name"
    assert_one_error "can't be the name of a report"
    [[ $output != *$'\e'* ]]
  done
  project_is_kept
}

@test "reports are disabled and enabled" {
  project_with_reports
  run -0 "$xp" -C proj report disable impl_1 report_drc report_io report_drc
  [[ ${lines[0]} == 'Report report_drc of run impl_1 is disabled: launches and generate leave it out' ]]
  [ "${#lines[@]}" = 2 ]
  [ "$(report_is report_drc 'r["state"], r["enabled"]')" = "('disabled', False)" ]
  run -0 "$xp" -C proj report disable impl_1 report_drc
  [[ $output == *'is disabled already'* ]]
  run -6 "$xp" -C proj report open impl_1 report_drc
  assert_one_error 'It is disabled; switch it on first: xp report enable impl_1 report_drc'
  run -0 "$xp" -C proj report enable impl_1 report_drc
  [[ $output == 'Report report_drc of run impl_1 is enabled' ]]
  [ "$(report_is report_drc 'r["state"]')" = 'not generated' ]
}

@test "a report is set, all or nothing" {
  project_with_reports
  run -0 --separate-stderr "$xp" -C proj report set impl_1 report_timing max_paths=5 no_source=true
  [ -z "$output$stderr" ]
  [ "$(report_is report_timing '[o["value"] for o in r["options"]]')" = "['5', 'true']" ]
  keep_project
  run -6 "$xp" -C proj report set impl_1 report_timing max_paths=6 no_source=maybe
  assert_one_error 'The option no_source of report'
  # shellcheck disable=SC2016
  run -6 "$xp" -C proj report set impl_1 report_timing 'from=[exit]'
  assert_one_error 'which Tcl would take as its own'
  run -2 "$xp" -C proj report set impl_1 report_timing
  assert_one_error settings
  project_is_kept
}

@test "reports are deleted, all or none" {
  project_with_reports
  run -6 "$xp" -C proj report delete impl_1 report_drc impl_1_bitstream_implementation_log_0
  assert_one_error 'is a file that the run leaves by itself'
  run -6 "$xp" -C proj report delete impl_1 report_drc nosuch
  assert_one_error 'The run impl_1 has no report nosuch'
  project_is_kept
  run -0 "$xp" -C proj report delete impl_1 report_drc report_io
  [[ $output == *'Report report_drc of run impl_1 is deleted'*'report_io'*'is deleted'* ]]
  run -0 "$xp" -C proj report list impl_1
  [[ $output != *report_drc* && $output != *report_io* && $output == *report_timing* ]]
}

@test "apply takes the reports of a report strategy in place of those there are" {
  project_with_reports
  "$xp" -C proj report delete impl_1 report_drc
  "$xp" -C proj report add impl_1 place report_clocks
  run -0 "$xp" -C proj report apply impl_1 'Tarnel Implementation Default Reports'
  [[ $output == 'Run impl_1 has the reports of Tarnel Implementation Default Reports now.'* ]]
  run -0 "$xp" -C proj report list impl_1
  [[ $output == *report_drc* && $output != *report_clocks* ]]
  keep_project
  run -6 "$xp" -C proj report apply impl_1 'Tarnel Synthesis Default Reports'
  assert_one_error "for the flow impl"
  run -6 "$xp" -C proj report apply impl_1 'synth/Tarnel Synthesis Default Reports'
  assert_one_error "for the flow impl"
  project_is_kept
}

@test "misspelt reports and runs are met with what was meant" {
  project_with_reports
  run -6 "$xp" -C proj report open impl_1 report_timing_sumary
  assert_one_error "The run impl_1 has no report 'report_timing_sumary'. Did you mean 'report_timing_summary'?"
  run -6 "$xp" -C proj report list imlp_1
  assert_one_error "There is no run 'imlp_1'. Did you mean 'impl_1'?"
  run -6 "$xp" -C proj report generate imlp_1
  assert_one_error "Did you mean 'impl_1'?"
  run -6 "$xp" -C proj compare imlp_1
  assert_one_error "Did you mean 'impl_1'?"
  run -6 "$xp" -C proj show imlp_1
  assert_one_error "Did you mean 'impl_1'?"
  run -2 "$xp" -C proj report genrate
  assert_one_error "There is no verb 'genrate'. Did you mean 'generate'?"
}

@test "a name that several reports have wants more of it" {
  project_with_reports
  "$xp" -C proj report add impl_1 route report_utilization
  run -6 "$xp" -C proj report open impl_1 report_utilization
  assert_one_error 'The report report_utilization could be one of several' \
    impl_1_place_report_utilization_0 impl_1_route_report_utilization_0
  run -6 "$xp" -C proj report open impl_1 route.report_utilization
  assert_one_error "Report route.report_utilization of run impl_1 isn't there yet." \
    'Make it with: xp report generate impl_1 route.report_utilization'
}

@test "without a launch nothing is generated, and the reason is told" {
  project_with_reports
  run -0 "$xp" -C proj report generate impl_1
  [[ $output == *"Report report_timing of run impl_1 isn't made: its step isn't done"* ]]
  [[ $output != *_log* ]]
  run -6 "$xp" -C proj report generate impl_1 report_timing
  [[ $output == *"isn't made: its step isn't done"* ]]
  run -6 --separate-stderr "$xp" -C proj report generate impl_1 report_timing --json
  [ "$(json 'j[0]["made"], j[0]["failed"], j[0]["reason"]' <<<"$output")" = \
    "(False, False, \"its step isn't done\")" ]
  [ -z "$stderr" ]
}

@test "verbs that change refuse a project that is open elsewhere" {
  project_with_reports
  exec 6>>proj/.project.lock
  flock -x 6
  local words
  for words in 'generate impl_1' 'add impl_1 route report_drc' 'enable impl_1 report_drc' \
    'disable impl_1 report_drc' 'delete impl_1 report_drc' 'set impl_1 report_timing max_paths=3' \
    'apply impl_1 Any'; do
    # shellcheck disable=SC2086
    run -6 "$xp" -C proj report $words
    assert_one_error 'is open in another process'
  done
  run -0 "$xp" -C proj report list
  exec 6>&-
  project_is_kept
}

@test "runs that aren't done are compared, but not judged" {
  project_with_reports
  "$xp" -C proj create impl_2 --flow impl --set place_design.seed=7
  run -0 --separate-stderr "$xp" -C proj compare
  [[ $output == *impl_1*impl_2* && $output != *$'\e'* ]]
  grep -Eq '^place_design.seed +1 +7$' <<<"$output"
  grep -Fq 'Goal highest Fmax: no run can be judged.' <<<"$output"
  grep -Fq "impl_1 is left out: it isn't done (not started)" <<<"$output"
  run -2 "$xp" -C proj compare --goal fmaxx
  assert_one_error "There is no goal 'fmaxx'. Did you mean 'fmax'?"
}

@test "a project without implementations has nothing to compare" {
  new_project
  run -6 "$xp" -C proj compare
  assert_one_error 'The project has no implementation to compare' 'xp create impl_1 --flow impl'
}
