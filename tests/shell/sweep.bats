#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Families of runs over the real tools: made, launched, compared, and the best one chosen.

load xp.bash

setup_file() { need_tools; }

@test "two strategies with three seeds each are launched, compared and chosen from" {
  new_project
  "$xp" -C proj create synth_1 --flow synth
  run -0 --separate-stderr "$xp" -C proj sweep night --strategies Default,Performance --seeds 1-3 --to route
  [ "${#lines[@]}" = 7 ]
  [ "$stderr" = '6 runs are made. Next: xp launch night' ]
  run -0 --separate-stderr "$xp" -C proj launch night -j 2
  # One place for all, and not two lines for each of many runs.
  [[ $output == *$'\nIn the directories of the runs, below '"$project/runs: the logs, runme.log." ]]
  [[ $output != *'Log of '* ]]
  # One synthesis for all of them.
  [ "$(grep -c 'synth_1: done' <<<"$stderr")" = 1 ]
  [ "$(status_of night_Performance_s3 status)" = "done" ]

  # The seeds reach the tool.
  grep -rIqE -e "--seed['\", ]+2([^0-9]|\$)" "$project/runs/night_Default_s2"
  run -1 grep -rIqE -e "--seed['\", ]+2([^0-9]|\$)" "$project/runs/night_Default_s3"

  # Three seeds can't tell a difference that scatters, and each family is told with its median.
  run -0 --separate-stderr "$xp" -C proj compare night
  [[ ${lines[0]} == 'Figure '*'night_Default (3 runs)'*'night_Performance (3 runs)'*'night_Performance against night_Default' ]]
  [[ $output == *'exact signed-rank test (Wilcoxon) of 3 pairs of one seed, at the 5 % level'* ]]
  [[ $output == *"Goal highest Fmax: night_"* ]]
  [[ $output == *" more figures are the same in all of these runs: --all shows them."* ]]
  [[ $output != *"LUTs "*"no real difference"* ]]
  run -0 --separate-stderr "$xp" -C proj compare night --all
  [[ $output == *"LUTs "*"no real difference"* ]]
  "$xp" -C proj compare night --json >families.json
  "$xp" -C proj compare night --each --json >runs.json
  "$xp" -C proj best night --by 'fmax max' --require 'slack >= 0' --json >best.json
  # Medians and the best one are those of the runs' own numbers.
  "$python" - <<'PYTHON'
import json
families, runs, best = (json.load(open(name + ".json")) for name in ("families", "runs", "best"))
fmax = {run["name"]: run["figures"]["fmax"] for run in runs["runs"]}
assert len(fmax) == 6
told = next(f for f in families["comparisons"][0]["figures"] if f["figure"] == "fmax")
assert told["base"]["median"] == sorted(v for n, v in fmax.items() if "_Default_" in n)[1]
assert told["other"]["median"] == sorted(v for n, v in fmax.items() if "_Performance_" in n)[1]
assert told["paired"] and told["outcome"] == "cant_tell" and (told["more_seeds"] or 3) >= 3
assert best["judged"] == 6
assert best["best"] == [n for n in fmax if fmax[n] == max(fmax.values())]
PYTHON

  run -0 --separate-stderr "$xp" -C proj best night --families --by 'fmax max' --then 'cells min'
  [[ ${lines[0]} == 'Best: night_'*' (Fmax '* ]]
  [[ $output == *'Fmax of night_'*' against night_'*': '*'(exact signed-rank test'* ]]

  # A metric that there isn't.
  run -2 --separate-stderr "$xp" -C proj best night --by 'fmx max'
  [[ $stderr == "xp: error: There is no metric 'fmx'. Did you mean 'fmax'? The runs have: fmax, slack, "* ]]

  # A goal that nothing reaches.
  run -3 --separate-stderr "$xp" -C proj best night --require 'fmax >= 5000'
  [ "${lines[0]}" = 'No run meets what is required.' ]

  # Another option of one run makes it stale: it is told and left out.
  "$xp" -C proj set night_Default_s1 route_design.router=router2
  run -0 --separate-stderr "$xp" -C proj best night
  [[ $output == *'night_Default_s1 is left out: its results are stale; bring it up to date: xp launch night_Default_s1'* ]]
  run -4 --separate-stderr "$xp" -C proj best night_Default_s1
}

@test "a dry run shows the runs and makes none" {
  new_project_with_runs
  cp proj/project.xml before.xml
  run -0 --separate-stderr "$xp" -C proj sweep night --seeds 1,4 --dry-run
  [ "${lines[1]}" = 'night_Default_s1  night_Default  Default   synth_1' ]
  [ "${lines[2]}" = 'night_Default_s4  night_Default  Default   synth_1' ]
  [ "$stderr" = 'Nothing is made: this is what a sweep would make' ]
  cmp proj/project.xml before.xml
}

@test "a sweep of which one run is there makes none" {
  new_project_with_runs
  "$xp" -C proj create night_Default_s2 --flow impl
  cp proj/project.xml before.xml
  run -6 --separate-stderr "$xp" -C proj sweep night --seeds 1-3
  [ "$stderr" = 'xp: error: There is a run night_Default_s2 already. Choose another name.' ]
  cmp proj/project.xml before.xml
}

@test "a sweep says what is wrong with it" {
  new_project_with_runs
  run -2 --separate-stderr "$xp" -C proj sweep night --seeds 1-
  [[ $stderr == "xp: error: '1-' can't be seeds. "* ]]
  run -6 --separate-stderr "$xp" -C proj sweep night --flow synth
  [[ $stderr == 'xp: error: A synthesis has no seed. '* ]]
  run -6 --separate-stderr "$xp" -C proj sweep impl_1
  [[ $stderr == 'xp: error: There is a run impl_1 already, '* ]]
}

@test "before anything is done there is nothing to choose from" {
  new_project_with_runs
  "$xp" -C proj sweep night --seeds 1-2
  run -6 --separate-stderr "$xp" -C proj best night --by 'cells min'
  [ "${lines[0]}" = 'No run can be judged.' ]
  [ "${lines[1]}" = "night_Default_s1 is left out: it isn't done (not started)" ]
  run -6 --separate-stderr "$xp" -C proj best night --families --by 'cells min'
  [ "${lines[0]}" = 'No run can be judged.' ]
  # A metric that is mistyped is told first.
  run -2 --separate-stderr "$xp" -C proj best --by 'fmx max'
  [[ $stderr == "xp: error: There is no metric 'fmx'. Did you mean 'fmax'? Runs can have: fmax, slack,"* ]]
  run -2 --separate-stderr "$xp" -C proj best night --families --require 'slck >= 0'
  [[ $stderr == *"Did you mean 'slack'?"* ]]
  run -6 --separate-stderr "$xp" -C proj best impl_1 --families
  [[ $stderr == 'xp: error: None of these runs belongs to a family. '* ]]
}

@test "a project with families fits its schema" {
  command -v xmllint >/dev/null || skip 'no xmllint here'
  new_project_with_runs
  "$xp" -C proj sweep night --seeds 1-2
  xmllint --noout --nonet --schema "$source_dir/data/schemas/project.xsd" proj/project.xml
  run -0 grep -c ' Sweep="night" Family="night_Default"' proj/project.xml
  [ "$output" = 2 ]
}

@test "families that can't be told apart get the seeds that it takes" {
  new_project
  "$xp" -C proj sweep n --synth-strategies Default --strategies Default,Explore --seeds 1-2 --to place
  "$xp" -C proj launch n -j 2 2>/dev/null
  # Nobody is there to be asked: the command is told, and nothing made.
  run -0 --separate-stderr "$xp" -C proj compare n --goal fmax </dev/null
  [[ $stderr == "Fmax can't be told apart: about "*" more seeds of each needed. Make and launch them with: xp compare n --more" ]]
  [ "$(grep -c '<Run ' proj/project.xml)" = 5 ]

  # "No" is an answer too, at a terminal.
  run -0 script -qec "'$xp' -C proj compare n" /dev/null <<<n
  [[ $output == *"Make "*" runs (seeds 3-"*") and launch them? [y/N]"* ]]
  [ "$(grep -c '<Run ' proj/project.xml)" = 5 ]

  run -0 --separate-stderr "$xp" -C proj compare n --more -j 2 --json
  [ "$(json '[c["level"] for f in [j] for c in [f]]' <<<"$output")" = '[0.025]' ]
  count=$(json 'j["comparisons"][0]["figures"][0]["base"]["count"]' <<<"$output")
  [ "$count" -ge 6 ]
  run_is n_Explore_s3 "done"
  [ "$(status_of n_Explore_s3 stale)" = False ]
  # The same seeds in both, so they stay pairs.
  [ "$(json 'j["comparisons"][0]["figures"][0]["paired"]' <<<"$output")" = True ]
}
