// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "shell/exitStatus.h"
#include "shell/explanation.h"
#include "shell/jsonOutput.h"
#include "shell/runPlan.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/printable.h"

namespace shell {

namespace {

class ExplainVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("run", m_name, "Name of the run")->required();
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        HAXPExpRun& run = chosenRun(*project, m_name);
        const Explanation explanation = explain(*project, run);
        if (m_json)
            printJson(explanationJson(run, explanation));
        else
            fmt::print("{}", workbench::printableLines(explanationText(run, explanation)));
        return kExitDone;
    }

private:
    std::string m_name;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeExplainVerb() {
    return makeVerb<ExplainVerb>();
}

}  // namespace shell
