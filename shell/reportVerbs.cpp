// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <cstdio>
#include <set>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "shell/exitStatus.h"
#include "shell/jsonOutput.h"
#include "shell/logTail.h"
#include "shell/note.h"
#include "shell/pager.h"
#include "shell/reportNames.h"
#include "shell/reportView.h"
#include "shell/runPlan.h"
#include "shell/setting.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/RunReports.h"
#include "workbench/printable.h"

namespace shell {

namespace {

using workbench::printable;

/// Enough of a log for the last words of a report's command.
constexpr std::size_t kLogLines = 12;

const char kReportHelp[] = "A report's command, STEP.COMMAND, or another of its names";

/// The entry of `report` in `entries`, which hold all reports of its run.
const ReportEntry& entryAmong(const std::vector<ReportEntry>& entries,
                              const HAXRReportConfig& report) {
    return *std::find_if(entries.begin(), entries.end(), [&report](const ReportEntry& entry) {
        return entry.name == report.getName();
    });
}

/// "The report timing of run impl_1", for the start of a line.
std::string reportOfRun(const ReportEntry& entry) {
    return fmt::format("Report {} of run {}", printable(entry.shortName), entry.run);
}

class ReportListVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names, "Names of runs; all of the project if unsaid");
        command.add_flag("--all", m_all, "Also files that a run would leave by itself, but didn't");
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        std::vector<ReportEntry> entries;
        for (HAXPExpRun* run : chosenRuns(*project, m_names)) {
            for (ReportEntry& entry : reportsOf(*project, *run, m_all))
                entries.push_back(std::move(entry));
        }
        if (m_json)
            printJson_(entries);
        else if (entries.empty())
            sayNote("There are no reports. Add one: xp report add RUN STEP COMMAND");
        else
            fmt::print("{}", reportTable(entries));
        return kExitDone;
    }

private:
    static void printJson_(const std::vector<ReportEntry>& entries) {
        nlohmann::json all = nlohmann::json::array();
        for (const ReportEntry& entry : entries)
            all.push_back(reportJson(entry));
        printJson(all);
    }

    std::vector<std::string> m_names;
    bool m_all = false;
    bool m_json = false;
};

class ReportGenerateVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("run", m_run, "Name of the run")->required();
        command.add_option("reports", m_names, "Reports to make; all of the run if unsaid");
        command.add_flag("--again", m_again, "Make those that are up to date again, too");
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kChange);
        HAXPExpRun& run = chosenRun(*project, m_run);
        const auto outcomes = RunReports(run).generate(chosenReports(run, m_names), m_again);
        project->save();
        const std::vector<ReportEntry> entries = reportsOf(*project, run, true);
        nlohmann::json all = nlohmann::json::array();
        int status = kExitDone;
        std::set<std::string> toldLogs;
        for (const RunReports::Outcome& outcome : outcomes) {
            const ReportEntry& entry = entryAmong(entries, *outcome.report);
            if (outcome.failed)
                status = kExitRunFailed;
            else if (status == kExitDone && isRefused_(entry, outcome))
                status = kExitRefused;
            if (m_json)
                all.push_back(json_(entry, outcome));
            else
                tell_(run, entry, outcome, toldLogs);
        }
        if (m_json)
            printJson(all);
        else if (outcomes.empty())
            sayNote(fmt::format("Run {} has no reports. Add one: xp report add {} STEP COMMAND",
                                run.getName(), run.getName()));
        return status;
    }

private:
    /// Whether it was asked for by name and there is none that is up to date.
    bool isRefused_(const ReportEntry& entry, const RunReports::Outcome& outcome) const {
        return !m_names.empty() && !outcome.made && !(entry.exists && entry.state == "generated");
    }

    static nlohmann::json json_(const ReportEntry& entry, const RunReports::Outcome& outcome) {
        nlohmann::json json = reportJson(entry);
        json["made"] = outcome.made;
        json["failed"] = outcome.failed;
        json["reason"] = outcome.made                              ? nlohmann::json()
                         : outcome.failed && !entry.reason.empty() ? nlohmann::json(entry.reason)
                                                                   : nlohmann::json(outcome.reason);
        return json;
    }

    void tell_(const HAXPExpRun& run, const ReportEntry& entry, const RunReports::Outcome& outcome,
               std::set<std::string>& toldLogs) const {
        if (outcome.made) {
            sayNote(fmt::format("{} is made: {}", reportOfRun(entry), printable(entry.path)));
        } else if (outcome.failed) {
            const std::string log = run.pathOf(entry.step + "_reports.log");
            std::string ignored;
            std::vector<std::string> lines;
            // The reports of a step share its log.
            if (toldLogs.insert(log).second)
                lines = lastLines(log, kLogLines, ignored);
            const std::string text = reportFailureText(entry, log, lines);
            tellError(text);
        } else if (!m_names.empty() || !entry.isStatic) {
            sayNote(fmt::format("{} isn't made: {}", reportOfRun(entry), outcome.reason));
        }
    }

    std::string m_run;
    std::vector<std::string> m_names;
    bool m_again = false;
    bool m_json = false;
};

class ReportOpenVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("run", m_run, "Name of the run")->required();
        command.add_option("report", m_name, kReportHelp)->required();
        command.add_flag("--json", m_json, "The form for scripts, with the key figures");
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        HAXPExpRun& run = chosenRun(*project, m_run);
        const HAXRReportConfig& report = chosenReport(run, m_name);
        const std::vector<ReportEntry> entries = reportsOf(*project, run, true);
        const ReportEntry& entry = entryAmong(entries, report);
        requireMade_(entry);
        if (m_json && entry.jsonPath.empty())
            throw CommandError(kExitRefused, fmt::format("{} has no form for scripts. Open it "
                                                         "without --json.",
                                                         reportOfRun(entry)));
        if (entry.state == "stale")
            sayNote(fmt::format("{} is stale: it tells of an earlier state of the run.",
                                reportOfRun(entry)));
        showFile(m_json ? entry.jsonPath : entry.path);
        return kExitDone;
    }

private:
    /// @throws CommandError there is nothing to show.
    static void requireMade_(const ReportEntry& entry) {
        const std::string call = fmt::format("{} {}", entry.run, entry.shortName);
        if (entry.state == "failed")
            throw CommandError(kExitRefused,
                               fmt::format("{} failed{}\n  Correct the cause, then: xp report "
                                           "generate {}",
                                           reportOfRun(entry),
                                           entry.reason.empty() ? "." : ": " + entry.reason, call));
        if (entry.exists)
            return;
        std::string advice = fmt::format("Make it with: xp report generate {}", call);
        if (entry.isStatic)
            advice = fmt::format("The run leaves it: xp launch {}", entry.run);
        else if (!entry.enabled)
            advice = fmt::format("It is disabled; switch it on first: xp report enable {}", call);
        throw CommandError(kExitRefused,
                           fmt::format("{} isn't there yet. {}", reportOfRun(entry), advice));
    }

    std::string m_run;
    std::string m_name;
    bool m_json = false;
};

/// Sets options of `report` from words such as "max_paths=5".
void setReportOptions(RunReports& reports, HAXRReportConfig& report,
                      const std::vector<std::string>& words) {
    for (const Setting& setting : readSettings(words))
        reports.setOption(report, setting.name, setting.value);
}

class ReportAddVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("run", m_run, "Name of the run")->required();
        command.add_option("step", m_step, "Id or short name of the step it follows")->required();
        command.add_option("command", m_command, "Report of the catalogue")->required();
        command.add_option("--name", m_name, "Name to show");
        command.add_option("--set", m_settings, "option=value; may be repeated")
            ->allow_extra_args(false);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kChange);
        HAXPExpRun& run = chosenRun(*project, m_run);
        RunReports reports(run);
        HAXRReportConfig& report = reports.add(m_step, m_command, m_name);
        setReportOptions(reports, report, m_settings);
        project->save();
        const std::string name = shortName(reports, report);
        sayNote(fmt::format("Report {} of run {} is added. Make it with: xp report generate {} {}",
                            name, run.getName(), run.getName(), name));
        return kExitDone;
    }

private:
    std::string m_run;
    std::string m_step;
    std::string m_command;
    std::string m_name;
    std::vector<std::string> m_settings;
};

/// A verb that does the same to each of several reports of a run.
class ReportChangeVerb : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("run", m_run, "Name of the run")->required();
        command.add_option("reports", m_names, kReportHelp)->required();
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kChange);
        HAXPExpRun& run = chosenRun(*project, m_run);
        const std::vector<HAXRReportConfig*> chosen = chosenReports(run, m_names);
        const std::vector<ReportEntry> entries = reportsOf(*project, run, true);
        RunReports reports(run);
        std::vector<std::string> lines;
        // All are looked at first: one that is refused leaves the others alone.
        for (const HAXRReportConfig* report : chosen)
            require_(entryAmong(entries, *report));
        for (HAXRReportConfig* report : chosen) {
            const ReportEntry& entry = entryAmong(entries, *report);
            change_(reports, *report);
            lines.push_back(fmt::format("{} {}", reportOfRun(entry), done_(entry)));
        }
        project->save();
        for (const std::string& line : lines)
            sayNote(line);
        return kExitDone;
    }

private:
    /// Hook: refuses a report before anything is changed. Does nothing here.
    virtual void require_(const ReportEntry& entry) const;
    /// Hook: changes one report, which may be gone then.
    virtual void change_(RunReports& reports, HAXRReportConfig& report) const = 0;
    /// Hook: the end of the line that tells it.
    virtual std::string done_(const ReportEntry& entry) const = 0;

    std::string m_run;
    std::vector<std::string> m_names;
};

void ReportChangeVerb::require_(const ReportEntry&) const {}

template <bool kEnable> class ReportSwitchVerb final : public ReportChangeVerb {
    void change_(RunReports& reports, HAXRReportConfig& report) const override {
        reports.setEnabled(report, kEnable);
    }
    std::string done_(const ReportEntry& entry) const override {
        if (entry.enabled == kEnable)
            return kEnable ? "is enabled already" : "is disabled already";
        return kEnable ? "is enabled" : "is disabled: launches and generate leave it out";
    }
};

class ReportDeleteVerb final : public ReportChangeVerb {
    void require_(const ReportEntry& entry) const override {
        if (entry.isStatic)
            throw CommandError(kExitRefused,
                               fmt::format("{} is a file that the run leaves by itself; it goes "
                                           "with the run.",
                                           reportOfRun(entry)));
    }
    void change_(RunReports& reports, HAXRReportConfig& report) const override {
        reports.remove(report);
    }
    std::string done_(const ReportEntry& entry) const override {
        return entry.exists ? "is deleted, with its file " + printable(entry.path) : "is deleted";
    }
};

class ReportSetVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("run", m_run, "Name of the run")->required();
        command.add_option("report", m_name, kReportHelp)->required();
        command.add_option("settings", m_settings, "option=value; may be repeated")->required();
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kChange);
        HAXPExpRun& run = chosenRun(*project, m_run);
        RunReports reports(run);
        HAXRReportConfig& report = chosenReport(run, m_name);
        setReportOptions(reports, report, m_settings);
        project->save();
        const std::string name = shortName(reports, report);
        if (stateWord(report) == "stale")
            sayNote(
                fmt::format("Report {} of run {} is stale now. Make it anew: xp report generate "
                            "{} {}",
                            name, run.getName(), run.getName(), name));
        return kExitDone;
    }

private:
    std::string m_run;
    std::string m_name;
    std::vector<std::string> m_settings;
};

class ReportApplyVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("run", m_run, "Name of the run")->required();
        command.add_option("reportstrategy", m_strategy, "NAME, or FLOW/NAME")->required();
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kChange);
        HAXPExpRun& run = chosenRun(*project, m_run);
        const std::string name = chosenReportStrategy(*run.getStrategy()->getFlow(), m_strategy);
        project->applyReportStrategy(run, name);
        project->save();
        sayNote(
            fmt::format("Run {} has the reports of {} now. Make them with: xp report generate {}",
                        run.getName(), printable(name), run.getName()));
        return kExitDone;
    }

private:
    std::string m_run;
    std::string m_strategy;
};

}  // namespace

const std::vector<VerbEntry>& reportVerbs() {
    static const std::vector<VerbEntry> all{
        {"list", "list the reports of runs, with their states and files",
         "xp report list\nxp report list impl_1 --all --json", makeVerb<ReportListVerb>},
        {"generate", "make reports now, apart from a launch",
         "xp report generate impl_1\nxp report generate impl_1 report_timing --again",
         makeVerb<ReportGenerateVerb>},
        {"open", "show a report",
         "xp report open impl_1 report_timing_summary\n"
         "xp report open impl_1 place.report_utilization --json",
         makeVerb<ReportOpenVerb>},
        {"add", "add a report of the catalogue to a step",
         "xp report add impl_1 route report_timing --name Slowest --set max_paths=3",
         makeVerb<ReportAddVerb>},
        {"enable", "have reports made that were disabled", "xp report enable impl_1 report_drc",
         makeVerb<ReportSwitchVerb<true>>},
        {"disable", "keep reports without having them made",
         "xp report disable impl_1 report_drc report_io", makeVerb<ReportSwitchVerb<false>>},
        {"delete", "delete reports, with their files", "xp report delete impl_1 report_drc",
         makeVerb<ReportDeleteVerb>},
        {"set", "change options of a report",
         "xp report set impl_1 report_timing max_paths=20 no_source=true", makeVerb<ReportSetVerb>},
        {"apply", "take the reports of a report strategy in place of a run's own",
         "xp report apply impl_1 'Tarnel Implementation Default Reports'",
         makeVerb<ReportApplyVerb>},
    };
    return all;
}

}  // namespace shell
