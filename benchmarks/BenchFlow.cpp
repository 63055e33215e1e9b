// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "benchmarks/BenchFlow.h"

#include "environment/filemgmt/HDDASrcFilter.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "workbench/HAXPExpRun.h"

namespace bench {

namespace {

/// A step whose options are ints, strings, bools and files in turn.
class BenchStep final : public HAXPFlowStep {
public:
    BenchStep(const std::string& name, int options)
        : HAXPFlowStep(name, name, name, name, ""), m_options(options) {}

protected:
    void configOptions_(HATOptGroupSpec* optionsSpec) override {
        constexpr HATAttrTypes::AttrType kKinds[] = {HATAttrTypes::kInt, HATAttrTypes::kString,
                                                     HATAttrTypes::kBool, HATAttrTypes::kFile};
        for (int i = 0; i < m_options; ++i) {
            auto spec = std::make_unique<HATAttrSpec>(kKinds[i % 4], HATAttrSpec::kOption);
            const std::string name = "option_" + std::to_string(i);
            spec->setName(name);
            if (i % 4 == 1)
                spec->setStringDefault("the default of a string that needs the heap");
            optionsSpec->registerAttrSpec(spec.release(), name, "-" + name);
        }
    }
    void configReports_() override {}
    void initSrcFilter_() override { getSrcFilter()->addSFType(HDDATypes::SFT_VERILOG); }

private:
    int m_options;
};

}  // namespace

HAXPFlow* makeFlow(int steps, int options, bool hasAttributes) {
    static int s_count = 0;
    const std::string id = "bench_" + std::to_string(s_count++);
    HAXPFlow* flow = HAXPMgr::getGlobal()->createFlow(id, "1", id);
    for (int i = 0; i < steps; ++i) {
        auto step = std::make_unique<BenchStep>(stepName(i), options);
        step->canDisable(hasAttributes);
        step->hasTclHooks(hasAttributes);
        flow->addDefaultFlowStep(step.release());
    }
    return flow;
}

std::string stepName(int index) {
    return "step_" + std::to_string(index);
}

std::unique_ptr<HAXPExpRun> makeRun(const std::string& name, const HAXPFlow& flow,
                                    const std::string& dir) {
    const HAXPStrategy strategy(&flow);
    auto run = std::make_unique<HAXPExpRun>(name, &strategy, nullptr);
    run->setRunDir(dir, false);
    run->setRunMode(HAXPExpRunBase::kLaunched);
    return run;
}

}  // namespace bench
