// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <ostream>

#include "environment/errors/HEXAlgException.h"
#include "tests/unit/runs/xpreport/reportCommandFixture.h"

namespace {

using reportConfigUtil::createReportFileName;
using reportConfigUtil::createReportName;
using reportConfigUtil::getDefaultReportName;
using reportConfigUtil::getDefaultStaticReportName;
using reportConfigUtil::getStepAlias;
using test::Ids;
using test::TestParam;
using test::thrownText;

// Step aliases ---------------------------------------------------------------

struct AliasCase {
    const char* stepId;
    const char* alias;
};

std::ostream& operator<<(std::ostream& os, const AliasCase& row) {
    return os << row.stepId;
}

class StepAliasTable : public ::testing::TestWithParam<AliasCase> {};

TEST_P(StepAliasTable, GivesTheAlias) {
    EXPECT_EQ(getStepAlias(GetParam().stepId), GetParam().alias);
}

TEST_P(StepAliasTable, GivesTheSameInTemplatizedFlows) {
    const TestParam templatized("runs.enableTemplatizedFlow", true);
    EXPECT_EQ(getStepAlias(GetParam().stepId), GetParam().alias);
}

INSTANTIATE_TEST_SUITE_P(
    All, StepAliasTable,
    ::testing::Values(AliasCase{"synth_design", "synth"}, AliasCase{"init_design", "init"},
                      AliasCase{"opt_design", "opt"}, AliasCase{"power_opt_design", "power_opt"},
                      AliasCase{"place_design", "place"},
                      AliasCase{"post_place_power_opt_design", "post_place_power_opt"},
                      AliasCase{"phys_opt_design", "phys_opt"}, AliasCase{"route_design", "route"},
                      AliasCase{"post_route_phys_opt_design", "post_route_phys_opt"},
                      AliasCase{"write_bitstream", "bitstream"},
                      AliasCase{"write_device_image", "device_image"}),
    [](const auto& row) { return std::string(row.param.stepId); });

TEST(StepAliasTest, IsEmptyForAnUnknownStep) {
    EXPECT_EQ(getStepAlias("odd_step"), "");
    EXPECT_EQ(getStepAlias(""), "");
}

TEST(StepAliasTest, IsTheIdOfAnUnknownStepInTemplatizedFlows) {
    const TestParam templatized("runs.enableTemplatizedFlow", true);
    EXPECT_EQ(getStepAlias("odd_step"), "odd_step");
}

TEST(StepAliasTest, TellsCapitalsApart) {
    EXPECT_EQ(getStepAlias("Route_Design"), "");
}

// Names of reports -----------------------------------------------------------

class ReportNameTest : public test::ReportCommandFixture {
protected:
    std::string newName(const std::string& stepId = "route_design",
                        const std::string& report = "report_timing_summary") {
        return createReportName(m_run.get(), stepId, report);
    }
};

TEST_F(ReportNameTest, CountsFromZero) {
    EXPECT_EQ(newName(), "impl_1_route_report_timing_summary_0");
    add("route_design", "report_timing_summary");
    EXPECT_EQ(newName(), "impl_1_route_report_timing_summary_1");
}

TEST_F(ReportNameTest, TakesTheFirstFreeNumber) {
    for (int i = 0; i < 3; ++i)
        add("route_design", "report_drc");
    m_run->deleteReportConfig(report("impl_1_route_report_drc_1"));
    EXPECT_EQ(newName("route_design", "report_drc"), "impl_1_route_report_drc_1");
}

TEST_F(ReportNameTest, TakesTheFirstFreeNumberAlsoAmongMany) {
    for (int i = 0; i < 9; ++i)
        add(i % 2 == 0 ? "route_design" : "init_design", "report_drc");
    for (int i = 0; i < 7; ++i)
        add("route_design", "report_drc");
    EXPECT_EQ(newName("route_design", "report_drc"), "impl_1_route_report_drc_12");
    m_run->deleteReportConfig(report("impl_1_route_report_drc_9"));
    m_run->deleteReportConfig(report("impl_1_route_report_drc_5"));
    EXPECT_EQ(newName("route_design", "report_drc"), "impl_1_route_report_drc_5");
    create("impl_1_route_report_drc_5", "init_design");
    EXPECT_EQ(newName("route_design", "report_drc"), "impl_1_route_report_drc_9");
}

TEST_F(ReportNameTest, IsUniqueInTheWholeRun) {
    create("impl_1_route_report_drc_0", "init_design");
    EXPECT_EQ(newName("route_design", "report_drc"), "impl_1_route_report_drc_1");
}

TEST_F(ReportNameTest, HasTwoUnderscoresForAnUnknownStep) {
    EXPECT_EQ(newName("odd_step", "report_x"), "impl_1__report_x_0");
}

TEST_F(ReportNameTest, HasTheIdOfAnUnknownStepInTemplatizedFlows) {
    const TestParam templatized("runs.enableTemplatizedFlow", true);
    EXPECT_EQ(newName("odd_step", "report_x"), "impl_1_odd_step_report_x_0");
}

TEST_F(ReportNameTest, NeedsARun) {
    EXPECT_EQ(thrownText<HEXAlgException>(
                  [] { createReportName(nullptr, "route_design", "report_drc"); }),
              "Report name: null run");
}

// Names of files -------------------------------------------------------------

class ReportFileNameTest : public test::ReportCommandFixture {};

TEST_F(ReportFileNameTest, IsNumberedInAStrategyOfTheUser) {
    EXPECT_EQ(newFileName(add("route_design", "report_drc")), "route_report_drc_0.rpt");
}

TEST_F(ReportFileNameTest, TakesTheFirstFreeNumberOfTheWholeRun) {
    add("init_design", "report_io")->setReportFile("route_report_drc_0.rpt", true);
    add("place_design", "report_io")->setReportFile("route_report_drc_2.rpt", true);
    const HAXRReportConfig* const config = add("route_design", "report_drc");
    EXPECT_EQ(newFileName(config), "route_report_drc_1.rpt");
}

TEST_F(ReportFileNameTest, TakesTheFirstFreeNumberAlsoAmongMany) {
    HAXRReportConfig* config = add("route_design", "report_drc");
    for (int i = 0; i < 12; ++i) {
        if (i != 7)
            add("init_design", "report_drc")
                ->setReportFile("route_report_drc_" + std::to_string(i) + ".rpt", false);
    }
    EXPECT_EQ(newFileName(config), "route_report_drc_7.rpt");
    config->setReportFile("route_report_drc_7.rpt", false);
    EXPECT_EQ(newFileName(add("route_design", "report_drc")), "route_report_drc_12.rpt");
}

TEST_F(ReportFileNameTest, TellsCapitalsApart) {
    add("init_design", "report_io")->setReportFile("Route_report_drc_0.rpt", true);
    EXPECT_EQ(newFileName(add("route_design", "report_drc")), "route_report_drc_0.rpt");
}

TEST_F(ReportFileNameTest, BeginsWithAnUnderscoreForAnUnknownStep) {
    EXPECT_EQ(newFileName(add("odd_step", "report_x")), "_report_x_0.rpt");
}

TEST_F(ReportFileNameTest, IsTheWellKnownOneInTheDefaultStrategyOfAnImplementation) {
    useDefaultStrategy();
    EXPECT_EQ(newFileName(add("route_design", "report_drc")), "top_drc_routed.rpt");
}

TEST_F(ReportFileNameTest, IsTheWellKnownOneInTheDefaultStrategyOfASynthesis) {
    useStrategy(HAXPTypes::FLOW_SYNTH, test::kDefaultSynthReports);
    EXPECT_EQ(newFileName(add("synth_design", "report_utilization")), "top_utilization_synth.rpt");
}

TEST_F(ReportFileNameTest, IsNumberedInTheDefaultStrategyOfTheOtherFlow) {
    const HAXRReportConfig* const config = add("route_design", "report_drc");
    useStrategy(HAXPTypes::FLOW_SYNTH, test::kDefaultImplReports);
    EXPECT_EQ(newFileName(config), "route_report_drc_0.rpt");
    useStrategy(HAXPTypes::FLOW_ENTIRE_DESIGN, test::kDefaultSynthReports);
    EXPECT_EQ(newFileName(config), "route_report_drc_0.rpt");
    useStrategy(HAXPTypes::FLOW_GENERIC, test::kDefaultImplReports);
    EXPECT_EQ(newFileName(config), "route_report_drc_0.rpt");
}

TEST_F(ReportFileNameTest, IsNumberedWhereTheNameOfTheStrategyIsAlmostThatOfTheDefaultOne) {
    const HAXRReportConfig* const config = add("route_design", "report_drc");
    for (const char* name : {"tarnel implementation default reports",
                             "Tarnel Implementation Default Reports ", "Tarnel", ""}) {
        useStrategy(HAXPTypes::FLOW_ENTIRE_DESIGN, name);
        EXPECT_EQ(newFileName(config), "route_report_drc_0.rpt") << name;
    }
}

TEST_F(ReportFileNameTest, IsNumberedInARunWithoutAReportStrategy) {
    test::TestRun bare("impl_2", m_flow.get());
    bare.info().setFlowType(HAXPTypes::FLOW_ENTIRE_DESIGN);
    EXPECT_EQ(createReportFileName(&bare, add("route_design", "report_drc")),
              "route_report_drc_0.rpt");
}

TEST_F(ReportFileNameTest, IsNumberedInARunWithoutInformation) {
    useDefaultStrategy();
    const HAXRReportConfig* const config = add("route_design", "report_drc");
    m_run->setExpInfoBase(nullptr);
    EXPECT_EQ(newFileName(config), "route_report_drc_0.rpt");
}

TEST_F(ReportFileNameTest, IsNumberedForAReportWithoutAWellKnownName) {
    useDefaultStrategy();
    EXPECT_EQ(newFileName(add("route_design", "report_cdc")), "route_report_cdc_0.rpt");
}

TEST_F(ReportFileNameTest, GetsANumberFromOneWhereTheWellKnownOneIsTaken) {
    useDefaultStrategy();
    Ids files;
    for (int i = 0; i < 3; ++i)
        files.push_back(namedFile(add("route_design", "report_drc")));
    EXPECT_EQ(files, (Ids{"top_drc_routed.rpt", "top_drc_routed_1.rpt", "top_drc_routed_2.rpt"}));
}

TEST_F(ReportFileNameTest, NeedsARunAndAReport) {
    const HAXRReportConfig* const config = add("route_design", "report_drc");
    EXPECT_EQ(thrownText<HEXAlgException>([=] { createReportFileName(nullptr, config); }),
              "Report file name: null run");
    EXPECT_EQ(thrownText<HEXAlgException>([this] { createReportFileName(m_run.get(), nullptr); }),
              "Report file name: null report");
}

// Well-known names -----------------------------------------------------------

struct DefaultNameCase {
    const char* stepId;
    const char* report;
    const char* file;
};

std::ostream& operator<<(std::ostream& os, const DefaultNameCase& row) {
    return os << row.stepId << " " << row.report;
}

class DefaultReportNameTest : public test::ReportCommandFixture {
protected:
    std::string defaultName(const HAXRReportConfig* config) const {
        return getDefaultReportName(m_run.get(), config);
    }
};

class DefaultReportNameTable : public DefaultReportNameTest,
                               public ::testing::WithParamInterface<DefaultNameCase> {};

TEST_P(DefaultReportNameTable, GivesTheFile) {
    EXPECT_EQ(defaultName(add(GetParam().stepId, GetParam().report)), GetParam().file);
}

INSTANTIATE_TEST_SUITE_P(
    All, DefaultReportNameTable,
    ::testing::Values(
        DefaultNameCase{"synth_design", "report_utilization", "top_utilization_synth.rpt"},
        DefaultNameCase{"init_design", "report_timing_summary", "top_timing_summary_init.rpt"},
        DefaultNameCase{"opt_design", "report_drc", "top_drc_opted.rpt"},
        DefaultNameCase{"opt_design", "report_timing_summary", "top_timing_summary_opted.rpt"},
        DefaultNameCase{"power_opt_design", "report_timing_summary",
                        "top_timing_summary_pwropted.rpt"},
        DefaultNameCase{"place_design", "report_incremental_reuse",
                        "top_incremental_reuse_placed.rpt"},
        DefaultNameCase{"place_design", "report_io", "top_io_placed.rpt"},
        DefaultNameCase{"place_design", "report_utilization", "top_utilization_placed.rpt"},
        DefaultNameCase{"place_design", "report_control_sets", "top_control_sets_placed.rpt"},
        DefaultNameCase{"place_design", "report_timing_summary", "top_timing_summary_placed.rpt"},
        DefaultNameCase{"post_place_power_opt_design", "report_timing_summary",
                        "top_timing_summary_postplace_pwropted.rpt"},
        DefaultNameCase{"phys_opt_design", "report_timing_summary",
                        "top_timing_summary_physopted.rpt"},
        DefaultNameCase{"route_design", "report_drc", "top_drc_routed.rpt"},
        DefaultNameCase{"route_design", "report_methodology", "top_methodology_drc_routed.rpt"},
        DefaultNameCase{"route_design", "report_power", "top_power_routed.rpt"},
        DefaultNameCase{"route_design", "report_route_status", "top_route_status.rpt"},
        DefaultNameCase{"route_design", "report_clock_utilization",
                        "top_clock_utilization_routed.rpt"},
        DefaultNameCase{"route_design", "report_incremental_reuse",
                        "top_incremental_reuse_routed.rpt"},
        DefaultNameCase{"route_design", "report_timing_summary", "top_timing_summary_routed.rpt"},
        DefaultNameCase{"route_design", "report_bus_skew", "top_bus_skew_routed.rpt"},
        DefaultNameCase{"post_route_phys_opt_design", "report_timing_summary",
                        "top_timing_summary_postroute_physopted.rpt"},
        DefaultNameCase{"post_route_phys_opt_design", "report_bus_skew",
                        "top_bus_skew_postroute_physopted.rpt"}),
    [](const auto& row) {
        return std::string(row.param.stepId) + "_" + std::string(row.param.report);
    });

TEST_F(DefaultReportNameTest, IsEmptyForEveryOtherPair) {
    EXPECT_EQ(defaultName(add("route_design", "report_cdc")), "");
    EXPECT_EQ(defaultName(add("place_design", "report_drc")), "");
    EXPECT_EQ(defaultName(add("synth_design", "report_timing_summary")), "");
    EXPECT_EQ(defaultName(add("odd_step", "report_drc")), "");
}

TEST_F(DefaultReportNameTest, TellsCapitalsApart) {
    EXPECT_EQ(defaultName(add("ROUTE_DESIGN", "report_drc")), "");
    EXPECT_EQ(defaultName(add("route_design", "Report_drc")), "");
}

TEST_F(DefaultReportNameTest, HasTheExtensionTwiceForTheReuseReportMadeBeforePlacement) {
    HAXRReportConfig* const config = add("place_design", "report_incremental_reuse");
    config->preGenerate(true);
    EXPECT_EQ(defaultName(config), "top_incremental_reuse_pre_placed.rpt.rpt");
    config->setReportFile(defaultName(config), true);
    EXPECT_EQ(defaultName(config), "top_incremental_reuse_pre_placed.rpt_1.rpt");
}

TEST_F(DefaultReportNameTest, IsTheUsualOneForAnotherReportMadeBefore) {
    HAXRReportConfig* const config = add("route_design", "report_incremental_reuse");
    config->preGenerate(true);
    EXPECT_EQ(defaultName(config), "top_incremental_reuse_routed.rpt");
}

TEST_F(DefaultReportNameTest, IsTheSuffixAloneWithoutATop) {
    setTop("");
    EXPECT_EQ(defaultName(add("route_design", "report_timing_summary")),
              "_timing_summary_routed.rpt");
}

TEST_F(DefaultReportNameTest, IsTheSuffixAloneWithoutSources) {
    m_run->info().setSrcSet(nullptr, false);
    EXPECT_EQ(defaultName(add("route_design", "report_timing_summary")),
              "_timing_summary_routed.rpt");
}

TEST_F(DefaultReportNameTest, FollowsTheTopNetlist) {
    setTop("");
    m_sources.addSrcFile("/designs/cpu.edf");
    EXPECT_EQ(defaultName(add("route_design", "report_drc")), "cpu_drc_routed.rpt");
}

TEST_F(DefaultReportNameTest, IsTheSameInAStrategyOfTheUser) {
    useDefaultStrategy();
    const HAXRReportConfig* const config = add("route_design", "report_drc");
    const std::string inDefault = defaultName(config);
    useStrategy(HAXPTypes::FLOW_ENTIRE_DESIGN, "mine");
    EXPECT_EQ(defaultName(config), inDefault);
}

TEST_F(DefaultReportNameTest, NeedsARunAndAReport) {
    const HAXRReportConfig* const config = add("route_design", "report_drc");
    EXPECT_EQ(thrownText<HEXAlgException>([=] { getDefaultReportName(nullptr, config); }),
              "Default report name: null run");
    EXPECT_EQ(thrownText<HEXAlgException>([this] { getDefaultReportName(m_run.get(), nullptr); }),
              "Default report name: null report");
}

// Static reports -------------------------------------------------------------

class StaticReportNameTest : public test::ReportCommandFixture {};

TEST_F(StaticReportNameTest, IsFixedForTheSaylineReport) {
    const HAXRReportConfig* const config = addStatic("write_bitstream", "report_sayline");
    EXPECT_EQ(config->getName(), "impl_1_bitstream_report_sayline_0");
    EXPECT_EQ(getDefaultStaticReportName(config), "usage_statistics_sayline.html");
}

TEST_F(StaticReportNameTest, IsFixedForTheSaylineReportWithoutSourcesToo) {
    const HAXRReportConfig* const config = addStatic("write_bitstream", "report_sayline");
    m_run->info().setSrcSet(nullptr, false);
    EXPECT_EQ(getDefaultStaticReportName(config), "usage_statistics_sayline.html");
}

TEST_F(StaticReportNameTest, IsTheLogOfTheTopForAnImplementation) {
    EXPECT_EQ(getDefaultStaticReportName(addStatic("route_design", "implementation_log")),
              "top.tdi");
}

TEST_F(StaticReportNameTest, IsTheSynthesisReportOfTheTopForASynthesis) {
    m_run->info().setFlowType(HAXPTypes::FLOW_SYNTH);
    EXPECT_EQ(getDefaultStaticReportName(addStatic("synth_design", "synthesis_report")), "top.tds");
}

TEST_F(StaticReportNameTest, IsAnImplementationLogForAnyOtherFlow) {
    m_run->info().setFlowType(HAXPTypes::FLOW_GENERIC);
    EXPECT_EQ(getDefaultStaticReportName(addStatic("route_design", "implementation_log")),
              "top.tdi");
}

TEST_F(StaticReportNameTest, IsEmptyWithoutAChosenTop) {
    const HAXRReportConfig* const config = addStatic("route_design", "implementation_log");
    setTop("");
    m_sources.addSrcFile("/designs/cpu.edf");
    EXPECT_EQ(getDefaultStaticReportName(config), "");
    m_run->info().setSrcSet(nullptr, false);
    EXPECT_EQ(getDefaultStaticReportName(config), "");
    m_run->setExpInfoBase(nullptr);
    EXPECT_EQ(getDefaultStaticReportName(config), "");
}

TEST_F(StaticReportNameTest, NeedsAReport) {
    EXPECT_EQ(thrownText<HEXAlgException>([] { getDefaultStaticReportName(nullptr); }),
              "Static report name: null report");
}

}  // namespace
