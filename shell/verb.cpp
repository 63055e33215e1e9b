// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/verb.h"

#include <algorithm>

namespace shell {

Verb::~Verb() = default;

// NOLINTNEXTLINE(readability-function-size): a table.
const std::vector<VerbEntry>& verbs() {
    static const std::vector<VerbEntry> all{
        {"new", "make a project from Verilog sources and pin constraints",
         "xp new blinky --top blinky --source blinky.v --constraints blinky.pcf", makeNewVerb},
        {"add", "add Verilog sources, or a .pcf file as the constraints",
         "xp add uart.v fifo.v\nxp add board.pcf", makeAddVerb},
        {"create", "make a run, without launching it",
         "xp create synth_1 --flow synth\n"
         "xp create impl_1 --flow impl --strategy Performance --set place_design.seed=7\n"
         "xp create impl_2 --flow impl --reports 'Tarnel Implementation Default Reports'",
         makeCreateVerb},
        {"sweep", "make families of runs: strategies, each with several seeds",
         "xp sweep night --strategies Default,Performance --seeds 1-6\n"
         "xp sweep night --synth-strategies Default,Area --seeds 1-6\n"
         "xp sweep night --strategies Default --seeds 7-12 --dry-run\nxp launch night",
         makeSweepVerb},
        {"set", "change the options, the strategy or the last step of a run",
         "xp set impl_1 seed=7 router=router2\nxp set impl_1 --strategy Explore --to route",
         makeSetVerb},
        {"apply", "give a run the values of a strategy; what was set on the run is lost",
         "xp apply impl_1 Performance\nxp apply impl_1", makeApplyVerb},
        {"launch", "launch runs, and wait for them with live progress",
         "xp launch\nxp launch impl_1\nxp launch synth_1 --no-wait\n"
         "xp launch night --abandon 'fmax < 90% of best'\nxp launch --host node7:4 "
         "--host node8\nxp launch night --sge 'qsub -q all.q' -j 20",
         makeLaunchVerb},
        {"plan", "show what a launch would do, in order and why, without doing it",
         "xp plan\nxp plan impl_1 --json", makePlanVerb},
        {"wait", "wait for runs that were launched", "xp wait\nxp wait impl_1", makeWaitVerb},
        {"watch", "follow runs that others launched, until none is at work",
         "xp watch\nxp watch impl_1 impl_2\nxp watch --jsonl --forever", makeWatchVerb},
        {"top", "show all runs on the whole terminal, and act on them by keys",
         "xp top\nxp top --filter running", makeTopVerb},
        {"kill", "stop runs for certain, with everything that they started",
         "xp kill impl_1\nxp kill --all", makeKillVerb},
        {"reset", "take a run back, as a whole or from a step on",
         "xp reset impl_1\nxp reset impl_1 --from route\nxp reset synth_1 --kill\nxp reset night",
         makeResetVerb},
        {"rm", "remove runs from the project, with their directories",
         "xp rm impl_1\nxp rm night --yes\nxp rm synth_2 --with-dependants", makeRmVerb},
        {"undo", "take the last reset, removal or launch back",
         "xp undo\nxp undo --list\nxp undo 2026-11-21-3-reset\nxp undo --keep 50", makeUndoVerb},
        {"history", "show what was launched, what came of it, and the trend per night",
         "xp history\nxp history impl_1 --limit 5\nxp history night --nights --since 14d\n"
         "xp history --json",
         makeHistoryVerb},
        {"ls", "list runs, a line each: status, results and what to do next",
         "xp ls\nxp ls night --sort fmax\nxp ls --status failed,lost\nxp ls --stale --json",
         makeListVerb},
        {"status", "show every run: how far it is, and its results",
         "xp status\nxp status impl_1 --json", makeStatusVerb},
        {"log", "show what the tools of a run printed", "xp log impl_1\nxp log impl_1 --lines 50",
         makeLogVerb},
        {"show", "show the project, or a run: its options, files and stale reasons",
         "xp show\nxp show impl_1\nxp show impl_1 --json", makeShowVerb},
        {"why", "tell why results of a run are out of date: files, options, tools",
         "xp why impl_1\nxp why impl_1 --json", makeWhyVerb},
        {"explain", "tell why a run failed, is stale or misses its goal, and what to do next",
         "xp explain impl_1\nxp explain impl_1 --json", makeExplainVerb},
        {"strategy", "list, show, make and change strategies: named sets of options",
         "xp strategy list\nxp strategy copy impl/Performance Fast", nullptr, strategyVerbs},
        {"reportstrategy", "the same for report strategies: named sets of reports",
         "xp reportstrategy list\nxp reportstrategy show Daily", nullptr, reportStrategyVerbs},
        {"compare", "compare runs: key figures, options that differ, and which is best",
         "xp compare\nxp compare impl_1 impl_2 --goal luts,fmax\nxp compare --json\n"
         "xp compare night_Default night_Performance --more",
         makeCompareVerb},
        {"diff", "show what differs between two runs or families, and nothing else",
         "xp diff impl_1 impl_2\nxp diff night_Default night_Performance\n"
         "xp diff impl_1 impl_2 --json --exit-code",
         makeDiffVerb},
        {"best", "choose the best run by rules, and tell why it won",
         "xp best\nxp best --by 'fmax max 1%' --then 'cells min' --require 'slack >= 0'\n"
         "xp best impl_1 impl_2 --by 'luts min' --json\nxp best night --families",
         makeBestVerb},
        {"html", "write the page of the project: runs, figures, verdicts, in one file",
         "xp html\nxp html -o /tmp/night.html night\nxp html --data", makeHtmlVerb},
        {"serve", "show the same page live in the browser, on this host alone",
         "xp serve --open\nxp serve --port 8080 night", makeServeVerb},
        {"report", "list, make, show, add and change the reports of runs",
         "xp report list impl_1\nxp report open impl_1 report_timing_summary", nullptr,
         reportVerbs},
        {"doctor", "check tools, folder, Tcl and grid, and tell what to do",
         "xp doctor\nxp doctor --sge 'qsub -q all.q'\nxp doctor --json", makeDoctorVerb},
        {"bug", "pack a run so that somebody else can repeat it with the tools alone",
         "xp bug impl_1\nxp bug impl_1 -o /tmp/placer.tar.gz", makeBugVerb},
        {"completion", "print the script that makes a shell complete what you type",
         "source <(xp completion bash)\nsource <(xp completion zsh)\nxp completion fish | source",
         makeCompletionVerb},
        {"tcl", "run a script of Tcl with the commands of xp, or type them at a prompt",
         "xp tcl\nxp tcl sweep.tcl night 1-6", makeTclVerb},
    };
    return all;
}

const VerbEntry* findVerb(const std::vector<VerbEntry>& verbs, const std::string& name) {
    const auto found = std::find_if(verbs.begin(), verbs.end(),
                                    [&name](const VerbEntry& verb) { return name == verb.name; });
    return found == verbs.end() ? nullptr : &*found;
}

}  // namespace shell
