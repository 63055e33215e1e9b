// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/runs/xperiment/runReportFixture.h"

namespace {

using test::drained;
using test::Ids;
using test::kDone;

constexpr auto kNotGenerated = HAXRReportConfig::REPORT_NOT_GENERATED;
constexpr auto kGenerated = HAXRReportConfig::REPORT_GENERATED;
constexpr auto kReportFailed = HAXRReportConfig::REPORT_FAILED;

/// The step "route_design" with reports that the step was given.
class StepReportsTest : public test::RunReportFixture {
protected:
    HAXPExpRunStep& route() const { return *step("route_design"); }
    /// Gives the step a report; two may have one name.
    HAXRReportConfig* add(const std::string& name, const std::string& displayName = "") {
        auto config = std::make_unique<HAXRReportConfig>(name, "route_design", m_spec.get(),
                                                         m_run.get(), false, displayName);
        HAXRReportConfig* const added = config.get();
        route().addReportConfig(config.release());
        return added;
    }
    void markBegun() { m_dir.mark(".route_design.begin.rst"); }
    bool poll() { return route().updateStatus(m_dir.path()); }
};

// Adding and finding ---------------------------------------------------------

TEST_F(StepReportsTest, HasNoneAtFirst) {
    EXPECT_EQ(route().getConfigCount(), 0);
    EXPECT_TRUE(drained(route().createReportConfigIter()).empty());
    EXPECT_EQ(route().getReportConfig("r"), nullptr);
    EXPECT_EQ(route().getReportConfigByDisplayName("R"), nullptr);
}

TEST_F(StepReportsTest, AppendsThemInOrder) {
    HAXRReportConfig* const first = add("b");
    HAXRReportConfig* const second = add("a");
    EXPECT_EQ(drained(route().createReportConfigIter()),
              (std::vector<HAXRReportConfig*>{first, second}));
    EXPECT_EQ(route().getConfigCount(), 2);
}

TEST_F(StepReportsTest, IgnoresNull) {
    route().addReportConfig(nullptr);
    EXPECT_EQ(route().getConfigCount(), 0);
}

TEST_F(StepReportsTest, AppendsWithoutLookingForEqualNames) {
    HAXRReportConfig* const first = add("r", "R");
    add("r", "R");
    EXPECT_EQ(route().getConfigCount(), 2);
    EXPECT_EQ(route().getReportConfig("r"), first);
    EXPECT_EQ(route().getReportConfigByDisplayName("R"), first);
}

TEST_F(StepReportsTest, FindsByExactNames) {
    HAXRReportConfig* const config = add("r_0", "Shown");
    EXPECT_EQ(route().getReportConfig("r_0"), config);
    EXPECT_EQ(route().getReportConfig("R_0"), nullptr);
    EXPECT_EQ(route().getReportConfig("Shown"), nullptr);
    EXPECT_EQ(route().getReportConfigByDisplayName("Shown"), config);
    EXPECT_EQ(route().getReportConfigByDisplayName("shown"), nullptr);
    EXPECT_EQ(route().getReportConfigByDisplayName("r_0"), nullptr);
}

// Deleting -------------------------------------------------------------------

TEST_F(StepReportsTest, DeletesOneWithItsFiles) {
    generate(add("a"), "a.rpt");
    generate(add("b"), "b.rpt");
    m_dir.mark(".a.fail");
    EXPECT_TRUE(route().deleteReportConfig("a"));
    EXPECT_EQ(reportNames(), (Ids{"b"}));
    EXPECT_FALSE(m_dir.has("a.rpt"));
    EXPECT_FALSE(m_dir.has(".a.fail"));
    EXPECT_TRUE(m_dir.has("b.rpt"));
    EXPECT_EQ(m_run->dirtyCalls, 0) << "the run's operation tells of it";
}

TEST_F(StepReportsTest, DeletesTheFirstOfOneName) {
    add("r");
    HAXRReportConfig* const second = add("r");
    EXPECT_TRUE(route().deleteReportConfig("r"));
    EXPECT_EQ(route().getReportConfig("r"), second);
}

TEST_F(StepReportsTest, TellsOfANameThatItHasNot) {
    add("r");
    EXPECT_FALSE(route().deleteReportConfig("R"));
    EXPECT_EQ(route().getConfigCount(), 1);
    m_expectedMessages = {"runs ERROR 36-370(R, route_design)"};
}

TEST_F(StepReportsTest, DeletesAllAndLeavesTheirFiles) {
    generate(add("a"), "a.rpt");
    add("b");
    route().deleteAllReportConfigs();
    EXPECT_EQ(route().getConfigCount(), 0);
    EXPECT_TRUE(m_dir.has("a.rpt"));
}

// Files ----------------------------------------------------------------------

TEST_F(StepReportsTest, LooksForTheFilesOfEveryOne) {
    HAXRReportConfig* const first = add("a");
    HAXRReportConfig* const second = add("b");
    HAXRReportConfig* const third = add("c");
    EXPECT_FALSE(route().updateReportConfigs());
    first->setReportFile("a.rpt", false);
    m_dir.mark("a.rpt");
    m_dir.mark(".b.fail");
    EXPECT_TRUE(route().updateReportConfigs());
    EXPECT_EQ(first->getState(), kGenerated);
    EXPECT_EQ(second->getState(), kReportFailed);
    EXPECT_EQ(third->getState(), kNotGenerated);
    EXPECT_FALSE(route().updateReportConfigs()) << "nothing changed since";
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(StepReportsTest, RemovesTheFilesOfEveryOne) {
    generate(add("a"), "a.rpt");
    generate(add("b"), "b.rpt");
    m_dir.mark(".b.fail");
    route().resetReportConfigs();
    EXPECT_FALSE(m_dir.has("a.rpt"));
    EXPECT_FALSE(m_dir.has("b.rpt"));
    EXPECT_FALSE(m_dir.has(".b.fail"));
    EXPECT_EQ(reportNames(), (Ids{"a", "b"}));
    EXPECT_EQ(report("a")->getState(), kNotGenerated);
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(StepReportsTest, LeavesThemAloneWhenFileChecksAreUpdatedOrReset) {
    generate(add("a"), "a.rpt");
    add("b")->setReportFile("b.rpt", false);
    m_dir.mark("b.rpt");
    route().updateReports(m_dir.path());
    EXPECT_EQ(report("b")->getState(), kNotGenerated);
    route().resetReports();
    EXPECT_EQ(report("a")->getState(), kGenerated);
    EXPECT_TRUE(m_dir.has("a.rpt"));
}

// Status ---------------------------------------------------------------------

TEST_F(StepReportsTest, LooksForFilesWhenItsStatusChanges) {
    add("a")->setReportFile("a.rpt", false);
    markBegun();
    EXPECT_FALSE(poll()) << "the status changed, no report did";
    m_dir.mark("a.rpt");
    markDone("route_design");
    EXPECT_TRUE(poll());
    EXPECT_EQ(report("a")->getState(), kGenerated);
}

TEST_F(StepReportsTest, LooksForNoFileWhileItsStatusStays) {
    add("a")->setReportFile("a.rpt", false);
    markBegun();
    poll();
    m_dir.mark("a.rpt");
    EXPECT_FALSE(poll());
    EXPECT_EQ(report("a")->getState(), kNotGenerated);
}

// Generation -----------------------------------------------------------------

TEST_F(StepReportsTest, NeedsNoGenerationWithoutReports) {
    m_run->setCode("route_design", kDone);
    EXPECT_FALSE(route().isReportGenerationNeeded());
}

TEST_F(StepReportsTest, NeedsGenerationWhenOneOfItsReportsDoes) {
    generate(add("a"), "a.rpt");
    m_run->setCode("route_design", kDone);
    EXPECT_FALSE(route().isReportGenerationNeeded());
    add("b");
    EXPECT_TRUE(route().isReportGenerationNeeded());
}

TEST_F(StepReportsTest, NeedsNoGenerationWhileDisabled) {
    // Of a step that the run lacks: its report is required whatever the run's steps are.
    auto lost = std::make_unique<HAXRReportConfig>("lost", "gone_design", m_spec.get(), m_run.get(),
                                                   false, "");
    EXPECT_TRUE(lost->isGenerationRequired());
    route().addReportConfig(lost.release());
    EXPECT_TRUE(route().isReportGenerationNeeded());
    m_run->setEnabled("route_design", false);
    EXPECT_FALSE(route().isReportGenerationNeeded());
}

// Renaming -------------------------------------------------------------------

TEST_F(StepReportsTest, PutsTheRunsNewNameIntoTheirNames) {
    add("impl_1_route_report_drc_0");
    add("other");
    add("impl_1_impl_1");
    route().alignReportNamesWithRun("impl_1", "impl_2");
    EXPECT_EQ(reportNames(), (Ids{"impl_2_route_report_drc_0", "other", "impl_2_impl_2"}));
}

}  // namespace
