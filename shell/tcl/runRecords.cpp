// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// The subcommands of `run` that tell what was, and take it back.
#include <limits>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <tcl.h>

#include "shell/bugPack.h"
#include "shell/diffView.h"
#include "shell/explanation.h"
#include "shell/familyOptions.h"
#include "shell/launchHistory.h"
#include "shell/namedDiff.h"
#include "shell/tcl/runActions.h"
#include "shell/tcl/tclAction.h"
#include "shell/tcl/tclError.h"
#include "shell/tcl/tclValue.h"
#include "shell/undoActions.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/undo/UndoStore.h"

namespace shell::tcl::run {

namespace {

constexpr long kLargestCount = std::numeric_limits<int>::max();

/// @throws HTCErrors::error the project has a launch that isn't over, which holds its runs.
void requireNoLaunch(const OpenProject& open) {
    const std::string& dir = open.project->getDir();
    if (open.queue)
        fail(Code::kLaunchActive, {dir},
             fmt::format("The launch in {} isn't over. Wait for it, or take back what waits with: "
                         "launch cancel",
                         dir));
}

/// The handles of those runs of `entry` that there are.
Tcl_Obj* undoneHandles(const Project& project, const workbench::UndoEntry& entry) {
    std::vector<HAXPExpRun*> runs;
    for (const workbench::UndoRun& undone : entry.runs) {
        if (HAXPExpRun* run = project.findRun(undone.name))
            runs.push_back(run);
    }
    return tcl::handlesOf(runs);
}

}  // namespace

statistics::Question questionOf(const Call& call) {
    FamilyOptions options;
    CLI::App app;
    options.declare(app);
    std::vector<std::string> words;
    for (const char* name : {"-level", "-margin"}) {
        if (call.has(name))
            words.insert(words.begin(), {call.text(name), std::string("-") + name});
    }
    try {
        app.parse(words);
    } catch (const CLI::ParseError& error) {
        fail(Code::kUsage, {}, fmt::format("{}.", error.what()));
    }
    return options.question();
}

Tcl_Obj* history(Call& call) {
    const OpenProject& open = call.session().projectOf(call.words());
    const long since = call.has("-since") ? readSince(call.text("-since")) : 0;
    const auto limit = static_cast<std::size_t>(call.integer("-limit", 1, kLargestCount, 0));
    TclSession::refresh(open.project->getRuns());
    const std::vector<workbench::LaunchRecord> all = launchesOf(*open.project, call.textsFrom(0));
    if (call.flag("-nights"))
        return newValue(nightsJson(listNights(all, since, limit)));
    return newValue(launchesJson(listLaunches(all, since, limit)));
}

Tcl_Obj* diff(Call& call) {
    OpenProject* open = nullptr;
    const std::vector<HAXPExpRun*> runs = call.session().runs(call.words(), open);
    TclSession::refresh(runs);
    const NamedDiff made =
        diffOfNames(*open->project, call.word(0), call.word(1), questionOf(call));
    return newValue(diffJson(made.first, made.second, made.diff));
}

Tcl_Obj* explain(Call& call) {
    const RunOfProject found = call.session().run(call.words().at(0));
    return newValue(
        explanationJson(*found.run, shell::explain(*found.project->project, *found.run)));
}

Tcl_Obj* bug(Call& call) {
    const RunOfProject found = call.session().run(call.words().at(0));
    return newText(packRunAnew(*found.project->project, *found.run, call.text("-file")).archive);
}

Tcl_Obj* undo(Call& call) {
    OpenProject& open = call.session().current();
    workbench::UndoStore store(*open.project);
    const long entries = call.integer("-keep", 1, kLargestCount, 0);
    const long megabytes = call.integer("-keepmb", 1, kLargestCount, 0);
    const bool wantsList = call.flag("-list");
    if (entries > 0 || megabytes > 0) {
        if (call.count() > 0)
            call.failUsage();
        changeable(open);
        changeLimits(store, static_cast<std::size_t>(entries),
                     static_cast<std::uint64_t>(megabytes));
        if (!wantsList)
            return Tcl_NewObj();
    }
    if (wantsList) {
        if (call.count() > 0)
            call.failUsage();
        return newValue(entriesJson(store.entries()));
    }
    changeable(open);
    call.session().catchUp(open);
    requireNoLaunch(open);
    const workbench::UndoEntry entry = store.undo(call.count() > 0 ? call.word(0) : "");
    call.session().settle(open);
    return undoneHandles(*open.project, entry);
}

}  // namespace shell::tcl::run
