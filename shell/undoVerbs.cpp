// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// The verbs that remove runs, and take back what cleared them.
#include <cstdio>
#include <iostream>

#include <unistd.h>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "shell/exitStatus.h"
#include "shell/jsonOutput.h"
#include "shell/note.h"
#include "shell/runPlan.h"
#include "shell/runs.h"
#include "shell/textTable.h"
#include "shell/undoActions.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/calendarTime.h"
#include "workbench/runStop.h"
#include "workbench/undo/UndoStore.h"

namespace shell {

namespace {

using workbench::UndoEntry;

std::string runNamesOf(const UndoEntry& entry) {
    std::vector<std::string> names;
    for (const workbench::UndoRun& run : entry.runs)
        names.push_back(run.name);
    return fmt::format("{}", fmt::join(names, ", "));
}

class UndoVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        auto* id = command.add_option("id", m_id,
                                      "What to take back, as --list names it; the last "
                                      "one if unsaid");
        auto* list = command.add_flag("--list", m_list, "Show what can be taken back");
        list->excludes(id);
        command.add_option("--keep", m_keep, "From now on keep at most N of them (100 at first)")
            ->check(CLI::Range(1, 1000000))
            ->excludes(id);
        command
            .add_option("--keep-mb", m_keepMb,
                        "From now on keep at most N megabytes (2048 at first)")
            ->check(CLI::Range(1, 1000000000))
            ->excludes(id);
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const bool isSetting = m_keep > 0 || m_keepMb > 0;
        if (m_json && !m_list)
            throw CommandError(kExitUsage, "--json goes with --list.");
        const auto project = Project::open(
            session.projectDir, m_list && !isSetting ? Project::kRead : Project::kChange);
        workbench::UndoStore store(*project);
        if (isSetting)
            setLimits_(store);
        if (m_list)
            list_(store.entries());
        if (m_list || isSetting)
            return kExitDone;
        const UndoEntry entry = store.undo(m_id);
        note("{}: taken back ({}). Next: xp status; to undo this: xp undo", entry.id,
             runNamesOf(entry));
        return kExitDone;
    }

private:
    void setLimits_(workbench::UndoStore& store) const {
        const workbench::UndoLimits limits = changeLimits(store, m_keep, m_keepMb);
        note("At most {} are kept to be taken back, of {} MB together", limits.entries,
             limits.megabytes);
    }

    void list_(const std::vector<UndoEntry>& entries) const {
        if (m_json) {
            printJson({{"entries", entriesJson(entries)}});
            return;
        }
        if (entries.empty()) {
            note("There is nothing to take back");
            return;
        }
        TextTable table({{"Id"}, {"When"}, {"Verb"}, {"MB", true}, {"Runs"}});
        for (const UndoEntry& entry : entries)
            table.addRow({entry.id, workbench::localTime(entry.time, "%Y-%m-%d %H:%M"), entry.verb,
                          fmt::format("{:.1f}", static_cast<double>(entry.bytes) / (1U << 20U)),
                          runNamesOf(entry)});
        fmt::print("{}", table.text());
    }

    std::string m_id;
    bool m_list = false;
    std::size_t m_keep = 0;
    std::size_t m_keepMb = 0;
    bool m_json = false;
};

class RmVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names, "Names of runs, families or sweeps")->required();
        command.add_flag("--with-dependants", m_withDependants,
                         "Also the implementations that start from a synthesis");
        command.add_flag("--kill", m_kill, "Stop those first that are at work");
        command.add_flag("-y,--yes", m_yes, "Don't ask");
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kChange);
        Runs runs = chosenRuns(*project, m_names);
        if (m_withDependants)
            addDependants(*project, runs);
        std::vector<std::string> names;
        for (const HAXPExpRun* run : runs)
            names.push_back(run->getName());
        if (runs.size() > 1 && !m_yes)
            ask_(names);
        for (HAXPExpRun* run : runs) {
            if (m_kill && run->isAtWork())
                workbench::stopRun(*run);
        }
        workbench::removeRuns(*project, runs);
        note("{}: removed. To bring {} back: xp undo", fmt::join(names, ", "),
             names.size() == 1 ? "it" : "them");
        return kExitDone;
    }

private:
    /// Where nobody can answer, more than one name is told by --yes alone.
    static void ask_(const std::vector<std::string>& names) {
        const std::string what = fmt::format("{} runs: {}", names.size(), fmt::join(names, ", "));
        if (::isatty(STDIN_FILENO) == 0)
            throw CommandError(kExitRefused,
                               fmt::format("This would remove {}. Say --yes to do it.", what));
        fmt::print(stderr, "Remove {}? [y/N] ", what);
        std::fflush(stderr);
        std::string answer;
        std::getline(std::cin, answer);
        if (answer != "y" && answer != "yes")
            throw CommandError(kExitRefused, "Nothing is removed.");
    }

    std::vector<std::string> m_names;
    bool m_withDependants = false;
    bool m_kill = false;
    bool m_yes = false;
};

}  // namespace

std::unique_ptr<Verb> makeUndoVerb() {
    return std::make_unique<UndoVerb>();
}

std::unique_ptr<Verb> makeRmVerb() {
    return std::make_unique<RmVerb>();
}

}  // namespace shell
