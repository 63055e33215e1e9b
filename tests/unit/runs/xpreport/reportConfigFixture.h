// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "environment/filemgmt/HADAStaleReasons.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRStaleOption.h"
#include "tests/unit/runs/xperiment/runFixture.h"
#include "tests/unit/runs/xpreport/reportFixture.h"

namespace test::reports {

/// A run of four steps with a timing report of "route_design" named
/// "impl_1_route_report_timing_summary_0". It has the options "fast" and "paths" and
/// the outputs "pb" and "RPX".
class ReportConfigFixture : public RunFixture {
protected:
    ReportConfigFixture()
        : RunFixture({StepTraits::of("init_design"), StepTraits::of("place_design"),
                      StepTraits::of("route_design"), StepTraits::of("write_bitstream")}),
          m_spec(makeReport("report_timing_summary", {flag("fast"), number("paths", 10)})) {
        m_spec->setOutputOptions(makeGroup({text("pb"), text("RPX")}).release());
        m_run->setRunDir(m_dir.path(), false);
        m_config = make("route_design");
        m_run->dirtyCalls = 0;
    }

    std::unique_ptr<HAXRReportConfig> make(const std::string& stepId) {
        return make(stepId, *m_spec);
    }
    std::unique_ptr<HAXRReportConfig> make(const std::string& stepId, HAXRReportSpec& spec) {
        return std::make_unique<HAXRReportConfig>("impl_1_route_report_timing_summary_0", stepId,
                                                  &spec, m_run.get(), false, "");
    }
    /// Brings the report to state 1, with "top.rpt" on disk.
    void generate() {
        m_config->setReportFile("top.rpt", false);
        m_dir.mark("top.rpt");
        EXPECT_TRUE(m_config->update(false));
        EXPECT_EQ(m_config->getState(), HAXRReportConfig::REPORT_GENERATED);
    }
    /// Brings the report to state 3.
    void fail() {
        m_dir.mark(kFailMarker);
        EXPECT_TRUE(m_config->update(false));
        EXPECT_EQ(m_config->getState(), HAXRReportConfig::REPORT_FAILED);
    }
    void makeStale(const std::string& id) const {
        step(id)->updateStaleReasonsForSwParamChange();
        ASSERT_TRUE(step(id)->isStale());
    }
    void makeRunStale() const {
        m_run->info().staleReasons_().addOrUpdate(HADAStaleReason::SS_DESIGN_SRCS_CHANGED);
    }
    /// The stale options as "name: old > new".
    std::vector<std::string> staleOptions() const {
        std::vector<std::string> lines;
        for (const HAXRStaleOption* option : drained(m_config->createStaleOptionsIter()))
            lines.push_back(option->getOptionName() + ": " + option->getLaunchTimeVal() + " > " +
                            option->getNewVal());
        return lines;
    }

    static constexpr char kFailMarker[] = ".impl_1_route_report_timing_summary_0.fail";

    std::unique_ptr<HAXRReportSpec> m_spec;
    std::unique_ptr<HAXRReportConfig> m_config;
};

}  // namespace test::reports
