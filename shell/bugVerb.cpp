// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <CLI/App.hpp>
#include <fmt/format.h>

#include "shell/bugPack.h"
#include "shell/exitStatus.h"
#include "shell/note.h"
#include "shell/runPlan.h"
#include "shell/verb.h"
#include "workbench/Project.h"

namespace shell {

namespace {

class BugVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("run", m_name, "Name of the run")->required();
        command.add_option("-o,--output", m_output,
                           "The archive to write, bug-RUN.tar.gz here if unsaid");
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        HAXPExpRun& run = chosenRun(*project, m_name);
        const PackedRun packed = packRunAnew(*project, run, m_output);
        fmt::print("{}\n", packed.archive);
        for (const std::string& each : packed.leftOut)
            note("Left out: {}", each);
        note("Look through it before you hand it on: it holds your sources. ./reproduce.sh in it "
             "repeats the step.");
        return kExitDone;
    }

private:
    std::string m_name;
    std::string m_output;
};

}  // namespace

std::unique_ptr<Verb> makeBugVerb() {
    return makeVerb<BugVerb>();
}

}  // namespace shell
