// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/runs/xpreport/reportConfigFixture.h"

namespace {

namespace reports = test::reports;

using reports::makeGroup;
using reports::makeReport;
using reports::text;

class ReportFilesTest : public reports::ReportConfigFixture {
protected:
    /// The report of power, whose summary has a name of its own.
    std::unique_ptr<HAXRReportConfig> makePower() {
        m_power->setOutputOptions(makeGroup({text("pb"), text("rpx")}).release());
        return make("route_design", *m_power);
    }

    std::unique_ptr<HAXRReportSpec> m_power = makeReport("report_power");
};

// Names ----------------------------------------------------------------------

TEST_F(ReportFilesTest, NamesOutputsByExtension) {
    m_config->setReportFile("top_timing_summary_routed.rpt", false);
    EXPECT_EQ(m_config->getReportFile(), "top_timing_summary_routed.rpt");
    EXPECT_EQ(m_config->getReportFullPath(), m_dir.path("top_timing_summary_routed.rpt"));
    EXPECT_EQ(m_config->getFile("pb"), "top_timing_summary_routed.pb");
    EXPECT_EQ(m_config->getFile("RPX"), "top_timing_summary_routed.rpx");
    EXPECT_EQ(reports::optionOf(m_config->getOutputOptions(), "pb")->getStringDefault(),
              "top_timing_summary_routed.pb");
}

TEST_F(ReportFilesTest, NamesTheSummaryOfPowerSpecially) {
    const auto power = makePower();
    power->setReportFile("top_power_routed.rpt", false);
    EXPECT_EQ(power->getFile("pb"), "top_power_summary_routed.pb");
    EXPECT_EQ(power->getFile("rpx"), "top_power_routed.rpx");
    power->setReportFile("my_power_power_x.rpt", false);
    EXPECT_EQ(power->getFile("pb"), "my_power_power_summary_x.pb") << "the last one";
    power->setReportFile("top.rpt", false);
    EXPECT_EQ(power->getFile("pb"), "top.pb");
    m_config->setReportFile("top_power_routed.rpt", false);
    EXPECT_EQ(m_config->getFile("pb"), "top_power_routed.pb") << "another report";
}

TEST_F(ReportFilesTest, ReplacesTheLastExtensionOnly) {
    m_config->setReportFile("a.rpt.rpt", false);
    EXPECT_EQ(m_config->getFile("pb"), "a.rpt.pb");
    m_config->setReportFile("a.txt", false);
    EXPECT_EQ(m_config->getFile("pb"), "a.txt");
}

TEST_F(ReportFilesTest, LeavesOutputsAloneWhenTheFileAloneIsSet) {
    m_config->setReportFile("a.rpt", true);
    EXPECT_EQ(m_config->getReportFile(), "a.rpt");
    EXPECT_EQ(m_config->getFile("pb"), "");
}

TEST_F(ReportFilesTest, NamesNoOutputThatIsNoText) {
    const std::unique_ptr<HATOptGroup> replaced(m_spec->getOutputOptions());
    m_spec->setOutputOptions(makeGroup({reports::flag("wide"), text("pb")}).release());
    m_config = make("route_design");
    m_config->setReportFile("a.rpt", false);
    EXPECT_EQ(m_config->getFile("pb"), "a.pb");
    EXPECT_EQ(m_config->getFile("wide"), "");
}

TEST_F(ReportFilesTest, HasNoFileForAnOptionThatItLacks) {
    m_config->setReportFile("a.rpt", false);
    EXPECT_EQ(m_config->getFile(""), "");
    EXPECT_EQ(m_config->getFile("xml"), "");
    EXPECT_EQ(m_config->getFile("PB"), "") << "names are exact";
}

TEST_F(ReportFilesTest, GivesOutputsAsPathsWhileGeneratedOrStale) {
    m_config->setReportFile("top.rpt", false);
    EXPECT_EQ(m_config->getFileForExtension("pb"), "") << "not generated";
    generate();
    EXPECT_EQ(m_config->getFileForExtension("pb"), m_dir.path("top.pb"));
    EXPECT_EQ(m_config->getFileForExtension("PB"), "");
    EXPECT_EQ(m_config->getFileForExtension("xml"), "");
    m_config->addOrUpdateStaleReason("x", "1", "2");
    EXPECT_EQ(m_config->getFileForExtension("pb"), m_dir.path("top.pb"));
    m_dir.mark("top.pb");
    fail();
    EXPECT_EQ(m_config->getFileForExtension("pb"), "") << "failed";
}

// Reset ----------------------------------------------------------------------

TEST_F(ReportFilesTest, ResetRemovesEveryFileAndName) {
    generate();
    m_dir.mark("top.pb");
    m_dir.mark("other.rpt");
    m_config->addOrUpdateStaleReason("x", "1", "2");
    fail();
    m_config->reset(false);
    EXPECT_FALSE(m_dir.has("top.rpt"));
    EXPECT_FALSE(m_dir.has("top.pb"));
    EXPECT_FALSE(m_dir.has(kFailMarker));
    EXPECT_TRUE(m_dir.has("other.rpt"));
    EXPECT_EQ(m_config->getReportFile(), "");
    EXPECT_EQ(m_config->getReportFullPath(), "");
    EXPECT_EQ(m_config->getFile("pb"), "");
    EXPECT_EQ(m_config->getFile("RPX"), "top.rpx") << "a file that isn't there keeps its name";
    EXPECT_TRUE(staleOptions().empty());
    EXPECT_EQ(m_config->getState(), HAXRReportConfig::REPORT_NOT_GENERATED);
}

TEST_F(ReportFilesTest, ResetLeavesOutputsAndNamesWhenTheMainFileIsGone) {
    generate();
    m_dir.mark("top.pb");
    m_dir.mark(kFailMarker);
    m_dir.unmark("top.rpt");
    m_config->reset(false);
    EXPECT_TRUE(m_dir.has("top.pb"));
    EXPECT_FALSE(m_dir.has(kFailMarker));
    EXPECT_EQ(m_config->getReportFile(), "top.rpt");
    EXPECT_EQ(m_config->getReportFullPath(), m_dir.path("top.rpt"));
    EXPECT_EQ(m_config->getFile("pb"), "top.pb");
    EXPECT_EQ(m_config->getState(), HAXRReportConfig::REPORT_NOT_GENERATED);
}

TEST_F(ReportFilesTest, ResetTouchesNoFileWithoutAName) {
    m_dir.mark("top.rpt");
    m_dir.mark("top.pb");
    m_config->reset(false);
    EXPECT_TRUE(m_dir.has("top.rpt"));
    EXPECT_TRUE(m_dir.has("top.pb"));
}

TEST_F(ReportFilesTest, ResetTellsTheRunWhenAskedTo) {
    m_config->reset(false);
    EXPECT_EQ(m_run->dirtyCalls, 0);
    m_config->reset(true);
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(ReportFilesTest, KeepsItsFilesWhenItGoes) {
    generate();
    fail();
    m_config.reset();
    EXPECT_TRUE(m_dir.has("top.rpt"));
    EXPECT_TRUE(m_dir.has(kFailMarker));
}

// A run without a directory --------------------------------------------------

TEST_F(ReportFilesTest, HasNoPathsWithoutARunDirectory) {
    m_run->setRunDir("", false);
    m_config->setReportFile("top.rpt", false);
    EXPECT_EQ(m_config->getReportFile(), "top.rpt");
    EXPECT_EQ(m_config->getReportFullPath(), "");
    EXPECT_FALSE(m_config->update(false));
    m_run->setRunDir(m_dir.path(), false);
    m_config->setReportFile("top.rpt", true);
    EXPECT_EQ(m_config->getReportFullPath(), m_dir.path("top.rpt"));
    EXPECT_EQ(m_config->getFile("pb"), "top.pb");
}

TEST_F(ReportFilesTest, FindsNothingOnceItsRunLostTheDirectory) {
    m_config->setReportFile("top.rpt", false);
    m_dir.mark("top.rpt");
    m_run->setRunDir("", false);
    EXPECT_FALSE(m_config->update(false));
    m_config->reset(false);
    EXPECT_TRUE(m_dir.has("top.rpt"));
}

}  // namespace
