// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <ostream>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXDataException.h"
#include "tests/unit/runs/xpreport/reportCommandFixture.h"

namespace {

using reportConfigUtil::checkRules;
using reportConfigUtil::createReportCommand;
using test::Ids;
using test::TestParam;
using test::thrownText;
using test::reports::flag;
using test::reports::number;
using test::reports::Option;
using test::reports::text;

// Options --------------------------------------------------------------------

class ReportCommandTest : public test::ReportCommandFixture {
protected:
    /// The command of a new report "report_x" of "route_design".
    std::string withOptions(const std::vector<Option>& options) {
        return createReportCommand(add("route_design", "report_x", options));
    }
    static constexpr char kFile[] = " -file route_report_x_0.rpt";
};

TEST_F(ReportCommandTest, IsTheNameAndTheFileOfAReportWithoutOptions) {
    EXPECT_EQ(withOptions({}), "report_x -file route_report_x_0.rpt");
}

TEST_F(ReportCommandTest, HasASwitchThatIsOn) {
    EXPECT_EQ(withOptions({flag("fast", true)}), std::string("report_x -fast") + kFile);
}

TEST_F(ReportCommandTest, LacksASwitchThatIsOff) {
    EXPECT_EQ(withOptions({flag("fast", false)}), std::string("report_x") + kFile);
}

TEST_F(ReportCommandTest, HasEveryNumber) {
    EXPECT_EQ(withOptions({number("a", 0), number("b", -3), number("c", 2147483647)}),
              std::string("report_x -a 0 -b -3 -c 2147483647") + kFile);
}

TEST_F(ReportCommandTest, HasATextThatIsThere) {
    EXPECT_EQ(withOptions({text("cells", "u1/u2")}), std::string("report_x -cells u1/u2") + kFile);
}

TEST_F(ReportCommandTest, LacksAnEmptyText) {
    EXPECT_EQ(withOptions({text("cells")}), std::string("report_x") + kFile);
}

TEST_F(ReportCommandTest, HasTheTextOfEveryOtherKind) {
    EXPECT_EQ(withOptions({{"mode", HATAttrTypes::kEnum, "full"},
                           {"from", HATAttrTypes::kFile, "/a/b.txt"},
                           {"into", HATAttrTypes::kDirectory, "/a"},
                           {"none", HATAttrTypes::kFile, ""},
                           {"part", HATAttrTypes::kReal, "0.5"}}),
              std::string("report_x -mode full -from /a/b.txt -into /a -part 0.5") + kFile);
}

TEST_F(ReportCommandTest, KeepsTheOrderOfTheOptions) {
    EXPECT_EQ(withOptions({text("b", "1"), flag("z", true), number("a", 2)}),
              std::string("report_x -b 1 -z -a 2") + kFile);
}

TEST_F(ReportCommandTest, HasTheValuesThatTheReportHasNow) {
    HAXRReportConfig* const config = add("route_design", "report_x", {number("paths", 10)});
    test::reports::setNumber(config->getOptions(), "paths", 20);
    EXPECT_EQ(createReportCommand(config), std::string("report_x -paths 20") + kFile);
}

TEST_F(ReportCommandTest, HasTheSwitchesOfTheUserAsTheyStand) {
    EXPECT_EQ(withOptions({flag("fast", true), text("MORE_OPTIONS", "-verbose -foo 1")}),
              std::string("report_x -fast -verbose -foo 1") + kFile);
}

TEST_F(ReportCommandTest, KnowsTheSwitchesOfTheUserInAnyCase) {
    EXPECT_EQ(withOptions({text("More_Options", "-verbose")}),
              std::string("report_x -verbose") + kFile);
}

TEST_F(ReportCommandTest, LacksTheSwitchesOfAUserWhoGaveNone) {
    EXPECT_EQ(withOptions({text("MORE_OPTIONS")}), std::string("report_x") + kFile);
}

TEST_F(ReportCommandTest, NeedsNoOptions) {
    HAXRReportSpec bare("report_bare", "", nullptr, "");
    HAXRReportConfig* const config =
        m_run->createReportConfig("bare", "route_design", &bare, "", false);
    EXPECT_EQ(createReportCommand(config), "report_bare -file route_report_bare_0.rpt");
}

TEST_F(ReportCommandTest, NeedsAReport) {
    EXPECT_EQ(thrownText<HEXAlgException>([] { createReportCommand(nullptr); }),
              "Report command: null report");
}

// The file -------------------------------------------------------------------

TEST_F(ReportCommandTest, NamesTheFilesOfAReportNotGenerated) {
    HAXRReportConfig* const config = add("route_design", "report_x", {}, {text("pb")});
    config->setReportFile("old.rpt", false);
    createReportCommand(config);
    EXPECT_EQ(config->getReportFile(), "route_report_x_0.rpt");
    EXPECT_EQ(config->getReportFullPath(), m_dir.path("route_report_x_0.rpt"));
    EXPECT_EQ(config->getFile("pb"), "route_report_x_0.pb");
}

TEST_F(ReportCommandTest, IsTheSameWhenItIsBuiltAgain) {
    useDefaultStrategy();
    HAXRReportConfig* const config = add("route_design", "report_drc", {}, {text("pb")});
    const std::string first = createReportCommand(config);
    EXPECT_EQ(first, "report_drc -file top_drc_routed.rpt -pb top_drc_routed.pb");
    EXPECT_EQ(createReportCommand(config), first);
}

TEST_F(ReportCommandTest, GivesEachOfTwoReportsAFile) {
    useDefaultStrategy();
    EXPECT_EQ(createReportCommand(add("route_design", "report_drc")),
              "report_drc -file top_drc_routed.rpt");
    EXPECT_EQ(createReportCommand(add("route_design", "report_drc")),
              "report_drc -file top_drc_routed_1.rpt");
}

TEST_F(ReportCommandTest, KeepsTheFilesOfAGeneratedReport) {
    HAXRReportConfig* const config = add("route_design", "report_x", {}, {text("pb")});
    generate(config, "mine.rpt");
    EXPECT_EQ(createReportCommand(config), "report_x -file mine.rpt -pb mine.pb");
    EXPECT_EQ(config->getReportFile(), "mine.rpt");
}

TEST_F(ReportCommandTest, KeepsTheFilesOfAStaleReport) {
    HAXRReportConfig* const config = add("route_design", "report_x", {}, {text("pb")});
    generate(config, "mine.rpt");
    step("place_design")->updateStaleReasonsForSwParamChange();
    ASSERT_TRUE(config->isStale());
    EXPECT_EQ(createReportCommand(config), "report_x -file mine.rpt -pb mine.pb");
}

TEST_F(ReportCommandTest, KeepsTheFilesOfAFailedReport) {
    HAXRReportConfig* const config = add("route_design", "report_x", {}, {text("pb")});
    config->setReportFile("mine.rpt", false);
    m_dir.mark("." + config->getName() + ".fail");
    ASSERT_TRUE(config->update(false));
    EXPECT_EQ(createReportCommand(config), "report_x -file mine.rpt -pb mine.pb");
}

// Outputs --------------------------------------------------------------------

TEST_F(ReportCommandTest, NamesTheOutputsAfterTheFile) {
    useDefaultStrategy();
    EXPECT_EQ(createReportCommand(add("route_design", "report_power", {}, {text("pb")})),
              "report_power -file top_power_routed.rpt -pb top_power_summary_routed.pb");
}

TEST_F(ReportCommandTest, HasTheOutputsInOrderBehindTheFile) {
    EXPECT_EQ(createReportCommand(add("route_design", "report_x", {flag("fast", true)},
                                      {text("rpx"), flag("sum", true), flag("off"),
                                       number("level", 0), text("MORE_OPTIONS")})),
              "report_x -fast -file route_report_x_0.rpt -rpx route_report_x_0.rpx -sum -level 0 "
              "-MORE_OPTIONS route_report_x_0.more_options");
}

TEST_F(ReportCommandTest, IsEmptyWhenAnOutputHasNoName) {
    HAXRReportConfig* const config = add("route_design", "report_x", {}, {text("pb"), text("rpx")});
    config->setReportFile("mine.rpt", true);
    m_dir.mark("mine.rpt");
    ASSERT_TRUE(config->update(false));
    EXPECT_EQ(createReportCommand(config), "");
    // Told at the first one; the rest isn't looked at.
    m_expectedMessages = {"runs CRITICAL WARNING 36-368(pb, report_x)"};
}

// Static reports -------------------------------------------------------------

TEST_F(ReportCommandTest, NamesTheFileOfAStaticReportAndMakesNoCommand) {
    HAXRReportConfig* const log = addStatic("route_design", "implementation_log");
    EXPECT_EQ(createReportCommand(log), "");
    EXPECT_EQ(log->getReportFile(), "top.tdi");
    EXPECT_EQ(log->getReportFullPath(), m_dir.path("top.tdi"));
}

TEST_F(ReportCommandTest, KeepsTheFileOfAStaticReportWithoutATop) {
    HAXRReportConfig* const log = addStatic("route_design", "implementation_log");
    log->setReportFile("old.tdi", false);
    setTop("");
    EXPECT_EQ(createReportCommand(log), "");
    EXPECT_EQ(log->getReportFile(), "old.tdi");
}

TEST_F(ReportCommandTest, GivesBothLogsOfAnImplementationOneFile) {
    EXPECT_EQ(namedFile(addStatic("route_design", "implementation_log")), "top.tdi");
    EXPECT_EQ(namedFile(addStatic("write_bitstream", "implementation_log")), "top.tdi");
}

// Reports left out -----------------------------------------------------------

/// A run with the default strategy of an implementation.
class ReportRulesTest : public test::ReportCommandFixture {
protected:
    ReportRulesTest() { useDefaultStrategy(); }

    /// What the rules make of the command `command` of the report.
    std::string ruled(HAXRReportConfig* config, const std::string& command) {
        std::string result = command;
        checkRules(config, result);
        return result;
    }
    std::string ruled(const std::string& stepId, const std::string& report,
                      const std::string& command = "cmd") {
        return ruled(add(stepId, report), command);
    }
};

struct LeftOutCase {
    const char* stepId;
    const char* report;
};

std::ostream& operator<<(std::ostream& os, const LeftOutCase& row) {
    return os << row.stepId << " " << row.report;
}

class LeftOutTable : public ReportRulesTest, public ::testing::WithParamInterface<LeftOutCase> {};

TEST_P(LeftOutTable, IsLeftOutWhereTheParameterSaysSo) {
    const TestParam none("project.runs.noReportGeneration", true);
    EXPECT_EQ(ruled(GetParam().stepId, GetParam().report), "");
}

TEST_P(LeftOutTable, StaysOtherwise) {
    EXPECT_EQ(ruled(GetParam().stepId, GetParam().report), "cmd");
    const TestParam some("project.runs.noReportGeneration", false);
    EXPECT_EQ(ruled(GetParam().stepId, GetParam().report), "cmd");
}

INSTANTIATE_TEST_SUITE_P(All, LeftOutTable,
                         ::testing::Values(LeftOutCase{"synth_design", "report_utilization"},
                                           LeftOutCase{"opt_design", "report_drc"},
                                           LeftOutCase{"place_design", "report_utilization"},
                                           LeftOutCase{"place_design", "report_io"},
                                           LeftOutCase{"place_design", "report_control_sets"},
                                           LeftOutCase{"place_design", "report_incremental_reuse"},
                                           LeftOutCase{"route_design", "report_drc"},
                                           LeftOutCase{"route_design", "report_methodology"},
                                           LeftOutCase{"route_design", "report_power"},
                                           LeftOutCase{"route_design", "report_bus_skew"},
                                           LeftOutCase{"route_design", "report_route_status"},
                                           LeftOutCase{"route_design", "report_clock_utilization"},
                                           LeftOutCase{"route_design", "report_incremental_reuse"},
                                           LeftOutCase{"post_route_phys_opt_design",
                                                       "report_bus_skew"}),
                         [](const auto& row) {
                             return std::string(row.param.stepId) + "_" +
                                    std::string(row.param.report);
                         });

TEST_F(ReportRulesTest, LeaveOutNoOtherReport) {
    const TestParam none("project.runs.noReportGeneration", true);
    const TestParam warn("project.enableWarnOnViolation", false);
    EXPECT_EQ(ruled("route_design", "report_timing_summary"), "cmd");
    EXPECT_EQ(ruled("post_route_phys_opt_design", "report_drc"), "cmd");
    EXPECT_EQ(ruled("place_design", "report_drc"), "cmd");
    EXPECT_EQ(ruled("synth_design", "report_drc"), "cmd");
    EXPECT_EQ(ruled("init_design", "report_timing_summary"), "cmd");
    EXPECT_EQ(ruled("ROUTE_DESIGN", "report_drc"), "cmd");
}

TEST_F(ReportRulesTest, DoNothingElseToAReportThatIsLeftOut) {
    const TestParam none("project.runs.noReportGeneration", true);
    const TestParam messages("project.runs.route_design.defaultBehaviorAsMessages", true);
    EXPECT_EQ(ruled("route_design", "report_drc"), "");
}

TEST_F(ReportRulesTest, LeaveAReportItsFile) {
    const TestParam none("project.runs.noReportGeneration", true);
    HAXRReportConfig* const config = add("route_design", "report_bus_skew");
    EXPECT_EQ(createReportCommand(config), "");
    EXPECT_EQ(config->getReportFile(), "top_bus_skew_routed.rpt");
}

// Timing violations ----------------------------------------------------------

class ViolationRuleTest : public ReportRulesTest {
protected:
    void endAt(const std::string& stepId) { m_run->defaultLastStep = step(stepId); }

    const TestParam m_warn{"project.enableWarnOnViolation", true};
};

TEST_F(ViolationRuleTest, WarnsAtTheStepThatTheRunEndsWith) {
    endAt("route_design");
    EXPECT_EQ(ruled("route_design", "report_timing_summary"), "cmd -warn_on_violation ");
    endAt("post_route_phys_opt_design");
    EXPECT_EQ(ruled("post_route_phys_opt_design", "report_timing_summary"),
              "cmd -warn_on_violation ");
}

TEST_F(ViolationRuleTest, IsTheEndOfTheCommand) {
    endAt("route_design");
    EXPECT_EQ(createReportCommand(add("route_design", "report_timing_summary", {}, {text("rpx")})),
              "report_timing_summary -file top_timing_summary_routed.rpt "
              "-rpx top_timing_summary_routed.rpx -warn_on_violation ");
}

TEST_F(ViolationRuleTest, ComparesTheStepIgnoringCase) {
    endAt("ROUTE_DESIGN");
    EXPECT_EQ(ruled("route_design", "report_timing_summary"), "cmd -warn_on_violation ");
}

TEST_F(ViolationRuleTest, WarnsNotAtAStepBeforeTheEnd) {
    endAt("write_bitstream");
    EXPECT_EQ(ruled("route_design", "report_timing_summary"), "cmd");
    endAt("post_route_phys_opt_design");
    EXPECT_EQ(ruled("route_design", "report_timing_summary"), "cmd");
}

TEST_F(ViolationRuleTest, GoesByTheDefaultLastStepAndNotByTheChosenOne) {
    endAt("write_bitstream");
    m_run->setToStepId(flowStep("route_design")->getAbbrev());
    EXPECT_EQ(ruled("route_design", "report_timing_summary"), "cmd");
}

TEST_F(ViolationRuleTest, WarnsNotInARunWithoutALastStep) {
    for (const std::string& id : stepIds())
        m_run->setEnabled(id, false);
    ASSERT_EQ(m_run->getDefaultLastStep(), nullptr);
    EXPECT_EQ(ruled("route_design", "report_timing_summary"), "cmd");
}

TEST_F(ViolationRuleTest, WarnsNotWhereTheParameterIsOff) {
    const TestParam off("project.enableWarnOnViolation", false);
    endAt("route_design");
    EXPECT_EQ(ruled("route_design", "report_timing_summary"), "cmd");
}

TEST_F(ViolationRuleTest, WarnsOnce) {
    endAt("route_design");
    EXPECT_EQ(ruled("route_design", "report_timing_summary", "cmd -warn_on_violation -file x"),
              "cmd -warn_on_violation -file x");
}

TEST_F(ViolationRuleTest, LeavesTheSwitchOfTheUserAlone) {
    endAt("route_design");
    EXPECT_EQ(createReportCommand(add("route_design", "report_timing_summary",
                                      {text("MORE_OPTIONS", "-warn_on_violation")})),
              "report_timing_summary -warn_on_violation -file top_timing_summary_routed.rpt");
}

TEST_F(ViolationRuleTest, ConcernsTimingSummariesOfRoutingStepsOnly) {
    for (const char* id : {"place_design", "ROUTE_DESIGN", "init_design", "odd_step"}) {
        endAt(id);
        EXPECT_EQ(ruled(id, "report_timing_summary"), "cmd") << id;
    }
    endAt("route_design");
    EXPECT_EQ(ruled("route_design", "report_timing"), "cmd");
    EXPECT_EQ(ruled("route_design", "report_drc"), "cmd");
}

TEST_F(ReportRulesTest, NeedTheParameterOnWarningsForATimingSummary) {
    EXPECT_THROW(ruled("route_design", "report_timing_summary"), HEXDataException);
    EXPECT_THROW(ruled("post_route_phys_opt_design", "report_timing_summary"), HEXDataException);
}

TEST_F(ReportRulesTest, NeedTheParameterOnWarningsForNothingElse) {
    EXPECT_EQ(ruled("place_design", "report_timing_summary"), "cmd");
    EXPECT_EQ(ruled("route_design", "report_drc"), "cmd");
}

// Findings as messages -------------------------------------------------------

constexpr char kOptMessages[] = "project.runs.opt_design.defaultBehaviorAsMessages";
constexpr char kRouteMessages[] = "project.runs.route_design.defaultBehaviorAsMessages";

constexpr char kWrapped[] = "  set_param project.isImplRun true\n"
                            "  catch { cmd -messages  }\n"
                            "  set_param project.isImplRun false\n";

TEST_F(ReportRulesTest, MakeMessagesOfChecksBeforePlacement) {
    const TestParam messages(kOptMessages, true);
    EXPECT_EQ(ruled("opt_design", "report_drc"), kWrapped);
    EXPECT_EQ(ruled("opt_design", "report_methodology"), kWrapped);
    EXPECT_EQ(ruled("route_design", "report_drc"), "cmd");
    EXPECT_EQ(ruled("route_design", "report_methodology"), "cmd");
}

TEST_F(ReportRulesTest, MakeMessagesOfChecksBehindRouting) {
    const TestParam messages(kRouteMessages, true);
    EXPECT_EQ(ruled("route_design", "report_drc"), kWrapped);
    EXPECT_EQ(ruled("route_design", "report_methodology"), kWrapped);
    EXPECT_EQ(ruled("opt_design", "report_drc"), "cmd");
    EXPECT_EQ(ruled("opt_design", "report_methodology"), "cmd");
}

TEST_F(ReportRulesTest, MakeMessagesOfNothingWhereTheParametersAreOff) {
    EXPECT_EQ(ruled("opt_design", "report_drc"), "cmd");
    const TestParam opt(kOptMessages, false);
    const TestParam route(kRouteMessages, false);
    EXPECT_EQ(ruled("opt_design", "report_drc"), "cmd");
    EXPECT_EQ(ruled("route_design", "report_methodology"), "cmd");
}

TEST_F(ReportRulesTest, MakeMessagesOfNoOtherReport) {
    const TestParam opt(kOptMessages, true);
    const TestParam route(kRouteMessages, true);
    EXPECT_EQ(ruled("place_design", "report_drc"), "cmd");
    EXPECT_EQ(ruled("post_route_phys_opt_design", "report_drc"), "cmd");
    EXPECT_EQ(ruled("route_design", "report_power"), "cmd");
    EXPECT_EQ(ruled("ROUTE_DESIGN", "report_drc"), "cmd");
}

TEST_F(ReportRulesTest, WrapTheWholeCommand) {
    const TestParam messages(kRouteMessages, true);
    EXPECT_EQ(createReportCommand(add("route_design", "report_drc", {}, {text("pb")})),
              "  set_param project.isImplRun true\n"
              "  catch { report_drc -file top_drc_routed.rpt -pb top_drc_routed.pb -messages  }\n"
              "  set_param project.isImplRun false\n");
}

// All rules ------------------------------------------------------------------

TEST_F(ReportRulesTest, ChangeNothingButTheCommand) {
    const TestParam none("project.runs.noReportGeneration", true);
    HAXRReportConfig* const config = add("route_design", "report_drc", {}, {text("pb")});
    config->setReportFile("mine.rpt", false);
    m_run->dirtyCalls = 0;
    ruled(config, "cmd");
    EXPECT_EQ(config->getReportFile(), "mine.rpt");
    EXPECT_EQ(config->getFile("pb"), "mine.pb");
    EXPECT_TRUE(config->isEnabled());
    EXPECT_EQ(config->getState(), HAXRReportConfig::REPORT_NOT_GENERATED);
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(ReportRulesTest, LeaveAStrategyOfTheUserAlone) {
    useStrategy(HAXPTypes::FLOW_ENTIRE_DESIGN, "mine");
    const TestParam none("project.runs.noReportGeneration", true);
    const TestParam warn("project.enableWarnOnViolation", true);
    const TestParam messages(kRouteMessages, true);
    m_run->defaultLastStep = step("route_design");
    EXPECT_EQ(createReportCommand(add("route_design", "report_power")),
              "report_power -file route_report_power_0.rpt");
    EXPECT_EQ(createReportCommand(add("route_design", "report_drc")),
              "report_drc -file route_report_drc_0.rpt");
    EXPECT_EQ(createReportCommand(add("route_design", "report_timing_summary")),
              "report_timing_summary -file route_report_timing_summary_0.rpt");
}

TEST_F(ReportRulesTest, HoldForTheDefaultStrategyOfASynthesisToo) {
    useStrategy(HAXPTypes::FLOW_SYNTH, test::kDefaultSynthReports);
    const TestParam none("project.runs.noReportGeneration", true);
    EXPECT_EQ(createReportCommand(add("synth_design", "report_utilization")), "");
}

TEST_F(ReportRulesTest, NeedAReport) {
    EXPECT_EQ(thrownText<HEXAlgException>([this] { ruled(nullptr, "cmd"); }),
              "Report rules: null report");
}

}  // namespace
