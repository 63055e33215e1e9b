#!/usr/bin/env python3
"""Runs benchmark programs and prints each measure beside its floor and its aim.

usage: bench_report.py PROGRAM...      exit 0 always: a loaded machine is no failure
"""
import json
import statistics
import subprocess
import sys

# measure, floor (both of one program), what it is, aim as a ratio
RATIOS = [
    ("pollOfSteps/state:0", "floorOfPoll/state:0", "poll of finished steps / bare fstatat", 1.4),
    ("pollOfSteps/state:1", "floorOfPoll/state:1", "poll of running steps / bare fstatat", None),
    ("pollOfSteps/state:2", "floorOfPoll/state:2", "poll of steps not begun / bare fstatat", None),
    ("pollOfRuns", "pollOfRunsAnew", "second poll of unchanged runs / full poll", 0.08),
    ("freshScripts", "floorOfFresh", "fresh scripts / bare writes", 1.5),
    ("rewrittenScripts", "floorOfFresh", "scripts over the same ones / bare writes", 1.5),
    ("changedScripts", "floorOfFresh", "scripts over other ones / bare writes", 1.5),
    ("buildRun", "floorOfBuilding", "building a run of 1,000 steps / its groups and steps", None),
    ("walkRun", "floorOfWalking", "walking it / walking an array", None),
    ("listOptions", "floorOfListing", "listing 20 x 60 options / making the list", None),
    ("restoreStrategies/10000", "floorOfRestoring/10000",
     "restoring 10,000 strategies / the library's parse", 1.3),
    ("restoreStrategies/10000", "floorOfRestoringFromMemory/10000",
     "the same / bare reads and a parse from memory", None),
    ("restoreStrategies/100000", "restoreStrategies/1000",
     "restoring 100,000 strategies / 1,000", 150),
    ("findStrategy/100000", "findStrategy/1000", "look-up among 100,000 strategies / 1,000", 10),
    ("restoreReportStrategies/2000", "floorOfRestoringReports/2000",
     "restoring 2,000 report strategies / the parse", 1.3),
    ("readCatalogue", "floorOfCatalogue", "reading a catalogue of 200 reports / the parse", None),
    ("saveStrategies", "floorOfSaving/folderSync:1",
     "saving 1,000 strategies / bare saves, all synced", 1.3),
    ("saveStrategies", "floorOfSaving/folderSync:0",
     "the same / bare saves, the folder unsynced", None),
    ("applyReports", "floorOfApplying", "applying 60 reports / copies and looks at the disk", None),
    ("buildCommands", "floorOfCommands", "60 report commands / their words put together", None),
    ("stateOfReports/60", "floorOfStates/60", "states of 60 reports / one walk over the steps", None),
]
# measure, what it is, aim: of benchmarks that measure their floor in turn with themselves
PAIRS = [
    ("resetSteps", "reset of 1,000 runs / bare unlinks", 1.5),
    ("resetRuns", "the same with their directories emptied / bare unlinks", None),
    ("evaluateRuns", "what is stale in 1,000 runs x 10 steps / stats and a walk", None),
    ("startProcess/mb:0", "starting a process / bare posix_spawn", 1.3),
    ("startProcess/mb:2048", "the same from a process of 2 GB / bare posix_spawn", 1.3),
    ("launchRuns/20", "launching one of 20 runs / starting its script", None),
    ("launchRuns/200", "launching one of 200 runs / starting its script", None),
    ("launchQueue/20", "20 runs in one queue / starting their scripts", None),
    ("launchQueue/200", "200 runs in one queue / starting their scripts", None),
    ("listRuns/reads:1", "listing 1,000 runs / bare reads of their files", 3),
    ("listRuns/reads:0", "the same / bare listing of their directories", None),
]
# measure, counter, what it is, aim
COUNTERS = [
    ("drawTop/iterations:200", "view_kb", "memory of xp top over 1,000 runs, KB", 2000),
    ("drawTop/iterations:200", "growth_kb", "what 200 looks add to it, KB", 64),
    ("drawTop/iterations:200", "project_kb", "memory of the 1,000 runs themselves, KB", None),
    ("compareGroups", "ns_per_option", "comparing two groups, ns an option", 25),
    ("findDifferences", "ns_per_option", "finding what differs, ns an option", 25),
    ("readDescription", "ms", "a description of 100,000 pieces, ms", 50),
    ("buildPage/1000", "ms", "the page of 1,000 runs, ms", 1000),
    ("buildPage/1000", "bytes_per_run", "the same, bytes a run", 4096),
    ("stateOfReports/1000", "ns_per_report", "state of a report among 1,000, ns", None),
    ("addRuns", "ns_per_run", "adding one of 100,000 runs to a job, ns", None),
    ("markRuns", "ns_per_run", "marking one, ns", None),
    ("lookUpRuns", "ns_per_run", "asking whether one is marked, ns", 100),
    ("stopRunOfObedientTool", "ms", "from a kill to verified death, ms", 50),
    ("evaluateRuns", "us_per_step", "asking whether a step is stale, us", None),
    ("launchRuns/20", "us", "launching one of 20 runs, us", None),
    ("launchRuns/200", "us", "launching one of 200 runs, us", None),
    ("launchQueue/200", "us", "making and launching 200 runs in one queue, us", None),
    ("listRuns/reads:1", "us", "listing 1,000 runs, us", 300000),
]


def run(program):
    """The fastest of five rounds of each benchmark, all mixed: a busy machine slows each
    round down, but not all of them."""
    command = [program, "--benchmark_format=json", "--benchmark_repetitions=5",
               "--benchmark_enable_random_interleaving=true"]
    text = subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout
    found = {}
    for row in json.loads(text)["benchmarks"]:
        if row["run_type"] != "iteration" or row.get("error_occurred"):
            continue
        name = row["run_name"].split("/iterations")[0].split("/real_time")[0]
        ratios = found[name]["ratios"] if name in found else []
        ratios.append(row.get("ratio", 0))
        if name not in found or row["real_time"] < found[name]["real_time"]:
            found[name] = row
        found[name]["ratios"] = ratios
    return found


def main():
    results = {}
    for program in sys.argv[1:]:
        print("running", program.rsplit("/", 1)[-1], file=sys.stderr)
        results.update(run(program))
    print(f"{'measure':58} {'found':>9} {'aim':>7}")
    for measure, floor, text, aim in RATIOS:
        if measure not in results:
            continue  # of a program that wasn't named
        ratio = results[measure]["real_time"] / results[floor]["real_time"]
        mark = "" if aim is None or ratio <= aim else "  missed"
        print(f"{text:58} {ratio:9.3f} {'' if aim is None else aim:>7}{mark}")
    for measure, text, aim in PAIRS:
        if measure not in results:
            continue
        ratio = statistics.median(results[measure]["ratios"])
        mark = "" if aim is None or ratio <= aim else "  missed"
        print(f"{text:58} {ratio:9.3f} {'' if aim is None else aim:>7}{mark}")
    for measure, counter, text, aim in COUNTERS:
        if measure not in results:
            continue
        value = results[measure][counter]
        mark = "" if aim is None or value <= aim else "  missed"
        print(f"{text:58} {value:9.2f} {'' if aim is None else aim:>7}{mark}")


main()
