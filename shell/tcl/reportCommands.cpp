// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <tcl.h>

#include "environment/files/HUTFileUtils.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "shell/exitStatus.h"
#include "shell/reportNames.h"
#include "shell/reportView.h"
#include "shell/tcl/tclAction.h"
#include "shell/tcl/tclError.h"
#include "shell/tcl/tclValue.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/RunReports.h"

namespace shell::tcl {

namespace {

/// A report is larger than any that a step makes.
constexpr std::size_t kReportLimit = std::size_t{256} << 20;

/// @throws HTCErrors::error the run has no report of that name.
HAXRReportConfig& reportNamed(HAXPExpRun& run, const std::string& name) {
    try {
        return chosenReport(run, name);
    } catch (const std::exception& error) {
        fail(Code::kReportNotFound, {run.getName(), name}, error.what());
    }
}

/// The reports that the words from the second on mean, each once; all of the run without any.
std::vector<HAXRReportConfig*> reportsNamed(const Call& call, HAXPExpRun& run) {
    const std::vector<std::string> names = call.textsFrom(1);
    for (const std::string& name : names)
        reportNamed(run, name);
    return chosenReports(run, names);
}

nlohmann::json entryJson(const RunOfProject& found, const HAXRReportConfig& report) {
    for (const ReportEntry& entry : reportsOf(*found.project->project, *found.run, true)) {
        if (entry.name == report.getName())
            return reportJson(entry);
    }
    return {};
}

Tcl_Obj* listReports(Call& call) {
    OpenProject* open = nullptr;
    const std::vector<HAXPExpRun*> runs = call.session().runs(call.words(), open);
    TclSession::refresh(runs);
    nlohmann::json all = nlohmann::json::array();
    for (HAXPExpRun* run : runs) {
        for (const ReportEntry& entry : reportsOf(*open->project, *run, call.flag("-all")))
            all.push_back(reportJson(entry));
    }
    return newValue(all);
}

Tcl_Obj* describeReport(Call& call) {
    const RunOfProject found = call.session().run(call.words().at(0));
    TclSession::refresh({found.run});
    return newValue(entryJson(found, reportNamed(*found.run, call.word(1))));
}

Tcl_Obj* generateReports(Call& call) {
    const RunOfProject found = changeableRun(call, 0);
    const auto outcomes =
        RunReports(*found.run).generate(reportsNamed(call, *found.run), call.flag("-again"));
    found.project->project->save();
    nlohmann::json all = nlohmann::json::array();
    for (const RunReports::Outcome& outcome : outcomes) {
        nlohmann::json one = entryJson(found, *outcome.report);
        one["made"] = outcome.made;
        one["failed"] = outcome.failed;
        if (!outcome.made && !outcome.failed)
            one["reason"] = outcome.reason;
        all.push_back(one);
    }
    return newValue(all);
}

Tcl_Obj* readReport(Call& call) {
    const RunOfProject found = call.session().run(call.words().at(0));
    TclSession::refresh({found.run});
    const std::string name = call.word(1);
    const HAXRReportConfig& report = reportNamed(*found.run, name);
    std::string path;
    bool exists = false;
    for (const ReportEntry& entry : reportsOf(*found.project->project, *found.run, true)) {
        if (entry.name == report.getName()) {
            path = call.flag("-json") ? entry.jsonPath : entry.path;
            exists = entry.exists && entry.state != "failed";
        }
    }
    std::string text;
    if (!exists || path.empty() || !HUTFileUtils::readFile(path, kReportLimit, text))
        fail(Code::kReportNotFound, {found.run->getName(), name},
             fmt::format("Report {1} of run {0} isn't there. Make it with: report generate {0} {1}",
                         found.run->getName(), name));
    // A form for scripts is read as one.
    return call.flag("-json") ? newValue(nlohmann::json::parse(text)) : newText(text);
}

void setOptions(RunReports& reports, HAXRReportConfig& report,
                const std::vector<Setting>& settings) {
    for (const Setting& setting : settings)
        reports.setOption(report, setting.name, setting.value);
}

Tcl_Obj* addReportTo(Call& call) {
    const RunOfProject found = changeableRun(call, 0);
    RunReports reports(*found.run);
    HAXRReportConfig& report = reports.add(call.word(1), call.word(2), call.text("-name"));
    try {
        setOptions(reports, report, settingsOf(call, "-set"));
    } catch (...) {
        reports.remove(report);
        throw;
    }
    found.project->project->save();
    return newText(shortName(reports, report));
}

Tcl_Obj* switchReports(Call& call, bool enable) {
    const RunOfProject found = changeableRun(call, 0);
    RunReports reports(*found.run);
    for (HAXRReportConfig* report : reportsNamed(call, *found.run))
        reports.setEnabled(*report, enable);
    found.project->project->save();
    return Tcl_NewObj();
}

Tcl_Obj* enableReports(Call& call) {
    return switchReports(call, true);
}

Tcl_Obj* disableReports(Call& call) {
    return switchReports(call, false);
}

Tcl_Obj* deleteReports(Call& call) {
    const RunOfProject found = changeableRun(call, 0);
    RunReports reports(*found.run);
    const std::vector<HAXRReportConfig*> chosen = reportsNamed(call, *found.run);
    // All are looked at first: one that is refused leaves the others alone.
    for (const HAXRReportConfig* report : chosen) {
        if (entryJson(found, *report).value("static", false))
            fail(Code::kRefused, {},
                 fmt::format("Report {} of run {} is a file that the run leaves by itself; it goes "
                             "with the run.",
                             shortName(reports, *report), found.run->getName()));
    }
    for (HAXRReportConfig* report : chosen)
        reports.remove(*report);
    found.project->project->save();
    return Tcl_NewObj();
}

Tcl_Obj* setReport(Call& call) {
    const RunOfProject found = changeableRun(call, 0);
    RunReports reports(*found.run);
    setOptions(reports, reportNamed(*found.run, call.word(1)), settingsOf(call, 2));
    found.project->project->save();
    return Tcl_NewObj();
}

Tcl_Obj* applyReportStrategy(Call& call) {
    const RunOfProject found = changeableRun(call, 0);
    const std::string name =
        chosenReportStrategy(*found.run->getStrategy()->getFlow(), call.word(1));
    found.project->project->applyReportStrategy(*found.run, name);
    found.project->project->save();
    return Tcl_NewObj();
}

}  // namespace

const Ensemble& reportEnsemble() {
    static const Ensemble ensemble{
        "report",
        "list, make, read and change the reports of runs",
        {
            {"list",
             "?RUN ...?",
             "a list of dicts, one a report",
             0,
             -1,
             {{"-all", "BOOL", "also files that a run would leave by itself, but didn't"}},
             listReports},
            {"info", "RUN REPORT", "a dict: what is known of a report", 2, 2, {}, describeReport},
            {"generate",
             "RUN ?REPORT ...?",
             "makes reports now, and waits; a list of dicts of what became of each",
             1,
             -1,
             {{"-again", "BOOL", "make those that are up to date again, too"}},
             generateReports},
            {"open",
             "RUN REPORT",
             "the text of a report",
             2,
             2,
             {{"-json", "BOOL", "the form for scripts, as a dict"}},
             readReport},
            {"add",
             "RUN STEP COMMAND",
             "adds a report of the catalogue to a step; gives its name",
             3,
             3,
             {{"-name", "TEXT", "name to show"}, {"-set", "DICT", "options and their values"}},
             addReportTo},
            {"enable",
             "RUN REPORT ?REPORT ...?",
             "has reports made that were disabled",
             2,
             -1,
             {},
             enableReports},
            {"disable",
             "RUN REPORT ?REPORT ...?",
             "keeps reports without having them made",
             2,
             -1,
             {},
             disableReports},
            {"delete",
             "RUN REPORT ?REPORT ...?",
             "deletes reports, with their files",
             2,
             -1,
             {},
             deleteReports},
            {"set",
             "RUN REPORT OPTION VALUE ?OPTION VALUE ...?",
             "changes options of a report",
             4,
             -1,
             {},
             setReport,
             2},
            {"apply",
             "RUN STRATEGY",
             "takes the reports of a report strategy in place of the run's own",
             2,
             2,
             {},
             applyReportStrategy},
        }};
    return ensemble;
}

}  // namespace shell::tcl
