// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <tcl.h>

#include "runs/base/xperiment/HAXPLaunchOptions.h"
#include "shell/abandoning.h"
#include "shell/clusterOptions.h"
#include "shell/hostOptions.h"
#include "shell/planView.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/runs.h"
#include "shell/tcl/runActions.h"
#include "shell/tcl/tclAction.h"
#include "shell/tcl/tclError.h"
#include "shell/tcl/tclValue.h"
#include "shell/tools.h"
#include "workbench/Abandoner.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/LaunchQueue.h"
#include "workbench/Project.h"

namespace shell::tcl {

namespace {

/// The options of a launch, read by what reads those of xp.
class LaunchWords {
public:
    explicit LaunchWords(const Call& call) {
        m_app.add_option("--jobs", m_jobs)->check(CLI::Range(1, 10000));
        m_hosts.declare(m_app);
        m_cluster.declare(m_app);
        std::vector<std::string> words = wordsOf_(call);
        m_isPlain = words.empty();
        m_hasJobs = call.has("-jobs");
        std::reverse(words.begin(), words.end());
        try {
            m_app.parse(words);
        } catch (const CLI::ParseError& error) {
            fail(Code::kUsage, {}, fmt::format("{}.", error.what()));
        }
    }

    /// Whether no option was given.
    bool isPlain() const { return m_isPlain; }
    bool isElsewhere() const { return m_hosts.hasHosts() || m_cluster.hasCluster(); }
    const ClusterOptions& cluster() const { return m_cluster; }
    /// How many runs of an array of jobs are at work at once; 0 for jobs of their own.
    long mostOfArray() const { return m_cluster.hasCluster() && m_hasJobs ? m_jobs : 0; }

    HAXPLaunchOptions options() const {
        HAXPLaunchOptions options;
        options.setNumJobsSH(m_jobs);
        m_hosts.addTo(options);
        m_cluster.addTo(options, mostOfArray() > 0);
        return options;
    }

private:
    static std::vector<std::string> wordsOf_(const Call& call) {
        std::vector<std::string> words;
        const auto add = [&words](const char* name, const std::string& value) {
            words.insert(words.end(), {name, value});
        };
        if (call.has("-jobs"))
            add("--jobs", call.text("-jobs"));
        for (const std::string& host : call.list("-host"))
            add("--host", host);
        if (call.has("-hostcommand"))
            add("--host-command", call.text("-hostcommand"));
        if (call.has("-runscripts"))
            add("--run-scripts", call.text("-runscripts"));
        if (call.has("-sge"))
            add("--sge", call.text("-sge"));
        if (call.has("-lsf"))
            add("--lsf", call.text("-lsf"));
        if (call.flag("-testfolder"))
            words.emplace_back("--test-folder");
        return words;
    }

    CLI::App m_app;
    HostOptions m_hosts;
    ClusterOptions m_cluster;
    int m_jobs = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    bool m_isPlain = false;
    bool m_hasJobs = false;
};

/// Those of `runs` that are at work or wait.
Runs pendingOf(const OpenProject& open, Runs runs) {
    runs.erase(std::remove_if(
                   runs.begin(), runs.end(),
                   [&open](const HAXPExpRun* run) { return !TclSession::isPending(open, *run); }),
               runs.end());
    return runs;
}

/// @throws HTCErrors::error one of `runs` would be waited for in vain.
void requireLaunched(const OpenProject& open, const Runs& runs) {
    for (const HAXPExpRun* run : runs) {
        if (!TclSession::isPending(open, *run) && statusWord(*run) == "not started")
            fail(Code::kRunNotLaunched, {run->getName()},
                 fmt::format("Run {0} isn't launched. Launch it with: run launch {0}",
                             run->getName()));
    }
}

}  // namespace

namespace launch {

const std::vector<OptionRule>& options() {
    static const std::vector<OptionRule> all{
        {"-jobs", "N",
         "how many runs at once; one for each processor if unsaid. With -sge or -lsf: as one "
         "array of jobs"},
        {"-host", "LIST", "launch on these hosts, each NAME or NAME:JOBS"},
        {"-hostcommand", "COMMAND", "what runs a command on a host; ssh if unsaid"},
        {"-runscripts", "FILE", "a file with lines RUN: SCRIPT, the user's own scripts"},
        {"-sge", "COMMAND", "launch on a grid engine by this submit command"},
        {"-lsf", "COMMAND", "launch on LSF by this submit command"},
        {"-testfolder", "BOOL", "first see whether LSF's hosts can write to the project"},
        {"-abandon", "RULE",
         "stop a run whose estimate after placement can't come up to what the rule demands, such "
         "as {fmax < 90% of best}"}};
    return all;
}

Tcl_Obj* start(Call& call) {
    OpenProject* open = nullptr;
    const Runs chosen = call.session().runs(call.words(), open);
    changeable(*open);
    const LaunchWords words(call);
    const std::string& dir = open->project->getDir();
    call.session().catchUp(*open);
    std::optional<workbench::AbandonRule> rule;
    if (call.has("-abandon"))
        rule = readRule(call.text("-abandon"));
    if (open->queue && (!words.isPlain() || rule))
        fail(Code::kLaunchActive, {dir},
             fmt::format("The launch in {} isn't over. Add runs to it without options, wait for "
                         "it, or take back what waits with: launch cancel",
                         dir));
    TclSession::refresh(chosen);
    const RunPlan plan = makeLaunchPlan(*open->project, chosen);
    const HAXPLaunchOptions options = words.options();
    // Other hosts have tools of their own.
    if (!words.isElsewhere())
        requireTools(plan.launches);
    words.cluster().testFolder(dir);
    std::unique_ptr<workbench::Abandoner> abandoner;
    if (rule)
        abandoner = std::make_unique<workbench::Abandoner>(
            *rule, learnedError(*open->project, *rule), plan.runs);
    call.session().launch(*open, plan.launches, options, words.mostOfArray(), std::move(abandoner));
    return handlesOf(plan.launches);
}

Tcl_Obj* wait(Call& call) {
    const long timeout = call.integer("-timeout", 0, std::numeric_limits<int>::max(), -1);
    OpenProject* open = nullptr;
    Runs runs = call.session().runs(call.words(), open);
    TclSession::refresh(runs);
    if (call.count() == 0)
        runs = pendingOf(*open, runs);
    requireLaunched(*open, runs);
    // One that is lost elsewhere would be waited for in vain.
    for (HAXPExpRun* run : runs) {
        if (run->isAtWork())
            run->lookForLife();
    }
    std::vector<std::string> names;
    for (const HAXPExpRun* run : runs)
        names.push_back(run->getName());
    const std::string dir = open->project->getDir();
    call.session().wait(*open, runs, timeout);
    const OpenProject& after = TclSession::openIn(dir);
    Tcl_Obj* dict = Tcl_NewDictObj();
    for (const std::string& name : names) {
        const HAXPExpRun* run = after.project->findRun(name);
        Tcl_DictObjPut(nullptr, dict, newText(name),
                       newText(run == nullptr ? "deleted" : statusWord(*run)));
    }
    return dict;
}

Tcl_Obj* plan(Call& call) {
    OpenProject* open = nullptr;
    const Runs runs = call.session().runs(call.words(), open);
    TclSession::refresh(runs);
    return newValue(previewJson(previewLaunch(*open->project, runs)));
}

Tcl_Obj* status(Call& call) {
    const OpenProject& open = call.session().current();
    const auto& queue = open.queue;
    const Runs none;
    Tcl_Obj* dict = Tcl_NewDictObj();
    const auto put = [dict](const char* key, Tcl_Obj* value) {
        Tcl_DictObjPut(nullptr, dict, newText(key), value);
    };
    put("active", Tcl_NewBooleanObj(queue ? 1 : 0));
    put("running", handlesOf(queue ? queue->getRunning() : none));
    put("waiting", handlesOf(queue ? queue->getWaiting() : none));
    put("done", Tcl_NewIntObj(queue ? queue->doneCount() : 0));
    put("failed", Tcl_NewIntObj(queue ? queue->failedCount() - open.abandoned : 0));
    put("abandoned", Tcl_NewIntObj(open.abandoned));
    return dict;
}

Tcl_Obj* cancel(Call& call) {
    OpenProject& open = call.session().current();
    return open.queue ? handlesOf(call.session().takeBackWaiting(open)) : Tcl_NewObj();
}

}  // namespace launch

const Ensemble& launchEnsemble() {
    static const Ensemble ensemble{
        "launch",
        "the launch of a project: what is started, what waits",
        {
            {"start", "?RUN ...?",
             "launches runs that aren't up to date, with their syntheses; gives those launched. "
             "What waits goes on in the event loop",
             0, -1, launch::options(), launch::start},
            {"status",
             "",
             "a dict: active, running, waiting, done, failed, abandoned",
             0,
             0,
             {},
             launch::status},
            {"wait",
             "?RUN ...?",
             "runs the event loop until they have ended; a dict of their states",
             0,
             -1,
             {{"-timeout", "MS", "give up after so long, with an error"}},
             launch::wait},
            {"cancel",
             "",
             "takes back what waits; what is at work goes on",
             0,
             0,
             {},
             launch::cancel},
            {"plan",
             "?RUN ...?",
             "a dict: what a launch would do, and why",
             0,
             -1,
             {},
             launch::plan},
        }};
    return ensemble;
}

}  // namespace shell::tcl
