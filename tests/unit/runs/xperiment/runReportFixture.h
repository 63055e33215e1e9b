// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "tests/support/MessageRecorder.h"
#include "tests/unit/runs/xperiment/runFixture.h"
#include "tests/unit/runs/xpreport/reportFixture.h"

namespace test {

/// A report strategy that takes its specifications with it.
class OwnReportStrategy final : public HAXRReportStrategy {
public:
    using HAXRReportStrategy::HAXRReportStrategy;
    ~OwnReportStrategy() noexcept(false) override { nukeSteps(); }

    /// Adds a report `name` with the options "fast" and "paths".
    HAXRReportSpec* add(const std::string& stepId, const std::string& name, int paths = 10) {
        auto spec =
            reports::makeReport(name, {reports::flag("fast"), reports::number("paths", paths)});
        spec->setOutputOptions(reports::makeGroup({reports::text("pb")}).release());
        HAXRReportSpec* const added = addSpec(stepId, spec.get(), false);
        static_cast<void>(spec.release());
        return added;
    }
};

/// A run "impl_1" of an implementation with a report strategy of its own, which is
/// empty, and another one to apply. No message is expected.
class RunReportFixture : public RunFixture {
public:
    ~RunReportFixture() noexcept override = default;

protected:
    RunReportFixture()
        : RunReportFixture(steps(
              {"init_design", "opt_design", "place_design", "route_design", "write_bitstream"})) {}
    explicit RunReportFixture(const std::vector<StepTraits>& traits)
        : RunFixture(traits), m_strategy(m_flow.get()) {
        m_run->setReportStrategy_(new HAXRReportStrategy(m_flow.get()));
        m_run->setRunDir(m_dir.path(), false);
        m_strategy.setName("mine");
        m_strategy.setDescription("What I look at");
    }

    void TearDown() override {
        m_run.reset();
        EXPECT_EQ(m_messages.summaries(), m_expectedMessages);
    }

    static std::vector<StepTraits> steps(const Ids& ids) {
        std::vector<StepTraits> traits;
        for (const std::string& id : ids)
            traits.push_back(StepTraits::of(id));
        return traits;
    }
    void apply() { m_run->applyReportStrategy(&m_strategy); }
    /// A report `name` of the step, with a specification of the fixture's.
    HAXRReportConfig* create(const std::string& name, const std::string& stepId,
                             const std::string& displayName = "") {
        return m_run->createReportConfig(name, stepId, m_spec.get(), displayName, false);
    }
    /// Gives the report its file, on disk, and looks for it.
    void generate(HAXRReportConfig* config, const std::string& file) const {
        config->setReportFile(file, false);
        m_dir.mark(file);
        EXPECT_TRUE(config->update(false));
    }
    std::vector<HAXRReportConfig*> allReports() const {
        std::vector<HAXRReportConfig*> all;
        for (const HAXPExpRunStep* step : drained(m_run->createRunStepIter())) {
            for (HAXRReportConfig* config : drained(step->createReportConfigIter()))
                all.push_back(config);
        }
        return all;
    }
    /// The names of all reports, by step.
    Ids reportNames() const {
        Ids names;
        for (const HAXRReportConfig* config : allReports())
            names.push_back(config->getName());
        return names;
    }
    HAXRReportConfig* report(const std::string& name) const {
        for (HAXRReportConfig* config : allReports()) {
            if (config->getName() == name)
                return config;
        }
        throw std::logic_error("the run has no report " + name);
    }

    MessageRecorder m_messages;
    /// The summaries of those that the test makes happen.
    Ids m_expectedMessages;
    OwnReportStrategy m_strategy;
    std::unique_ptr<HAXRReportSpec> m_spec =
        reports::makeReport("report_drc", {reports::flag("fast"), reports::number("paths", 10)});
};

}  // namespace test
