// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/staleView.h"

#include <cstdlib>
#include <memory>
#include <set>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "environment/containers/HSTFwdIter.h"
#include "environment/filemgmt/HADAStaleReason.h"
#include "environment/filemgmt/HADAStaleReasons.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRStaleOption.h"
#include "shell/jsonOutput.h"
#include "shell/runView.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/calendarTime.h"
#include "workbench/printable.h"

namespace shell {

namespace {

using workbench::FileChange;

/// A time for scripts, "2026-11-21T11:07:12Z"; null for none.
nlohmann::json timeJson(std::time_t time) {
    const std::string text = time == 0 ? "" : workbench::utcTime(time, "%Y-%m-%dT%H:%M:%SZ");
    return text.empty() ? nlohmann::json() : nlohmann::json(text);
}

const char* changeWord(FileChange::What what) {
    switch (what) {
    case FileChange::kAdded:
        return "added";
    case FileChange::kRemoved:
        return "no longer in the design";
    case FileChange::kMissing:
        return "missing";
    case FileChange::kUnreadable:
        return "not readable";
    case FileChange::kMoved:
        return "moved in the order of sources";
    default:
        return "changed";
    }
}

std::string sinceText(std::time_t since) {
    return since == 0 ? std::string() : ", since " + timeText(since);
}

StaleNote noteOf(const FileChange& change) {
    StaleNote note{"file", change.path, changeWord(change.what), "", "", change.since, ""};
    // People say "included file" or "memory file" for what only looks like one to us.
    const char* kind = change.kind == workbench::InputKind::kReference
                           ? "file"
                           : workbench::inputKindName(change.kind);
    note.text = fmt::format("{} {}: {}{}", kind, workbench::printable(change.path), note.change,
                            sinceText(change.since));
    return note;
}

std::string shownValue(const std::string& value) {
    return value.empty() ? "nothing" : workbench::printable(value);
}

StaleNote changedNote(const std::string& kind, const std::string& name, const std::string& before,
                      const std::string& after, std::time_t since) {
    return {kind,
            name,
            "",
            before,
            after,
            since,
            fmt::format("{} {}: {} at the launch, {} now{}", kind, workbench::printable(name),
                        shownValue(before), shownValue(after), sinceText(since))};
}

/// The launch of a synthesis as input records have it, in words.
std::string launchText(const std::string& seconds) {
    char* end = nullptr;
    const long time = std::strtol(seconds.c_str(), &end, 10);
    return *end != '\0' || time <= 0 ? seconds : timeText(time);
}

StaleNote noteOf(const workbench::SettingChange& change) {
    if (change.isTool)
        return changedNote("tool", change.name, change.before, change.after, change.since);
    if (change.name != workbench::kSynthesisLaunch)
        return changedNote("setting", change.name, change.before, change.after, change.since);
    return changedNote("setting", change.name, launchText(change.before), launchText(change.after),
                       change.since);
}

/// The reasons that the step itself has, with what only the run knows of them.
class StepNotes {
public:
    StepNotes(const OpenRunInfo& info, const HAXPExpRunStep& step) : m_info(info), m_step(step) {}

    std::vector<StaleNote> take() {
        HADAStaleReasons reasons;
        m_step.getStaleReasons(reasons);
        const std::unique_ptr<HSTFwdIter<const HADAStaleReason*>> all(reasons.createReasonIter());
        while (all->hasNext())
            add_(*all->next());
        return std::move(m_notes);
    }

private:
    void add_(const HADAStaleReason& reason) {
        for (const HADAStaleReason::ChangedFile& file : reason.getFiles())
            addFile_(file.name);
        if (reason.getSummary() == HADAStaleReason::SS_SW_PARAM_CHANGED)
            return addSettings_();
        for (const HADAStaleOption& option : reason.getOptions())
            m_notes.push_back(changedNote("option", option.getName(), option.getOldValue(),
                                          option.getNewValue(), 0));
    }
    void addFile_(const std::string& path) {
        for (const FileChange& change : m_info.getFileChanges()) {
            if (change.path == path && m_seen.insert(&change).second)
                m_notes.push_back(noteOf(change));
        }
    }
    void addSettings_() {
        for (const workbench::SettingChange& change : m_info.getSettingChanges()) {
            if (change.stepId == idOf(m_step))
                m_notes.push_back(noteOf(change));
        }
    }

    const OpenRunInfo& m_info;
    const HAXPExpRunStep& m_step;
    std::vector<StaleNote> m_notes;
    std::set<const FileChange*> m_seen;
};

std::vector<StaleNote> reportNotes(const HAXRReportConfig& report) {
    std::vector<StaleNote> notes;
    const std::unique_ptr<HSTFwdIter<HAXRStaleOption*>> options(report.createStaleOptionsIter());
    while (options->hasNext()) {
        const HAXRStaleOption* option = options->next();
        notes.push_back(changedNote("option", option->getOptionName(), option->getLaunchTimeVal(),
                                    option->getNewVal(), 0));
    }
    return notes;
}

void addStaleReports(const HAXPExpRun& run, const HAXPExpRunStep& step, StaleView& view) {
    const HAXPExpRunStep* stale = run.getFirstStaleOrOwnStep(idOf(step));
    const bool follows = stale != nullptr && stale->isStale();
    const std::unique_ptr<HSTFwdIter<HAXRReportConfig*>> reports(step.createReportConfigIter());
    while (reports->hasNext()) {
        const HAXRReportConfig* report = reports->next();
        if (report->isStale())
            view.reports.push_back(
                {report->getName(), follows ? idOf(*stale) : "", reportNotes(*report)});
    }
}

void addStep(const HAXPExpRun& run, const HAXPExpRunStep& step, std::string& firstStale,
             StaleView& view) {
    StaleStep stale{idOf(step), "", StepNotes(run.getInfo(), step).take()};
    const bool hasBegun = step.getStatus()->getCode() != HDGUIStatus::statusNotStarted;
    if (stale.notes.empty() && hasBegun)
        stale.follows = firstStale;
    if (firstStale.empty() && !stale.notes.empty())
        firstStale = stale.id;
    if (!stale.notes.empty() || !stale.follows.empty())
        view.steps.push_back(stale);
}

bool isStale(const Project& project, HAXPExpRun& run, KnownStale& known) {
    const auto found = known.find(&run);
    return found != known.end()
               ? found->second
               : known.emplace(&run, !lookForStale(project, run, &known).empty()).first->second;
}

void addSynthesis(const Project& project, const HAXPExpRun& run, KnownStale& known,
                  StaleView& view) {
    HAXPExpRun* synthesis = project.getSynthesisOf(run);
    if (synthesis != nullptr && isStale(project, *synthesis, known))
        view.notes.push_back({"synthesis", synthesis->getName(), "", "", "", 0,
                              "Its synthesis " + synthesis->getName() + " is out of date."});
}

/// A changed comment, or a netlist that was made anew as it was.
void addHarmless(const Project& project, const HAXPExpRun& run, StaleView& view) {
    const OpenRunInfo& info = run.getInfo();
    for (const FileChange& change : info.getQuietChanges())
        view.harmless.push_back(noteOf(change).text + (change.kind == workbench::InputKind::kNetlist
                                                           ? ", but it is the same netlist"
                                                           : ", but it means the same"));
    const HAXPExpRun* synthesis = project.getSynthesisOf(run);
    if (info.isNetlistMadeAnew() && synthesis != nullptr)
        view.harmless.push_back(
            fmt::format("synthesis {} was launched again and made the same netlist",
                        workbench::printable(synthesis->getName())));
}

std::string harmlessLines(const StaleView& view) {
    std::string text;
    for (const std::string& line : view.harmless)
        text += "  " + line + "\n";
    return text.empty() ? text : "no reason to launch again:\n" + text;
}

std::string noteLines(const std::vector<StaleNote>& notes) {
    std::string text;
    for (const StaleNote& note : notes)
        text += "  " + note.text + "\n";
    return text;
}

/// Reports with options that changed by themselves, the others in one list.
std::string staleReportLines(const StaleView& view) {
    std::string text;
    std::string others;
    for (const StaleReport& report : view.reports) {
        const std::string name = workbench::printable(report.name);
        if (report.notes.empty())
            others += "  " + name + "\n";
        else
            text += "report " + name + "\n" + noteLines(report.notes);
    }
    return others.empty() ? text : text + "reports of what stood before\n" + others;
}

/// What is said of a run of which nothing is stale.
std::string freshText(const HAXPExpRun& run) {
    const long launch = run.getInfo().getLaunchTime();
    if (launch == 0)
        return fmt::format("{}: not launched\n", run.getName());
    if (isDone(run))
        return fmt::format("{}: up to date\n", run.getName());
    return fmt::format("{}: {}, and nothing changed since its launch of {}\n", run.getName(),
                       statusWord(run), timeText(launch));
}

nlohmann::json notesJson(const std::vector<StaleNote>& notes) {
    nlohmann::json all = nlohmann::json::array();
    for (const StaleNote& note : notes)
        all.push_back({{"kind", note.kind},
                       {"name", note.name},
                       {"change", note.change},
                       {"before", note.before},
                       {"after", note.after},
                       {"since", timeJson(note.since)},
                       {"text", note.text}});
    return all;
}

}  // namespace

StaleView lookForStale(const Project& project, HAXPExpRun& run, KnownStale* known) {
    StaleView view;
    KnownStale ofThisRun;
    if (run.getInfo().getLaunchTime() == 0)
        return view;
    run.getInfo().updStaleReasons();
    std::string firstStale;
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        addStep(run, *step, firstStale, view);
        addStaleReports(run, *step, view);
    }
    addSynthesis(project, run, known == nullptr ? ofThisRun : *known, view);
    addHarmless(project, run, view);
    return view;
}

std::vector<std::string> staleTexts(const Project& project, HAXPExpRun& run, KnownStale* known) {
    const StaleView view = lookForStale(project, run, known);
    std::vector<std::string> texts = stepTexts(view);
    for (const StaleNote& note : view.notes)
        texts.push_back(note.text);
    return texts;
}

std::vector<std::string> stepTexts(const StaleView& view) {
    std::vector<std::string> texts;
    std::set<std::string> told;
    for (const StaleStep& step : view.steps) {
        for (const StaleNote& note : step.notes) {
            if (note.kind == "option" || told.insert(note.text).second)
                texts.push_back(step.id + ": " + note.text);
        }
    }
    return texts;
}

std::string timeText(std::time_t time) {
    const std::string text = workbench::utcTime(time, "%Y-%m-%d %H:%M:%S UTC");
    return text.empty() ? std::to_string(time) : text;
}

std::string whyText(const Project& project, HAXPExpRun& run) {
    const StaleView view = lookForStale(project, run);
    std::string text = view.empty()
                           ? freshText(run)
                           : fmt::format("{}, launched {}, is out of date:\n", run.getName(),
                                         timeText(run.getInfo().getLaunchTime()));
    for (const StaleNote& note : view.notes)
        text += note.text + "\n";
    for (const StaleStep& step : view.steps) {
        text += step.id + "\n" + noteLines(step.notes);
        if (!step.follows.empty())
            text += "  builds on " + step.follows + "\n";
    }
    return text + staleReportLines(view) + harmlessLines(view);
}

nlohmann::json whyJson(const Project& project, HAXPExpRun& run) {
    const StaleView view = lookForStale(project, run);
    nlohmann::json json{{"run", run.getName()},
                        {"status", statusWord(run)},
                        {"launched", timeJson(run.getInfo().getLaunchTime())},
                        {"stale", !view.empty()},
                        {"reasons", notesJson(view.notes)},
                        {"steps", nlohmann::json::array()},
                        {"reports", nlohmann::json::array()},
                        {"harmless", view.harmless}};
    for (const StaleStep& step : view.steps)
        json["steps"].push_back({{"step", step.id},
                                 {"follows", textOrNull(step.follows)},
                                 {"reasons", notesJson(step.notes)}});
    for (const StaleReport& report : view.reports)
        json["reports"].push_back({{"report", report.name},
                                   {"follows", textOrNull(report.follows)},
                                   {"reasons", notesJson(report.notes)}});
    return json;
}

}  // namespace shell
