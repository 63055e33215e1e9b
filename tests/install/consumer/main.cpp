// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// An integrator's run and step over the installed library: makes a flow of one
// step, launches its script for real and reads the status back.

#include <iostream>
#include <memory>
#include <string>

#include "environment/containers/HSTFwdIter.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/process/HUTFork.h"
#include "runs/base/xperiment/HAXPDataMgr.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/HAXPScriptWriter.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"

namespace {

/// Prints a greeting.
class GreetStep final : public HAXPFlowStep {
public:
    GreetStep() : HAXPFlowStep("Greet", "greet", "echo", "greet", "") {}

protected:
    void configOptions_(HATOptGroupSpec* optionsSpec) override {
        auto spec = std::make_unique<HATAttrSpec>(HATAttrTypes::kString, HATAttrSpec::kOption);
        spec->setName("text");
        spec->setStringDefault("nobody");
        optionsSpec->registerAttrSpec(spec.release(), "greet.text", "hello");
    }
    void configReports_() override {}
};

class PlainRun final : public HAXPExpRunBase {
public:
    PlainRun(const std::string& name, const HAXPStrategy* strategy)
        : HAXPExpRunBase(name, strategy, nullptr) {
        PlainRun::initRun_(name, strategy, nullptr);
    }
    ~PlainRun() noexcept(false) override {
        nukeSteps();
        setExpInfoBase(nullptr);
    }

    void updateStatus() override {
        std::string dir;
        getRunDir(dir);
        const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(createRunStepIter());
        while (!dir.empty() && steps->hasNext()) {
            HAXPExpRunStep* step = steps->next();
            step->updateStatus(dir);
            getStatus()->setCode(step->getStatus()->getCode());
        }
    }

protected:
    void initRun_(const std::string& name, const HAXPStrategy* strategy,
                  const HAXRReportStrategy*) override {
        setExpInfoBase(new HAXPExpInfoBase(this, name));
        setStatus_(new HDGUIStatus);
        setStrategy_(new HAXPStrategy);
        applyStrategy(strategy);
        createStats();
    }
};

bool check(bool holds, const char* what) {
    if (!holds)
        std::cerr << "consumer: " << what << " does not hold\n";
    return holds;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: consumer FOLDER\n";
        return 2;
    }
    HAXPFlow* flow = HAXPMgr::getGlobal()->createFlow("Greeting", "1", "greeting");
    flow->addDefaultFlowStep(new GreetStep);

    const HAXPStrategy strategy(flow);
    PlainRun run("run_1", &strategy);
    HATOptGroup* options = run.getFirstStep()->getOptions();
    options->setStrVal(options->getAttrSpecByName("text"), "world", true);

    HAXPDataMgr::assignRunDir(&run, argv[1]);
    HAXPScriptWriter(&run).writeScript();

    std::string dir;
    run.getRunDir(dir);
    HUTFork script;
    script.addArg(dir + "/runme.sh");
    script.setWorkingDir(dir);
    bool ok = check(script.launch(true, true, false, true) == 0, "the script ran");
    run.updateStatus();
    ok = check(run.getStatus()->getCode() == HDGUIStatus::statusDone, "the run is done") && ok;
    if (ok)
        std::cout << "consumer: the run is done\n";
    return ok ? 0 : 1;
}
