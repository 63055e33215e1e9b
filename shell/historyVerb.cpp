// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdio>
#include <optional>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "shell/exitStatus.h"
#include "shell/jsonOutput.h"
#include "shell/launchHistory.h"
#include "shell/note.h"
#include "shell/textTable.h"
#include "shell/verb.h"
#include "workbench/Project.h"
#include "workbench/calendarTime.h"
#include "workbench/printable.h"

namespace shell {

namespace {

using workbench::LaunchRecord;
using workbench::Night;

std::optional<double> recordedFigure(const LaunchRecord& record, const char* name) {
    const auto found = record.figures.find(name);
    return found == record.figures.end() ? std::nullopt : std::optional<double>(found->second);
}

std::string launchChangesText(const std::vector<LaunchChange>& changes) {
    std::vector<std::string> texts;
    texts.reserve(changes.size());
    for (const LaunchChange& change : changes)
        texts.push_back(fmt::format("{}: {} -> {}", change.name,
                                    change.before.empty() ? "default" : change.before,
                                    change.after.empty() ? "default" : change.after));
    return fmt::format("{}", fmt::join(texts, ", "));
}

std::string recordedFigureText(const std::optional<double>& value, int digits) {
    return value ? fmt::format("{:.{}f}", *value, digits) : std::string();
}

class HistoryVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names,
                           "Names of runs, families or sweeps, removed ones too; all if unsaid");
        command.add_flag("--nights", m_nights,
                         "The trend from night to night (local noon to noon), with what got "
                         "better or worse for certain");
        command.add_option("--limit", m_limit, "Only the last N launches, or nights")
            ->check(CLI::Range(1, 1000000000));
        command.add_option("--since", m_since,
                           "Only launches since a date (2026-11-20) or a time ago (7d, 12h)");
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const long since = m_since.empty() ? 0 : readSince(m_since);
        const auto project = Project::open(session.projectDir, Project::kRead);
        const std::vector<LaunchRecord> all = launchesOf(*project, m_names);
        nlohmann::json json{{"project", project->getName()}, {"directory", project->getDir()}};
        if (m_nights)
            tellNights_(all, since, json);
        else
            tellLaunches_(all, since, json);
        if (m_json)
            printJson(json);
        return kExitDone;
    }

private:
    void tellLaunches_(const std::vector<LaunchRecord>& all, long since,
                       nlohmann::json& json) const {
        const std::vector<ListedLaunch> listed = listLaunches(all, since, m_limit);
        json["launches"] = launchesJson(listed);
        if (m_json)
            return;
        if (listed.empty())
            note("No launch is remembered{}", m_since.empty() ? "" : " since " + m_since);
        else
            fmt::print("{}", table_(listed));
    }

    static std::string table_(const std::vector<ListedLaunch>& listed) {
        TextTable table({{"When"},
                         {"Run"},
                         {"Strategy"},
                         {"Outcome"},
                         {"Seconds", true},
                         {"Fmax MHz", true},
                         {"LUTs", true},
                         {"Changed"}});
        constexpr std::size_t kOutcome = 3;
        for (const ListedLaunch& one : listed) {
            const LaunchRecord& record = *one.record;
            table.addRow({workbench::localTime(record.launched, "%Y-%m-%d %H:%M"), record.run,
                          record.strategy, record.outcome,
                          recordedFigureText(recordedFigure(record, "seconds"), 0),
                          recordedFigureText(recordedFigure(record, "fmax"), 1),
                          recordedFigureText(recordedFigure(record, "luts"), 0),
                          launchChangesText(one.changes)});
            table.setStyle(kOutcome, record.outcome == "done" ? Style::kGood : Style::kBad);
        }
        return table.text();
    }

    void tellNights_(const std::vector<LaunchRecord>& all, long since, nlohmann::json& json) const {
        const std::vector<Night> nights = listNights(all, since, m_limit);
        json["nights"] = nightsJson(nights);
        if (m_json)
            return;
        if (nights.empty())
            note("No launch is remembered{}", m_since.empty() ? "" : " since " + m_since);
        else
            printNights_(nights);
    }

    static void printNights_(const std::vector<Night>& nights) {
        TextTable table({{"Night"},
                         {"Family"},
                         {"Launches", true},
                         {"Failed", true},
                         {"Best Fmax", true},
                         {"Median Fmax", true},
                         {"Best LUTs", true},
                         {"Median LUTs", true}});
        for (const Night& night : nights) {
            for (const workbench::NightFamily& family : night.families) {
                std::vector<std::string> row{night.date, family.name,
                                             std::to_string(family.launches),
                                             std::to_string(family.failed)};
                for (const auto& [name, digits] : {std::pair("fmax", 1), std::pair("luts", 0)}) {
                    const auto found = family.figures.find(name);
                    const bool isThere = found != family.figures.end();
                    row.push_back(isThere ? fmt::format("{:.{}f}", found->second.best, digits)
                                          : std::string());
                    row.push_back(isThere ? fmt::format("{:.{}f}", found->second.median, digits)
                                          : std::string());
                }
                table.addRow(row);
            }
        }
        fmt::print("{}", table.text());
        for (const Night& night : nights) {
            for (const workbench::NightMark& mark : night.marks)
                fmt::print("{} {}: {}\n", night.date, workbench::printable(mark.family),
                           workbench::printable(mark.text));
        }
    }

    std::vector<std::string> m_names;
    std::string m_since;
    std::size_t m_limit = 0;
    bool m_nights = false;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeHistoryVerb() {
    return std::make_unique<HistoryVerb>();
}

}  // namespace shell
