// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdio>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "shell/diffView.h"
#include "shell/exitStatus.h"
#include "shell/familyOptions.h"
#include "shell/jsonOutput.h"
#include "shell/namedDiff.h"
#include "shell/verb.h"
#include "workbench/Project.h"

namespace shell {

namespace {

class DiffVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("first", m_first, "Name of a run, or of a family")->required();
        command.add_option("second", m_second, "The run or family to hold against it")->required();
        command.add_flag("--exit-code", m_wantsStatus,
                         "End with 1 when they differ, and with 0 when they don't");
        m_families.declare(command);
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        const NamedDiff made = diffOfNames(*project, m_first, m_second, m_families.question());
        if (m_json)
            printJson(diffJson(made.first, made.second, made.diff));
        else
            fmt::print("{}", diffText(made.first, made.second, made.diff));
        return m_wantsStatus && !made.diff.isEqual() ? kExitRunFailed : kExitDone;
    }

private:
    std::string m_first;
    std::string m_second;
    FamilyOptions m_families;
    bool m_wantsStatus = false;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeDiffVerb() {
    return std::make_unique<DiffVerb>();
}

}  // namespace shell
