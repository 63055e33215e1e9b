// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// What becomes of reports when steps are reset and removed.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "runs/base/xpreport/HAXRReportConfig.h"
#include "tests/support/TestParam.h"
#include "tests/unit/runs/xperiment/runReportFixture.h"

namespace {

using test::Ids;

class ResetReportsTest : public test::RunReportFixture {
protected:
    void SetUp() override {
        m_dir.mark("place_design_reports.log");
        generate(create("first", "place_design"), "first.rpt");
        generate(create("second", "place_design"), "second.rpt");
        generate(create("third", "opt_design"), "third.rpt");
    }
    bool reset() const { return step("place_design")->resetStep(m_dir.path(), true); }
};

TEST_F(ResetReportsTest, RemovesTheFilesOfTheStepsReports) {
    const test::TestParam configurations("project.enableReportConfiguration", true);
    EXPECT_TRUE(reset());
    for (const char* name : {"first.rpt", "second.rpt", "place_design_reports.log"})
        EXPECT_FALSE(m_dir.has(name)) << name;
    EXPECT_TRUE(m_dir.has("third.rpt"));
    EXPECT_EQ(report("first")->getState(), HAXRReportConfig::REPORT_NOT_GENERATED);
    EXPECT_EQ(report("third")->getState(), HAXRReportConfig::REPORT_GENERATED);
    EXPECT_EQ(reportNames(), (Ids{"third", "first", "second"}));
}

TEST_F(ResetReportsTest, LeavesThemWhereStepsHaveFileChecks) {
    EXPECT_TRUE(reset());
    for (const char* name : {"first.rpt", "second.rpt", "place_design_reports.log"})
        EXPECT_TRUE(m_dir.has(name)) << name;
}

class RemoveStepReportsTest : public test::RunReportFixture {
protected:
    void SetUp() override {
        m_strategy.add("opt_design", "report_timing");
        m_strategy.add("place_design", "report_io");
        apply();
    }
    std::uint32_t reportsOf(const std::string& stepId) const {
        return m_run->getReportStrategy()->specCount(stepId);
    }
};

TEST_F(RemoveStepReportsTest, TakesReportsAndTheirEntryAlong) {
    ASSERT_EQ(reportsOf("place_design"), 1U);
    const Ids before = reportNames();
    m_run->removeStep(step("place_design"), true);
    EXPECT_EQ(reportNames().size(), before.size() - 1);
    EXPECT_EQ(reportsOf("place_design"), HAXRReportStrategy::noEntry);
    EXPECT_EQ(reportsOf("opt_design"), 1U);
}

TEST_F(RemoveStepReportsTest, TouchesNoReportFile) {
    generate(create("mine", "place_design"), "mine.rpt");
    m_run->removeStep(step("place_design"), true);
    EXPECT_TRUE(m_dir.has("mine.rpt"));
}

TEST_F(RemoveStepReportsTest, KeepsTheEntryWhileTheRunHasTheStepTwice) {
    m_run->addStep(flowStep("place_design"), false, true);
    m_run->removeStep(test::drained(m_run->createRunStepIter()).back(), true);
    EXPECT_EQ(reportsOf("place_design"), 1U);
    m_run->removeStep(flowStep("place_design"), true);
    EXPECT_EQ(reportsOf("place_design"), HAXRReportStrategy::noEntry);
}

TEST_F(RemoveStepReportsTest, KnowsWhichStepIsStaleNow) {
    step("place_design")->updateStaleReasonsForSwParamChange();
    step("route_design")->updateStaleReasonsForSwParamChange();
    EXPECT_EQ(m_run->getFirstStaleOrOwnStep("write_bitstream"), step("place_design"));
    m_run->removeStep(step("place_design"), true);
    EXPECT_EQ(m_run->getFirstStaleOrOwnStep("write_bitstream"), step("route_design"));
    EXPECT_TRUE(step("route_design")->resetStep(m_dir.path(), false));
    EXPECT_EQ(m_run->getFirstStaleOrOwnStep("write_bitstream"), step("write_bitstream"));
}

}  // namespace
