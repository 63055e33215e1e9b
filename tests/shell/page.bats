#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The page of a project as a file, and what it is made from.

load xp.bash

data() {
  "$xp" -C proj html --data "$@"
}

fits_schema() {
  "$build_dir/bin/schema_check" "$1" "$source_dir/data/schemas/json/page.schema.json"
}

# What stands between the page's data element and its end, as JSON.
data_of_page() {
  "$python" - "$1" <<'PY'
import html.parser, json, sys
class Data(html.parser.HTMLParser):
    text, inside = None, False
    def handle_starttag(self, tag, attributes):
        self.inside = tag == "script" and dict(attributes).get("id") == "xp-data"
        if self.inside:
            assert self.text is None, "two places for data"
            self.text = ""
    def handle_endtag(self, tag):
        self.inside = False
    def handle_data(self, text):
        if self.inside:
            self.text += text
parser = Data()
parser.feed(open(sys.argv[1], encoding="utf-8").read())
json.dump(json.loads(parser.text), sys.stdout)
PY
}

# A run as a tool left it: lease, markers, log. $1: its name; $2: end or error of its last step.
ran() {
  local dir=proj/runs/$1
  mkdir -p "$dir"
  printf '<p/>' >"$dir/.ice40_synth.begin.rst"
  printf '' >"$dir/.ice40_synth.$2.rst"
  touch -d '2026-01-01 10:00:00.250 UTC' "$dir/.ice40_synth.begin.rst"
  touch -d '2026-01-01 10:00:04.750 UTC' "$dir/.ice40_synth.$2.rst"
}

@test "the page is one file beside the project file, and holds the data" {
  new_project_with_runs
  run -0 --separate-stderr "$xp" -C proj html
  [ "$output" = "$project/xperiment.html" ]
  data_of_page "$output" >page.json
  fits_schema page.json
  [ "$(json '[r["name"] for r in j["runs"]], j["project"]["name"], j["live"]' <page.json)" = \
    "(['synth_1', 'impl_1'], 'proj', False)" ]
}

@test "a page asks for nothing from elsewhere" {
  new_project
  "$xp" -C proj html -o page.html
  run ! grep -Eio '(src|href|action|data)="(https?:)?//[^"]*"|@import|url\((https?:)?//' page.html
}

@test "the data fits its schema for a project without runs, with runs, and for some of them" {
  new_project
  data >none.json
  fits_schema none.json
  [ "$(json 'j["runs"], j["best"]["why"], j["summary"]["runs"]' <none.json)" = \
    "([], ['No run can be judged.'], 0)" ]
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj sweep night --strategies Default,Performance --seeds 1-2
  data >all.json
  fits_schema all.json
  [ "$(json '[(f["name"], f["runs"]) for f in j["families"]]' <all.json)" = \
    "[('night_Default', ['night_Default_s1', 'night_Default_s2']), ('night_Performance', ['night_Performance_s1', 'night_Performance_s2'])]" ]
  [ "$(json '[(r["sweep"], r["family"], r["seed"]) for r in j["runs"]][2]' <all.json)" = \
    "('night', 'night_Default', 2)" ]
  data night_Default >some.json
  [ "$(json '[r["name"] for r in j["runs"]]' <some.json)" = \
    "['night_Default_s1', 'night_Default_s2']" ]
}

@test "a run that wasn't launched says what to do, and nothing of what isn't known" {
  new_project_with_runs
  data >page.json
  [ "$(json '[(r["status"], r["next"], r["began"], r["place"], r["figures"], r["path"]) for r in j["runs"]][1]' <page.json)" = \
    "('not started', 'not launched yet: xp launch impl_1', None, None, {}, None)" ]
}

@test "commands repeat a run with the options that it differs in" {
  new_project
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj create impl_1 --flow impl --strategy Performance --set place_design.seed=7
  data impl_1 >page.json
  [ "$(json 'j["runs"][0]["options"]["place_design.seed"]' <page.json)" = 7 ]
  mapfile -t commands < <(json '"\n".join(j["runs"][0]["repeat"])' <page.json)
  [ "${commands[0]}" = "xp create impl_1_again --flow impl --strategy Performance --synth synth_1 --set place_design.seed=7" ]
  [ "${commands[1]}" = 'xp launch impl_1_again' ]
  (cd proj && eval "${commands[0]/#xp/"$xp"}")
  "$xp" -C proj html --data impl_1_again |
    json 'j["runs"][0]["options"] == {"place_design.seed": "7"} or j["runs"][0]["options"]' >same
  [ "$(data impl_1_again | json 'j["runs"][0]["options"]')" = \
    "$(data impl_1 | json 'j["runs"][0]["options"]')" ]
}

@test "names that look like markup stay text, and don't end the data" {
  new_project
  "$xp" -C proj create synth_1 --flow synth
  ran synth_1 error
  printf '%s\n' 'ERROR: </script><script>alert(1)</script> <!-- <script> &amp; \u003c' \
    $'line\xe2\x80\xa8two\xe2\x80\xa9 \xff\x01' >proj/runs/synth_1/runme.log
  "$xp" -C proj html -o page.html
  run ! grep -F '</script><script>alert' page.html
  data_of_page page.html >page.json
  fits_schema page.json
  data >plain.json
  [ "$(json '[r["log"] for r in j["runs"]]' <page.json)" = \
    "$(json '[r["log"] for r in j["runs"]]' <plain.json)" ]
}

@test "a page that can't be written leaves the old one, and says why" {
  new_project
  printf 'old' >page.html
  mkdir -p there/page.html
  run -6 --separate-stderr "$xp" -C proj html -o there/page.html
  [[ $stderr == 'xp: error: '*there/page.html* ]]
  [ "$(ls there)" = page.html ]
  [ "$(cat page.html)" = old ]
}

@test "a run that nobody knows is refused" {
  new_project_with_runs
  run -6 --separate-stderr "$xp" -C proj html impl_9
  [ -z "$output" ]
  [ ! -e proj/xperiment.html ]
}
