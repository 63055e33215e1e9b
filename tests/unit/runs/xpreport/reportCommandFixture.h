// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HDDASrcOptions.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "tests/support/TestParam.h"
#include "tests/unit/runs/xperiment/runReportFixture.h"

namespace test {

constexpr char kDefaultSynthReports[] = "Tarnel Synthesis Default Reports";
constexpr char kDefaultImplReports[] = "Tarnel Implementation Default Reports";

/// A run "impl_1" of an implementation with all steps that reports know, and "odd_step".
/// Its sources have the top module "top". It has the user's report strategy "mine", and
/// no reports.
class ReportCommandFixture : public RunReportFixture {
protected:
    ReportCommandFixture() : RunReportFixture(steps(stepIds())) {
        m_sources.getSrcOptions().setTopName("top");
        m_run->info().setSrcSet(&m_sources, false);
        useStrategy(HAXPTypes::FLOW_ENTIRE_DESIGN, "mine");
    }

    static Ids stepIds() {
        return {"synth_design",     "init_design",  "opt_design",
                "power_opt_design", "place_design", "post_place_power_opt_design",
                "phys_opt_design",  "route_design", "post_route_phys_opt_design",
                "write_bitstream",  "odd_step",     "ROUTE_DESIGN"};
    }
    void useStrategy(HAXPTypes::FlowType flow, const std::string& name) {
        m_run->info().setFlowType(flow);
        m_run->setReportStrategyName(name);
    }
    void useDefaultStrategy() { useStrategy(HAXPTypes::FLOW_ENTIRE_DESIGN, kDefaultImplReports); }
    void setTop(const std::string& name) { m_sources.getSrcOptions().setTopName(name); }

    /// A new report of the step, named as a run names it.
    HAXRReportConfig* add(const std::string& stepId, const std::string& report,
                          const std::vector<reports::Option>& options = {},
                          const std::vector<reports::Option>& outputs = {}) {
        m_specs.push_back(reports::makeReport(report, options));
        if (!outputs.empty())
            m_specs.back()->setOutputOptions(reports::makeGroup(outputs).release());
        const std::string name = reportConfigUtil::createReportName(m_run.get(), stepId, report);
        return m_run->createReportConfig(name, stepId, m_specs.back().get(), "", false);
    }
    /// The report that the run leaves by itself.
    HAXRReportConfig* addStatic(const std::string& stepId, const std::string& name) {
        const std::string full = reportConfigUtil::createReportName(m_run.get(), stepId, name);
        m_run->createStaticReport(stepId, name, "About " + name);
        return report(full);
    }
    /// The file that the command of the report names.
    static std::string namedFile(HAXRReportConfig* config) {
        reportConfigUtil::createReportCommand(config);
        return config->getReportFile();
    }
    std::string newFileName(const HAXRReportConfig* config) const {
        return reportConfigUtil::createReportFileName(m_run.get(), config);
    }

    HADAFileSet m_sources{"sources_1", HDDATypes::FST_DESIGN_SRCS};
    std::vector<std::unique_ptr<HAXRReportSpec>> m_specs;
};

}  // namespace test
