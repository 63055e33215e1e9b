// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "benchmarks/BenchProject.h"

#include <cstdlib>
#include <stdexcept>

#include "environment/process/HUTSysCall.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"
#include "workbench/product.h"
#include "workbench/strategies.h"

namespace bench {

namespace {

/// The folder of the step programs, which the product keeps for the life of the process.
std::string binDirWith(const std::string& script) {
    static const BenchFolder s_folder;
    writePlainly(s_folder.path() + "/ice40_synth", "#!/bin/sh\n" + script + "\n", 0755);
    return s_folder.path();
}

}  // namespace

BenchProject::BenchProject(const std::string& script) {
    setenv("XPERIMENT_APP_DATA_DIR", m_folder.folder("user").c_str(), 1);
    workbench::installProduct(binDirWith(script));
    workbench::restoreStrategies();
    DesignInputs inputs;
    inputs.sources = {m_folder.path() + "/blinky.v"};
    inputs.top = "blinky";
    writePlainly(inputs.sources.front(), "module blinky; endmodule\n", 0644);
    m_project = Project::create(m_folder.folder("project"), inputs);
}

BenchProject::~BenchProject() = default;

HAXPExpRun& BenchProject::addRun(const std::string& name) {
    return m_project->createRun(name, *OpenFlows::getSynthesis(), "", "");
}

void awaitStatus(HAXPExpRun& run, int code) {
    constexpr int kMinuteMs = 60000;
    for (int ms = 0; ms < kMinuteMs; ++ms) {
        run.updateStatus();
        if (run.getStatus()->getCode() == code)
            return;
        HUTSysCall::msSleep(1);
    }
    throw std::runtime_error(run.getName() +
                             " doesn't come to its state: " + run.getStatus()->getText());
}

}  // namespace bench
