// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "shell/exitStatus.h"
#include "shell/jsonOutput.h"
#include "shell/logTail.h"
#include "shell/note.h"
#include "shell/runDetails.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/history/History.h"
#include "workbench/printable.h"

namespace shell {

namespace {

class StatusVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names, "Names of runs; all of the project if unsaid");
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        const std::vector<HAXPExpRun*> runs = chosenRuns(*project, m_names);
        lookForLife(runs);
        if (m_json)
            printJson(statusJson(*project, runs));
        else if (runs.empty())
            note("The project has no runs. Make one: xp create synth_1 --flow "
                 "synth");
        else
            printStatus_(*project, runs);
        flushOutput();
        workbench::rememberEnds(*project, runs);
        return kExitDone;
    }

private:
    static void printStatus_(const Project& project, const std::vector<HAXPExpRun*>& runs) {
        fmt::print("{}", statusTable(project, runs));
        flushOutput();
        for (const HAXPExpRun* run : runs) {
            if (!adviceFor(*run).empty())
                note("{}", adviceFor(*run));
        }
    }

    std::vector<std::string> m_names;
    bool m_json = false;
};

class LogVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("run", m_name, "Name of the run")->required();
        command.add_option("--lines", m_lines, "Only the last N lines")
            ->check(CLI::Range(1, 1000000000));
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        const HAXPExpRun& run = chosenRun(*project, m_name);
        const std::string path = logPath(run);
        if (path.empty())
            throw CommandError(kExitRefused,
                               fmt::format("Run {} has no log, since it isn't launched. Launch it "
                                           "with: xp launch {}",
                                           m_name, m_name));
        std::string reason;
        if (m_lines == 0)
            printWhole_(path, reason);
        else
            printEnd_(path, reason);
        if (!reason.empty())
            throw CommandError(kExitRefused,
                               fmt::format("The log {} can't be read: {}. Launch the run to make "
                                           "it.",
                                           path, reason));
        return kExitDone;
    }

private:
    static void printWhole_(const std::string& path, std::string& reason) {
        char last = '\n';
        readPieces(
            path,
            [&last](const std::string& piece) {
                fmt::print("{}", workbench::printableLines(piece));
                last = piece.back();
            },
            reason);
        if (last != '\n')
            fmt::print("\n");
    }

    void printEnd_(const std::string& path, std::string& reason) const {
        for (const std::string& line : lastLines(path, m_lines, reason))
            fmt::print("{}\n", workbench::printableLines(line));
    }

    std::string m_name;
    std::size_t m_lines = 0;
};

class ShowVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("run", m_name, "Name of a run; the project if unsaid");
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        if (m_json)
            printJson(m_name.empty() ? projectJson(*project)
                                     : runJson(*project, chosenRun(*project, m_name)));
        else
            fmt::print("{}", m_name.empty() ? projectText(*project)
                                            : runText(*project, chosenRun(*project, m_name)));
        return kExitDone;
    }

private:
    std::string m_name;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeStatusVerb() {
    return std::make_unique<StatusVerb>();
}

std::unique_ptr<Verb> makeLogVerb() {
    return std::make_unique<LogVerb>();
}

std::unique_ptr<Verb> makeShowVerb() {
    return std::make_unique<ShowVerb>();
}

}  // namespace shell
