// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <CLI/App.hpp>
#include <fmt/format.h>

#include "shell/exitStatus.h"
#include "shell/page/writePage.h"
#include "shell/runPlan.h"
#include "shell/verb.h"
#include "workbench/Project.h"

namespace shell {

namespace {

class HtmlVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names,
                           "Names of runs, families or sweeps; all of the project if unsaid");
        command.add_option(
            "-o,--output", m_output,
            fmt::format("Where to write it; {} in the project if unsaid", kPageName));
        command.add_flag("--data", m_wantsData,
                         "For scripts: print the page's data as JSON instead");
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        const std::vector<HAXPExpRun*> runs = chosenRuns(*project, m_names);
        fmt::print("{}\n", m_wantsData ? writtenPageData(*project, runs)
                                       : writePage(*project, runs, m_output));
        return kExitDone;
    }

private:
    std::vector<std::string> m_names;
    std::string m_output;
    bool m_wantsData = false;
};

}  // namespace

std::unique_ptr<Verb> makeHtmlVerb() {
    return std::make_unique<HtmlVerb>();
}

}  // namespace shell
