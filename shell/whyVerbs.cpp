// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "shell/exitStatus.h"
#include "shell/jsonOutput.h"
#include "shell/planView.h"
#include "shell/runPlan.h"
#include "shell/staleView.h"
#include "shell/verb.h"
#include "workbench/Project.h"

namespace shell {

namespace {

class WhyVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("run", m_name, "Name of the run")->required();
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        HAXPExpRun& run = chosenRun(*project, m_name);
        if (m_json)
            printJson(whyJson(*project, run));
        else
            fmt::print("{}", whyText(*project, run));
        return kExitDone;
    }

private:
    std::string m_name;
    bool m_json = false;
};

class PlanVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names, "Names of runs; all of the project if unsaid");
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        const LaunchPreview preview = previewLaunch(*project, chosenRuns(*project, m_names));
        if (m_json)
            printJson(previewJson(preview));
        else
            fmt::print("{}",
                       preview.runs.empty() ? "The project has no runs.\n" : previewText(preview));
        return kExitDone;
    }

private:
    std::vector<std::string> m_names;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeWhyVerb() {
    return makeVerb<WhyVerb>();
}

std::unique_ptr<Verb> makePlanVerb() {
    return makeVerb<PlanVerb>();
}

}  // namespace shell
