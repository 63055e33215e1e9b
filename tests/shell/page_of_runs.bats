#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The page of runs that the real tools made.

load xp.bash

setup_file() {
  export LC_ALL=C TERM=xterm
}

@test "the page of runs that are done and failed tells times, figures, paths and reasons" {
  need_tools
  new_project_with_runs
  "$xp" -C proj create impl_2 --flow impl --set place_design.seed=2
  "$xp" -C proj launch 2>/dev/null
  printf 'module blinky (input clk; endmodule\n' >broken.v
  "$xp" new bad --top blinky --source broken.v 2>/dev/null
  "$xp" -C bad create synth_1 --flow synth 2>/dev/null
  run -1 "$xp" -C bad launch
  "$xp" -C proj html --data >page.json
  "$xp" -C bad html --data >bad.json
  for file in page.json bad.json; do
    "$build_dir/bin/schema_check" $file "$source_dir/data/schemas/json/page.schema.json"
  done
  "$python" - <<'PY'
import json
page = json.load(open("page.json"))
runs = {run["name"]: run for run in page["runs"]}
assert page["summary"]["done"] == 3, page["summary"]
assert page["device"] == {"width": 34, "height": 34}, page["device"]
assert [figure["name"] for figure in page["figures"]][:2] == ["fmax", "worst_slack"]
best = [run["name"] for run in page["runs"] if run["best"]]
assert best == page["best"]["runs"] and best, best
assert page["best"]["why"][0].split(":")[0] in ("Best", "Equally good"), page["best"]
synth, impl = runs["synth_1"], runs["impl_1"]
assert impl["place"] == "here" and impl["synthesis"] == "synth_1" and impl["seed"] == 1
assert impl["queued_at"] - 1 <= impl["began"] <= impl["ended"]
assert [step["name"] for step in impl["steps"]] == [
    "init_design", "place_design", "route_design", "write_bitstream"]
assert all(step["status"] == "done" and step["seconds"] >= 0 for step in impl["steps"])
assert impl["steps"][-1]["began"] + impl["steps"][-1]["seconds"] <= impl["ended"] + 0.002
path = impl["path"]
parts = path["parts"]
assert path["clock"] == "clk" and abs(sum(parts.values()) - path["ns"]) < 0.01, path
assert abs(sum(point["ns"] for point in path["points"]) - path["ns"]) < 0.05, path
assert "cut" not in path
assert any(point.get("src", "").startswith("blinky.v:") for point in path["points"]), path
assert all(0 <= point["x"] < 34 and 0 <= point["y"] < 34 for point in path["points"]), path
uses = {use["name"]: use for use in impl["use"]}
assert uses["logic cells"]["of"] == 7680 and 0 < uses["logic cells"]["used"] < 100, uses
assert impl["figures"]["logic_cells"] == uses["logic cells"]["used"]
assert runs["impl_2"]["options"]["place_design.seed"] == "2"
assert any("text" in report for report in runs[best[0]]["reports"])
bad = json.load(open("bad.json"))["runs"][0]
assert bad["status"] == "failed" and bad["failure"]["step"] == "synth_design", bad["failure"]
assert "ERROR" in bad["log"][0], bad["log"]
assert "xp launch synth_1" in bad["next"], bad["next"]
PY
  touch -d '1 minute' blinky.v
  printf '\n// changed\nwire extra;\n' >>blinky.v
  "$xp" -C proj html --data impl_1 >page.json
  [ "$(json 'j["runs"][0]["stale"], "launch it again: xp launch impl_1" in j["runs"][0]["next"], len(j["runs"][0]["reasons"]) > 0' <page.json)" = \
    '(True, True, True)' ]
}
