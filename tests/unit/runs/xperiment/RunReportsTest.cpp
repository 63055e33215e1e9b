// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <utility>

#include "environment/errors/HEXAlgException.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStratDB.h"
#include "tests/unit/runs/xperiment/runReportFixture.h"

namespace {

namespace reports = test::reports;

using test::drained;
using test::Ids;
using test::kDone;
using test::kNotStarted;
using test::kRunning;
using test::OwnReportStrategy;
using test::thrownText;

const std::string kDefaultReports = "Tarnel Implementation Default Reports";

class RunReportsTest : public test::RunReportFixture {};

// The run's report strategy --------------------------------------------------

TEST_F(RunReportsTest, NamesItsReportStrategy) {
    EXPECT_EQ(m_run->getReportStrategyName(), "");
    m_run->setReportStrategyName("mine");
    EXPECT_EQ(m_run->getReportStrategyName(), "mine");
    EXPECT_EQ(m_run->getReportStrategy()->getName(), "mine");
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(RunReportsTest, HasAnEmptyNameWithoutAReportStrategy) {
    m_run->setReportStrategy_(nullptr);
    m_run->setReportStrategyName("mine");
    EXPECT_EQ(m_run->getReportStrategyName(), "");
    EXPECT_EQ(m_run->getReportStrategy(), nullptr);
}

TEST_F(RunReportsTest, KeepsTheReportStrategyThatItIsGivenAgain) {
    HAXRReportStrategy* const own = m_run->getReportStrategy();
    m_run->setReportStrategy_(own);
    m_run->setReportStrategyName("mine");
    EXPECT_EQ(m_run->getReportStrategy(), own);
    EXPECT_EQ(own->getName(), "mine");
}

TEST_F(RunReportsTest, DropsItsReportStrategyAndTellsNobody) {
    /// Hears of every change of a report strategy.
    class Recorder final : public HAXRReportStratDB {
    public:
        int changes = 0;

    protected:
        void strategyModifiedCallback_(HAXRReportStrategy*) override { ++changes; }
    };
    Recorder recorder;
    m_strategy.add("route_design", "report_drc");
    apply();
    m_run->getReportStrategy()->attach(&recorder);
    m_run->setReportStrategyName("heard");
    EXPECT_EQ(recorder.changes, 1);
    m_run.reset();
    EXPECT_EQ(recorder.changes, 1);
}

TEST_F(RunReportsTest, IsMadeWithTheReportsOfItsReportStrategy) {
    m_strategy.add("route_design", "report_drc");
    const HAXPStrategy strategy(m_flow.get());
    const test::TestRun run("impl_2", &strategy, &m_strategy);
    EXPECT_EQ(run.getReportStrategyName(), "mine");
    EXPECT_EQ(run.getTotalConfigCount(), 1);
}

// Applying a report strategy -------------------------------------------------

TEST_F(RunReportsTest, RefusesToApplyNull) {
    m_strategy.add("route_design", "report_drc");
    apply();
    const int dirtyBefore = m_run->dirtyCalls;
    EXPECT_EQ(thrownText<HEXAlgException>([this] { m_run->applyReportStrategy(nullptr); }),
              "Can't apply null report strategy to run");
    EXPECT_EQ(m_run->getTotalConfigCount(), 1);
    EXPECT_EQ(m_run->dirtyCalls, dirtyBefore);
}

TEST_F(RunReportsTest, RefusesToApplyOneWithoutItsOwn) {
    m_run->setReportStrategy_(nullptr);
    create("r", "route_design");
    EXPECT_EQ(thrownText<HEXAlgException>([this] { apply(); }), "ExpRun: no report strategy");
    EXPECT_EQ(reportNames(), (Ids{"r"}));
    EXPECT_EQ(m_run->statusUpdates, 0);
}

TEST_F(RunReportsTest, ChangesNothingWhenItsOwnIsPredefined) {
    create("r", "route_design");
    m_run->getReportStrategy()->setUserDefined(false);
    EXPECT_EQ(thrownText<HEXAlgException>([this] { apply(); }),
              "can't alter a pre-defined report strategy");
    EXPECT_EQ(reportNames(), (Ids{"r"}));
    EXPECT_EQ(m_run->getReportStrategyName(), "");
}

TEST_F(RunReportsTest, CopiesTheStrategyIntoItsOwn) {
    const HAXRReportStrategy* const own = m_run->getReportStrategy();
    HAXRReportSpec* const spec = m_strategy.add("route_design", "report_drc");
    apply();
    EXPECT_EQ(m_run->getReportStrategy(), own);
    EXPECT_EQ(own->getName(), "mine");
    EXPECT_EQ(own->getDescription(), "What I look at");
    EXPECT_FALSE(own->differsFrom(&m_strategy));
    EXPECT_NE(own->findReportSpec("route_design", "report_drc"), spec);
    EXPECT_NE(m_run->getDescription(), "What I look at");
}

TEST_F(RunReportsTest, MakesAReportForEachOfTheStrategy) {
    m_strategy.add("route_design", "report_drc");
    m_strategy.add("place_design", "report_io");
    m_strategy.add("place_design", "report_drc");
    apply();
    EXPECT_EQ(reportNames(), (Ids{"impl_1_place_report_io_0", "impl_1_place_report_drc_0",
                                  "impl_1_route_report_drc_0"}));
    const HAXRReportConfig* const drc = report("impl_1_place_report_drc_0");
    EXPECT_EQ(drc->getAssociatedStepName(), "place_design");
    EXPECT_EQ(drc->getAssociatedRun(), m_run.get());
    EXPECT_EQ(drc->getReportSpec(),
              m_run->getReportStrategy()->findReportSpec("place_design", "report_drc"));
    EXPECT_EQ(drc->getDisplayName(), "DRC");
    EXPECT_FALSE(drc->isStaticReport());
    EXPECT_TRUE(drc->isEnabled());
    EXPECT_FALSE(drc->isPreGenerationRequired());
}

TEST_F(RunReportsTest, NumbersReportsOfOneKindInAStep) {
    m_strategy.add("route_design", "report_drc");
    m_strategy.add("route_design", "report_drc")->setDisplayName("Second", false);
    apply();
    EXPECT_EQ(reportNames(), (Ids{"impl_1_route_report_drc_0", "impl_1_route_report_drc_1"}));
    EXPECT_EQ(report("impl_1_route_report_drc_1")->getDisplayName(), "Second");
}

TEST_F(RunReportsTest, PassesOverStepsThatItLacksInSilence) {
    HAXPStrategy shorter(m_flow.get());
    shorter.removeStep("opt_design");
    m_run->applyStrategy(&shorter);
    m_strategy.add("opt_design", "report_drc");
    m_strategy.add("route_design", "report_drc");
    apply();
    EXPECT_EQ(reportNames(), (Ids{"impl_1_route_report_drc_0"}));
}

TEST_F(RunReportsTest, LeavesStepsWithoutReportsThatTheStrategyDoesNotName) {
    create("r", "place_design");
    m_strategy.add("route_design", "report_drc");
    apply();
    EXPECT_EQ(step("place_design")->getConfigCount(), 0);
    EXPECT_EQ(step("route_design")->getConfigCount(), 1);
}

TEST_F(RunReportsTest, ReplacesTheReportsAndLeavesTheirFiles) {
    m_strategy.add("route_design", "report_drc");
    apply();
    generate(report("impl_1_route_report_drc_0"), "drc.rpt");
    apply();
    EXPECT_EQ(reportNames(), (Ids{"impl_1_route_report_drc_0"}));
    EXPECT_EQ(report("impl_1_route_report_drc_0")->getReportFile(), "");
    EXPECT_TRUE(m_dir.has("drc.rpt"));
}

TEST_F(RunReportsTest, UpdatesTheStatusOnceOverTheNewReports) {
    m_strategy.add("route_design", "report_drc");
    m_run->statusUpdates = 0;
    int seen = -1;
    m_run->onUpdateStatus = [&] { seen = m_run->getTotalConfigCount(); };
    apply();
    EXPECT_EQ(m_run->statusUpdates, 1);
    EXPECT_EQ(seen, 1);
}

TEST_F(RunReportsTest, IsDirtyByEachReportAndOnceMore) {
    m_strategy.add("route_design", "report_drc");
    m_strategy.add("place_design", "report_drc");
    apply();
    EXPECT_EQ(m_run->dirtyCalls, 3);
}

TEST_F(RunReportsTest, IsDirtyByAnEmptyStrategyToo) {
    create("r", "route_design");
    apply();
    EXPECT_EQ(m_run->getTotalConfigCount(), 0);
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(RunReportsTest, AppliesItsOwnReportStrategy) {
    m_strategy.add("route_design", "report_drc", 20);
    apply();
    m_run->applyReportStrategy(m_run->getReportStrategy());
    EXPECT_EQ(reportNames(), (Ids{"impl_1_route_report_drc_0"}));
    EXPECT_EQ(reports::valueOf(report("impl_1_route_report_drc_0")->getOptions(), "paths"), "20");
    EXPECT_EQ(report("impl_1_route_report_drc_0")->getReportSpec()->getName(), "report_drc");
    EXPECT_EQ(m_run->getReportStrategyName(), "mine");
}

TEST_F(RunReportsTest, LosesItsReportsWithItsSteps) {
    m_strategy.add("route_design", "report_drc");
    apply();
    const HAXPStrategy strategy(m_flow.get());
    m_run->applyStrategy(&strategy);
    EXPECT_EQ(m_run->getTotalConfigCount(), 0);
    EXPECT_FALSE(m_run->getReportStrategy()->differsFrom(&m_strategy)) << "it can be applied again";
}

// The default strategy for implementation ------------------------------------

class DefaultReportsTest : public test::RunReportFixture {
protected:
    DefaultReportsTest()
        : RunReportFixture(steps({"place_design", "route_design", "post_route_phys_opt_design"})) {
        m_strategy.setName(kDefaultReports);
    }

    bool isOn(const std::string& name) const { return report(name)->isEnabled(); }
};

TEST_F(DefaultReportsTest, SwitchesTimingOffButForRoutedDesigns) {
    for (const char* const id : {"place_design", "route_design", "post_route_phys_opt_design"})
        m_strategy.add(id, "report_timing_summary");
    m_strategy.add("place_design", "report_io");
    apply();
    EXPECT_FALSE(isOn("impl_1_place_report_timing_summary_0"));
    EXPECT_TRUE(isOn("impl_1_route_report_timing_summary_0"));
    EXPECT_TRUE(isOn("impl_1_post_route_phys_opt_report_timing_summary_0"));
    EXPECT_TRUE(isOn("impl_1_place_report_io_0"));
    EXPECT_EQ(m_run->getTotalConfigCount(), 4);
}

TEST_F(DefaultReportsTest, ReportsReuseTwiceAtPlacementAndSwitchedOff) {
    m_strategy.add("place_design", "report_incremental_reuse");
    m_strategy.add("route_design", "report_incremental_reuse");
    apply();
    EXPECT_EQ(reportNames(), (Ids{"impl_1_place_report_incremental_reuse_0",
                                  "impl_1_place_report_incremental_reuse_1",
                                  "impl_1_route_report_incremental_reuse_0"}));
    const HAXRReportConfig* const before = report("impl_1_place_report_incremental_reuse_0");
    const HAXRReportConfig* const after = report("impl_1_place_report_incremental_reuse_1");
    EXPECT_FALSE(before->isEnabled());
    EXPECT_TRUE(before->isPreGenerationRequired());
    EXPECT_FALSE(after->isEnabled());
    EXPECT_FALSE(after->isPreGenerationRequired());
    EXPECT_EQ(after->getReportSpec(), before->getReportSpec());
    EXPECT_EQ(after->getDisplayName(), before->getDisplayName());
    EXPECT_TRUE(isOn("impl_1_route_report_incremental_reuse_0"));
    EXPECT_EQ(m_run->dirtyCalls, 4) << "three reports, and the strategy";
}

TEST_F(DefaultReportsTest, LeavesStrategiesOfAnotherNameAsTheyAre) {
    m_strategy.setName("tarnel implementation default reports");
    m_strategy.add("place_design", "report_timing_summary");
    m_strategy.add("place_design", "report_incremental_reuse");
    apply();
    EXPECT_EQ(m_run->getTotalConfigCount(), 2);
    EXPECT_TRUE(isOn("impl_1_place_report_timing_summary_0"));
    EXPECT_TRUE(isOn("impl_1_place_report_incremental_reuse_0"));
    EXPECT_FALSE(report("impl_1_place_report_incremental_reuse_0")->isPreGenerationRequired());
}

// Making a report ------------------------------------------------------------

TEST_F(RunReportsTest, MakesAReportAsTold) {
    HAXRReportConfig* const first = create("r_0", "route_design", "Shown");
    HAXRReportConfig* const second = create("r_1", "route_design");
    EXPECT_EQ(drained(step("route_design")->createReportConfigIter()),
              (std::vector<HAXRReportConfig*>{first, second}));
    EXPECT_EQ(first->getName(), "r_0");
    EXPECT_EQ(first->getAssociatedStepName(), "route_design");
    EXPECT_EQ(first->getAssociatedRun(), m_run.get());
    EXPECT_EQ(first->getReportSpec(), m_spec.get());
    EXPECT_EQ(first->getDisplayName(), "Shown");
    EXPECT_EQ(second->getDisplayName(), "DRC");
}

TEST_F(RunReportsTest, MakesAReportOfAStepOfExactlyThisId) {
    EXPECT_EQ(create("r", "Route_Design"), nullptr);
    EXPECT_EQ(create("r", "phys_opt_design"), nullptr);
    EXPECT_EQ(m_run->getTotalConfigCount(), 0);
}

TEST_F(RunReportsTest, IsDirtyByAReportWhenAsked) {
    m_run->createReportConfig("a", "route_design", m_spec.get(), "", false);
    EXPECT_EQ(m_run->dirtyCalls, 0);
    m_run->createReportConfig("b", "route_design", m_spec.get(), "", true);
    EXPECT_EQ(m_run->dirtyCalls, 1);
    m_run->createReportConfig("c", step("route_design"), m_spec.get(), "", true);
    EXPECT_EQ(m_run->dirtyCalls, 2);
}

TEST_F(RunReportsTest, IsDirtyByAChangeOfAReportsOptions) {
    HAXRReportConfig* const config = create("r", "route_design");
    reports::setNumber(config->getOptions(), "paths", 20);
    EXPECT_EQ(m_run->optionCalls, 1);
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(RunReportsTest, LooksForTheFilesOfANewReport) {
    m_dir.mark(".r.fail");
    EXPECT_EQ(create("r", "route_design")->getState(), HAXRReportConfig::REPORT_FAILED);
    EXPECT_EQ(create("s", "route_design")->getState(), HAXRReportConfig::REPORT_NOT_GENERATED);
}

TEST_F(RunReportsTest, MakesAStaticReportOfOptionsWithoutAPrettyName) {
    HAXRReportSpec nameless("report_x", "", reports::makeGroup({}, "").release(), "");
    HAXRReportSpec bare("report_x", "", nullptr, "");
    EXPECT_TRUE(
        m_run->createReportConfig("a", "route_design", &nameless, "", false)->isStaticReport());
    EXPECT_FALSE(create("b", "route_design")->isStaticReport());
    HAXRReportConfig* const without =
        m_run->createReportConfig("c", "route_design", &bare, "", false);
    EXPECT_FALSE(without->isStaticReport());
    EXPECT_EQ(without->getOptions(), nullptr);
}

TEST_F(RunReportsTest, RefusesAReportOfNoStep) {
    EXPECT_EQ(
        m_run->createReportConfig("r", static_cast<HAXPExpRunStep*>(nullptr), nullptr, "", true),
        nullptr);
    EXPECT_EQ(m_run->dirtyCalls, 0);
    m_expectedMessages = {"runs ERROR 36-376()"};
}

TEST_F(RunReportsTest, RefusesAReportWithoutASpecification) {
    create("r", "route_design");
    EXPECT_EQ(m_run->createReportConfig("r", step("route_design"), nullptr, "", true), nullptr);
    EXPECT_EQ(m_run->createReportConfig("r", "route_design", nullptr, "", true), nullptr);
    EXPECT_EQ(m_run->dirtyCalls, 0);
    m_expectedMessages = {"runs ERROR 36-369()", "runs ERROR 36-369()"};
}

TEST_F(RunReportsTest, RefusesASecondReportOfOneName) {
    create("r", "route_design");
    EXPECT_EQ(create("r", "route_design"), nullptr);
    EXPECT_EQ(create("r", "place_design"), nullptr);
    EXPECT_NE(create("s", "place_design"), nullptr);
    EXPECT_EQ(reportNames(), (Ids{"s", "r"}));
    m_expectedMessages = {"runs ERROR 36-371(r)", "runs ERROR 36-371(r)"};
}

// Static reports -------------------------------------------------------------

class StaticReportsTest : public test::RunReportFixture {
protected:
    StaticReportsTest()
        : RunReportFixture(steps({"synth_design", "route_design", "write_bitstream"})) {}

    void support(HAXPTypes::FlowType type) { m_flow->addSupportedFlowType(type); }
};

TEST_F(StaticReportsTest, MakesOneThatIsOnlyTracked) {
    m_run->createStaticReport("route_design", "implementation_log", "The log");
    const HAXRReportConfig* const log = report("impl_1_route_implementation_log_0");
    EXPECT_TRUE(log->isStaticReport());
    EXPECT_EQ(log->getDisplayName(), "implementation_log");
    EXPECT_EQ(log->getShortDesc(), "The log");
    EXPECT_EQ(log->getSpecName(), "");
    EXPECT_EQ(log->getAssociatedStepName(), "route_design");
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(StaticReportsTest, KeepsTheSpecificationsOfThoseThatAreLeft) {
    m_run->createStaticReport("route_design", "a", "First");
    m_run->createStaticReport("route_design", "b", "Second");
    m_run->deleteReportConfig(report("impl_1_route_a_0"));
    EXPECT_EQ(report("impl_1_route_b_0")->getReportSpec()->getShortDescription(), "Second");
    m_run->deleteAllReportConfigs(false);
    m_run->createStaticReport("route_design", "c", "Third");
    EXPECT_EQ(report("impl_1_route_c_0")->getReportSpec()->getShortDescription(), "Third");
}

TEST_F(StaticReportsTest, MakesNoneOfAStepThatItLacks) {
    m_run->createStaticReport("opt_design", "opt_log", "The log");
    EXPECT_EQ(m_run->getTotalConfigCount(), 0);
}

TEST_F(StaticReportsTest, AddsThoseOfAnImplementation) {
    support(HAXPTypes::FLOW_ENTIRE_DESIGN);
    m_run->addStaticReports();
    EXPECT_EQ(reportNames(),
              (Ids{"impl_1_route_implementation_log_0", "impl_1_bitstream_report_sayline_0",
                   "impl_1_bitstream_implementation_log_0"}));
    EXPECT_EQ(report("impl_1_bitstream_report_sayline_0")->getShortDesc(), "Sayline Report");
    EXPECT_EQ(report("impl_1_route_implementation_log_0")->getShortDesc(),
              "Tarnel Implementation Log");
    EXPECT_EQ(report("impl_1_bitstream_implementation_log_0")->getShortDesc(),
              "Tarnel Implementation Log");
}

TEST_F(StaticReportsTest, AddsTheLogOfASynthesis) {
    support(HAXPTypes::FLOW_SYNTH);
    m_run->addStaticReports();
    EXPECT_EQ(reportNames(), (Ids{"impl_1_synth_synthesis_report_0"}));
    EXPECT_EQ(report("impl_1_synth_synthesis_report_0")->getShortDesc(), "Tarnel Synthesis Report");
}

TEST_F(StaticReportsTest, TakesAFlowOfBothKindsForAnImplementation) {
    support(HAXPTypes::FLOW_SYNTH);
    support(HAXPTypes::FLOW_ENTIRE_DESIGN);
    m_run->addStaticReports();
    EXPECT_EQ(step("synth_design")->getConfigCount(), 0);
    EXPECT_EQ(m_run->getTotalConfigCount(), 3);
}

TEST_F(StaticReportsTest, AddsNoneForOtherFlows) {
    support(HAXPTypes::FLOW_GENERIC);
    m_run->addStaticReports();
    EXPECT_EQ(m_run->getTotalConfigCount(), 0);
}

TEST_F(StaticReportsTest, AddsNoneWithoutAReportStrategyOrItsFlow) {
    support(HAXPTypes::FLOW_ENTIRE_DESIGN);
    m_run->setReportStrategy_(new HAXRReportStrategy(nullptr));
    m_run->addStaticReports();
    m_run->setReportStrategy_(nullptr);
    m_run->addStaticReports();
    EXPECT_EQ(m_run->getTotalConfigCount(), 0);
}

TEST_F(StaticReportsTest, ComeWithAReportStrategyBehindItsReports) {
    support(HAXPTypes::FLOW_ENTIRE_DESIGN);
    m_strategy.add("write_bitstream", "report_drc");
    apply();
    EXPECT_EQ(reportNames(),
              (Ids{"impl_1_route_implementation_log_0", "impl_1_bitstream_report_drc_0",
                   "impl_1_bitstream_report_sayline_0", "impl_1_bitstream_implementation_log_0"}));
    apply();
    EXPECT_EQ(m_run->getTotalConfigCount(), 4) << "each once";
}

// Deleting -------------------------------------------------------------------

TEST_F(RunReportsTest, DeletesAReportWithItsFile) {
    HAXRReportConfig* const config = create("r", "route_design");
    generate(config, "r.rpt");
    EXPECT_TRUE(m_run->deleteReportConfig(config));
    EXPECT_EQ(m_run->getTotalConfigCount(), 0);
    EXPECT_FALSE(m_dir.has("r.rpt"));
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(RunReportsTest, DeletesNoReportOfAStepThatItLacks) {
    HAXRReportConfig stranger("r", "Route_Design", m_spec.get(), m_run.get(), false, "");
    create("r", "route_design");
    EXPECT_FALSE(m_run->deleteReportConfig(&stranger));
    EXPECT_FALSE(m_run->deleteReportConfig(nullptr));
    EXPECT_EQ(m_run->getTotalConfigCount(), 1);
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(RunReportsTest, TellsOfAReportThatItsStepHasNot) {
    HAXRReportConfig stranger("r", "route_design", m_spec.get(), m_run.get(), false, "");
    EXPECT_FALSE(m_run->deleteReportConfig(&stranger));
    EXPECT_EQ(m_run->dirtyCalls, 0);
    m_expectedMessages = {"runs ERROR 36-370(r, route_design)"};
}

TEST_F(RunReportsTest, DeletesAllReportsAndLeavesTheirFiles) {
    generate(create("a", "route_design"), "a.rpt");
    create("b", "place_design");
    m_run->deleteAllReportConfigs(false);
    EXPECT_EQ(m_run->getTotalConfigCount(), 0);
    EXPECT_TRUE(m_dir.has("a.rpt"));
    EXPECT_EQ(m_run->dirtyCalls, 0);
    create("a", "route_design");
    create("b", "place_design");
    m_run->deleteAllReportConfigs(true);
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

// Telling them apart ---------------------------------------------------------

TEST_F(RunReportsTest, CountsTheReportsOfAllSteps) {
    EXPECT_EQ(m_run->getTotalConfigCount(), 0);
    create("a", "route_design");
    create("b", "route_design");
    create("c", "place_design");
    EXPECT_EQ(m_run->getTotalConfigCount(), 3);
}

TEST_F(RunReportsTest, KnowsWhichNamesAreTaken) {
    create("r", "place_design", "Shown")->setReportFile("r.rpt", false);
    EXPECT_FALSE(m_run->isUniqueReportConfigName("r"));
    EXPECT_FALSE(m_run->isUniqueReportConfigDisplayName("Shown"));
    EXPECT_FALSE(m_run->isUniqueReportFileName("r.rpt"));
    EXPECT_TRUE(m_run->isUniqueReportConfigName("R"));
    EXPECT_TRUE(m_run->isUniqueReportConfigDisplayName("shown"));
    EXPECT_TRUE(m_run->isUniqueReportFileName("R.rpt"));
    EXPECT_TRUE(m_run->isUniqueReportConfigName("Shown"));
    EXPECT_TRUE(m_run->isUniqueReportConfigDisplayName("r"));
    EXPECT_TRUE(m_run->isUniqueReportFileName("r"));
}

TEST_F(RunReportsTest, TakesAReportWithoutAFileForOneWithAnEmptyName) {
    EXPECT_TRUE(m_run->isUniqueReportFileName(""));
    create("r", "place_design");
    EXPECT_FALSE(m_run->isUniqueReportFileName(""));
}

TEST_F(RunReportsTest, RenamesItsReportsWithItself) {
    m_strategy.add("place_design", "report_drc");
    m_strategy.add("route_design", "report_drc");
    apply();
    create("own", "route_design");
    m_run->dirtyCalls = 0;
    m_run->renameRun("impl_22");
    EXPECT_EQ(reportNames(),
              (Ids{"impl_22_place_report_drc_0", "impl_22_route_report_drc_0", "own"}));
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

// The name of the settings that it has ---------------------------------------

/// A run with the reports of "mine", which the catalogue knows.
class SameReportsTest : public test::RunReportFixture {
public:
    ~SameReportsTest() noexcept override = default;

protected:
    SameReportsTest() : m_other(m_flow.get()) {
        static const bool s_filled = fillCatalogue();
        EXPECT_TRUE(s_filled);
        m_strategy.add("place_design", "report_drc");
        m_strategy.add("route_design", "report_io", 20);
        apply();
        m_run->dirtyCalls = 0;
        m_other.setName("other");
        m_other.setDescription("Of another");
        m_other.add("route_design", "report_io", 20);
    }

    static bool fillCatalogue() {
        HAXRReportSpecMgr* const catalogue = HAXRReportSpecMgr::getGlobal();
        for (const char* const name : {"report_drc", "report_io"})
            catalogue->addReportSpec(reports::makeReport(name).release());
        catalogue->populateLatestSpecs();
        return catalogue->find("report_io") != nullptr;
    }
    bool copyName() { return m_run->copyNameIfSameAsRunReportStrategy(&m_other); }

    OwnReportStrategy m_other;
};

TEST_F(SameReportsTest, TakesTheNameAlone) {
    m_other.add("place_design", "report_drc");
    EXPECT_TRUE(copyName());
    EXPECT_EQ(m_run->getReportStrategyName(), "other");
    EXPECT_EQ(m_run->getReportStrategy()->getDescription(), "What I look at");
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(SameReportsTest, LeavesTheNameWhenReportsDiffer) {
    EXPECT_FALSE(copyName());
    m_other.add("place_design", "report_drc", 99);
    EXPECT_FALSE(copyName());
    EXPECT_EQ(m_run->getReportStrategyName(), "mine");
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(SameReportsTest, ComparesTheReportsAsTheyAreNow) {
    m_other.add("place_design", "report_drc");
    HATOptGroup* const options = report("impl_1_place_report_drc_0")->getOptions();
    reports::setNumber(options, "paths", 11);
    EXPECT_FALSE(copyName());
    reports::setNumber(options, "paths", 10);
    EXPECT_TRUE(copyName());
}

TEST_F(SameReportsTest, LeavesStaticReportsOut) {
    m_other.add("place_design", "report_drc");
    m_run->createStaticReport("route_design", "implementation_log", "The log");
    EXPECT_TRUE(copyName());
}

TEST_F(SameReportsTest, DiffersFromNull) {
    EXPECT_FALSE(m_run->copyNameIfSameAsRunReportStrategy(nullptr));
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

// Status ---------------------------------------------------------------------

TEST_F(RunReportsTest, NeedsGenerationWhenAStepDoes) {
    EXPECT_FALSE(m_run->isReportGenerationNeeded());
    create("a", "place_design");
    create("b", "route_design");
    EXPECT_FALSE(m_run->isReportGenerationNeeded());
    m_run->setCode("route_design", kDone);
    EXPECT_TRUE(m_run->isReportGenerationNeeded());
    generate(report("b"), "b.rpt");
    EXPECT_FALSE(m_run->isReportGenerationNeeded());
}

TEST_F(RunReportsTest, FindsReportsOfAStepThatEnded) {
    launch();
    create("r", "route_design")->setReportFile("r.rpt", false);
    m_dir.mark("r.rpt");
    m_run->updateRun();
    EXPECT_EQ(report("r")->getState(), HAXRReportConfig::REPORT_NOT_GENERATED);
    markDone("route_design");
    m_run->updateRun();
    EXPECT_EQ(report("r")->getState(), HAXRReportConfig::REPORT_GENERATED);
    EXPECT_EQ(m_run->dirtyCalls, 0) << "the disk makes nothing dirty";
}

TEST_F(RunReportsTest, NeverResetsAReportByAPoll) {
    launch();
    generate(create("r", "route_design"), "r.rpt");
    m_run->updateRun();
    m_run->setRunMode(HAXPExpRunBase::kNotLaunched);
    m_run->updateRun();
    m_run->resetReports();
    EXPECT_TRUE(m_dir.has("r.rpt"));
    EXPECT_EQ(report("r")->getState(), HAXRReportConfig::REPORT_GENERATED);
}

TEST_F(RunReportsTest, TakesReportsForTheBitstreamUntilItsStepRan) {
    EXPECT_TRUE(m_run->canAddReport(step("write_bitstream")));
    for (const int code : {kRunning, kDone}) {
        m_run->setCode("write_bitstream", code);
        EXPECT_FALSE(m_run->canAddReport(step("write_bitstream"))) << code;
    }
    m_run->setCode("write_bitstream", kNotStarted);
    EXPECT_TRUE(m_run->canAddReport(step("write_bitstream")));
}

// Stale steps ----------------------------------------------------------------

class StaleStepsTest : public test::RunReportFixture {
protected:
    std::string staleOrOwn(const std::string& id) const {
        return test::TestRun::idOf(m_run->getFirstStaleOrOwnStep(id));
    }
    void makeStale(const std::string& id) const { step(id)->updateStaleReasonsForSwParamChange(); }
};

TEST_F(StaleStepsTest, AreSoughtUpToTheStepItself) {
    EXPECT_EQ(staleOrOwn("place_design"), "place_design");
    makeStale("route_design");
    EXPECT_EQ(staleOrOwn("place_design"), "place_design");
    makeStale("opt_design");
    EXPECT_EQ(staleOrOwn("place_design"), "opt_design");
    EXPECT_EQ(staleOrOwn("opt_design"), "opt_design");
    EXPECT_EQ(staleOrOwn("init_design"), "init_design");
    step("opt_design")->resetStaleReasons();
    EXPECT_EQ(staleOrOwn("place_design"), "place_design");
    EXPECT_EQ(staleOrOwn("write_bitstream"), "route_design");
    step("route_design")->removeStaleReason(HADAStaleReason::SS_SW_PARAM_CHANGED);
    EXPECT_EQ(staleOrOwn("write_bitstream"), "write_bitstream");
}

TEST_F(StaleStepsTest, AreSoughtWhateverTheCase) {
    EXPECT_EQ(staleOrOwn("PLACE_Design"), "place_design");
}

TEST_F(StaleStepsTest, AreSoughtInAllStepsForAnotherId) {
    EXPECT_EQ(staleOrOwn("program"), "none");
    makeStale("write_bitstream");
    EXPECT_EQ(staleOrOwn("program"), "write_bitstream");
}

TEST_F(StaleStepsTest, CountWhenDisabled) {
    m_run->setEnabled("opt_design", false);
    makeStale("opt_design");
    EXPECT_EQ(staleOrOwn("place_design"), "opt_design");
}

TEST_F(StaleStepsTest, FollowTheStepList) {
    makeStale("init_design");
    EXPECT_EQ(staleOrOwn("place_design"), "init_design");
    HAXPStrategy shorter(m_flow.get());
    shorter.removeStep("init_design");
    m_run->applyStrategy(&shorter);
    EXPECT_EQ(staleOrOwn("place_design"), "place_design");
    EXPECT_EQ(staleOrOwn("init_design"), "none");
    m_run->addStep(flowStep("init_design"), false, true);
    EXPECT_EQ(staleOrOwn("init_design"), "init_design");
    m_run->nukeSteps();
    EXPECT_EQ(staleOrOwn("place_design"), "none");
}

TEST_F(StaleStepsTest, ForgetAStepWhoseAddingFailed) {
    HAXPStrategy shorter(m_flow.get());
    shorter.removeStep("init_design");
    m_run->applyStrategy(&shorter);
    m_run->onUpdateStatus = [this] {
        EXPECT_EQ(staleOrOwn("init_design"), "init_design");
        throw std::runtime_error("no disk");
    };
    EXPECT_THROW(m_run->addStep(flowStep("init_design"), false, true), std::runtime_error);
    EXPECT_EQ(staleOrOwn("init_design"), "none");
}

TEST_F(StaleStepsTest, ShowInTheStateOfAReport) {
    generate(create("r", "route_design"), "r.rpt");
    EXPECT_FALSE(report("r")->isStale());
    makeStale("place_design");
    EXPECT_TRUE(report("r")->isStale());
    step("place_design")->resetStaleReasons();
    EXPECT_FALSE(report("r")->isStale());
    makeStale("write_bitstream");
    EXPECT_FALSE(report("r")->isStale());
}

}  // namespace
