// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tcl.h>

#include "shell/suggestion.h"
#include "shell/tcl/runActions.h"
#include "shell/tcl/tclAction.h"
#include "shell/tcl/tclError.h"
#include "shell/tcl/tclValue.h"
#include "workbench/HAXPExpRun.h"

namespace shell::tcl {

namespace run {

Tcl_Obj* on(Call& call) {
    const std::vector<std::string> known{"done", "failed", "step", "abandoned"};
    const std::string word = call.word(0);
    const auto found = std::find(known.begin(), known.end(), word);
    if (found == known.end()) {
        const std::string meant = suggestionFor(word, known);
        fail(Code::kValueBad, {"EVENT", word},
             fmt::format("There is no event '{}'{}", word,
                         meant.empty() ? fmt::format(". It is one of {}.", fmt::join(known, ", "))
                                       : fmt::format(". Did you mean '{}'?", meant)));
    }
    const auto event = static_cast<TclSession::Event>(found - known.begin());
    const TclSession::About about = call.session().about(call.value("-run"));
    if (call.count() > 1)
        call.session().on(event, about, call.words()[1]);
    Tcl_Obj* script = call.session().callback(event, about);
    return script == nullptr ? Tcl_NewObj() : script;
}

}  // namespace run

namespace {

constexpr OptionRule kLevel{"-level", "PERCENT",
                            "of families: how often chance may seem a difference"};
constexpr OptionRule kMargin{"-margin", "PERCENT", "of families: what is too small to matter"};

// NOLINTNEXTLINE(readability-function-size): a table.
std::vector<Subcommand> changes() {
    return {
        {"create",
         "NAME",
         "makes a run; gives its handle",
         1,
         1,
         {{"-flow", "FLOW", "synth or impl; needed"},
          {"-strategy", "NAME", "strategy to start from; Default if unsaid"},
          {"-synth", "RUN", "synthesis that an implementation starts from; the first if unsaid"},
          {"-to", "STEP", "short name of the step to end at"},
          {"-reports", "NAME", "report strategy; the flow's default if unsaid"},
          {"-set", "DICT", "options and their values"}},
         run::create},
        {"set",
         "RUN ?OPTION VALUE ...?",
         "changes options, the strategy or the last step; all of it or nothing",
         1,
         -1,
         {{"-strategy", "NAME", "strategy to take over first"},
          {"-to", "STEP", "short name of the step to end at; {} for the last one"}},
         run::set,
         1},
        {"apply",
         "RUN ?STRATEGY?",
         "gives a run the values of a strategy; its own if unsaid",
         1,
         2,
         {},
         run::apply},
        {"sweep",
         "NAME",
         "makes families of runs, strategies times seeds; gives their handles",
         1,
         1,
         {{"-strategies", "LIST", "each makes a family; Default if unsaid"},
          {"-seeds", "LIST", "numbers and ranges such as 1-6"},
          {"-synths", "LIST", "syntheses that they share; the first one if unsaid"},
          {"-synthstrategies", "LIST",
           "in their place: strategies of syntheses, which are made when they are missing"},
          {"-flow", "FLOW", "impl"},
          {"-to", "STEP", "short name of the step to end at"},
          {"-reports", "NAME", "report strategy; the flow's default if unsaid"},
          {"-set", "DICT", "options of each run"},
          {"-dryrun", "BOOL", "only give the names"}},
         run::sweep},
        {"launch", "?RUN ...?", "the same as launch start", 0, -1, launch::options(),
         launch::start},
        {"wait",
         "?RUN ...?",
         "runs the event loop until they have ended; a dict of their states",
         0,
         -1,
         {{"-timeout", "MS", "give up after so long, with an error"}},
         launch::wait},
        {"kill",
         "RUN ?RUN ...?",
         "stops runs for certain; a dict of what it came to",
         1,
         -1,
         {},
         run::kill},
        {"reset",
         "RUN ?RUN ...?",
         "takes runs back",
         1,
         -1,
         {{"-from", "STEP", "short name of the first step to take back; all if unsaid"},
          {"-keepfiles", "BOOL", "leave what the steps made"},
          {"-kill", "BOOL", "stop the run first if it is at work"},
          {"-force", "BOOL", "also when it can't be told whether it is at work"}},
         run::reset},
        {"delete",
         "RUN ?RUN ...?",
         "takes runs out of the project, with their directories; run undo brings them back",
         1,
         -1,
         {{"-dependants", "BOOL", "also the implementations that start from a synthesis"},
          {"-kill", "BOOL", "stop those first that are at work"}},
         run::remove},
        {"undo",
         "?ID?",
         "takes the last reset, removal or launch back, or the one of that id; gives the handles "
         "of the runs that have come back",
         0,
         1,
         {{"-list", "BOOL", "give a list of dicts instead: what can be taken back"},
          {"-keep", "N", "from now on keep at most N of them, and take nothing back"},
          {"-keepmb", "N", "the same for N megabytes"}},
         run::undo},
        {"on",
         "EVENT ?SCRIPT?",
         "has SCRIPT called on done, failed, step or abandoned, with the run's name and more "
         "behind it; {} for no longer. Gives the script",
         1,
         2,
         {{"-run", "RUN", "of this run alone"}},
         run::on},
    };
}

// NOLINTNEXTLINE(readability-function-size): a table.
std::vector<Subcommand> questions() {
    return {
        {"list",
         "?PATTERN?",
         "the handles of runs",
         0,
         1,
         {{"-flow", "FLOW", "only those of this flow"},
          {"-status", "WORD", "only those with this status"},
          {"-family", "NAME", "only those of this family or sweep"}},
         run::list},
        {"exists", "RUN", "whether there is such a run", 1, 1, {}, run::exists},
        {"info", "RUN", "a dict: all that is known of a run", 1, 1, {}, run::info},
        {"get",
         "RUN KEY",
         "an option, a figure such as fmax or luts, as rules name it, or a fact such as directory",
         2,
         2,
         {},
         run::get},
        {"options",
         "RUN",
         "a dict of its options",
         1,
         1,
         {{"-changed", "BOOL", "only those that differ from their defaults"}},
         run::options},
        {"status",
         "?RUN ...?",
         "the status of a run, or a dict of those of several",
         0,
         -1,
         {},
         run::status},
        {"steps", "RUN", "a dict of its steps and how far each is", 1, 1, {}, run::steps},
        {"log",
         "RUN",
         "what its tools printed",
         1,
         1,
         {{"-lines", "N", "only the last N lines"}},
         run::log},
        {"why", "RUN", "a dict: why its results are out of date", 1, 1, {}, run::why},
        {"best",
         "?RUN ...?",
         "a dict: the best runs by rules, and why",
         0,
         -1,
         {{"-by", "RULE", "what decides, such as {fmax max 1%}; fmax max if unsaid"},
          {"-then", "LIST", "rules for those that are as good"},
          {"-require", "LIST", "what must hold, such as {{slack >= 0}}"},
          {"-families", "BOOL", "choose the best family by its medians, with tested verdicts"},
          kLevel,
          kMargin},
         run::best},
        {"compare",
         "?RUN ...?",
         "a dict: runs side by side, or families with tested verdicts",
         0,
         -1,
         {{"-goal", "LIST", "fmax, slack, luts, time, with commas between; fmax if unsaid"},
          kLevel,
          kMargin},
         run::compare},
        {"diff",
         "FIRST SECOND",
         "a dict: what differs between two runs, or two families, and nothing else",
         2,
         2,
         {kLevel, kMargin},
         run::diff},
        {"explain",
         "RUN",
         "a dict: why it failed, is stale or misses its goal, and what to do next",
         1,
         1,
         {},
         run::explain},
        {"history",
         "?RUN ...?",
         "a list of dicts, the newest first: what was launched, and what came of it",
         0,
         -1,
         {{"-nights", "BOOL", "the trend from night to night instead, with regression marks"},
          {"-limit", "N", "only the last N launches, or nights"},
          {"-since", "TIME", "only those since a date (2026-11-20) or a time ago (7d, 12h)"}},
         run::history},
        {"bug",
         "RUN",
         "packs a run so that somebody else can repeat it with the tools alone; gives the archive",
         1,
         1,
         {{"-file", "FILE", "the archive to write, bug-RUN.tar.gz here if unsaid"}},
         run::bug},
    };
}

}  // namespace

const Ensemble& runEnsemble() {
    static const Ensemble ensemble = [] {
        Ensemble made{"run", "make, launch, follow and judge runs", changes()};
        for (const Subcommand& subcommand : questions())
            made.subcommands.push_back(subcommand);
        return made;
    }();
    return ensemble;
}

}  // namespace shell::tcl
