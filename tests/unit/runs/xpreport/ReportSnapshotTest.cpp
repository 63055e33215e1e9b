// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/errors/HEXAlgException.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "tests/unit/runs/xpreport/reportCommandFixture.h"

namespace {

using reportConfigUtil::createReportStrategySnapshot;
using test::drained;
using test::Ids;
using test::reports::flag;
using test::reports::number;
using test::reports::optionOf;
using test::reports::setNumber;
using test::reports::text;
using test::reports::valueOf;

/// The catalogue has "report_drc" in the versions 1.0 and 1.2, and "report_io".
class ReportSnapshotTest : public test::ReportCommandFixture {
protected:
    static void SetUpTestSuite() {
        if (s_isFilled)
            return;
        HAXRReportSpecMgr* const catalogue = HAXRReportSpecMgr::getGlobal();
        catalogue->addReportSpec(
            test::reports::makeReport("report_drc", {number("paths", 1)}, {1, 0}).release());
        auto latest =
            test::reports::makeReport("report_drc", {number("paths", 2), flag("added")}, {1, 2});
        latest->setOutputOptions(test::reports::makeGroup({text("xml")}).release());
        catalogue->addReportSpec(latest.release());
        catalogue->addReportSpec(test::reports::makeReport("report_io").release());
        catalogue->populateLatestSpecs();
        s_isFilled = true;
    }

    struct Delete {
        void operator()(HAXRReportStrategy* strategy) const {
            strategy->nukeSteps();
            delete strategy;
        }
    };
    using Snapshot = std::unique_ptr<HAXRReportStrategy, Delete>;

    Snapshot snapshot() const { return Snapshot(createReportStrategySnapshot(m_run.get())); }
    /// The reports as "step name", in order.
    static Ids reportsOf(const HAXRReportStrategy& strategy) {
        Ids lines;
        for (const std::string& stepId : drained(strategy.createFlowStepIter())) {
            for (const HAXRReportSpec* spec : drained(strategy.createReportSpecIter(stepId)))
                lines.push_back(stepId + " " + spec->getName());
        }
        return lines;
    }
    /// The only report of the snapshot.
    static const HAXRReportSpec& onlyReport(const HAXRReportStrategy& strategy) {
        const auto specs = drained(strategy.createReportSpecIter("route_design"));
        EXPECT_EQ(specs.size(), 1U);
        return *specs.at(0);
    }

    static bool s_isFilled;
};

bool ReportSnapshotTest::s_isFilled = false;

TEST_F(ReportSnapshotTest, IsNullForNoRun) {
    EXPECT_EQ(createReportStrategySnapshot(nullptr), nullptr);
}

TEST_F(ReportSnapshotTest, IsNullForARunWithoutAStrategy) {
    test::TestRun bare("impl_2", m_flow.get());
    bare.setStrategy_(nullptr);
    EXPECT_EQ(createReportStrategySnapshot(&bare), nullptr);
}

TEST_F(ReportSnapshotTest, IsATemporaryStrategyOfTheFlowOfTheRun) {
    const Snapshot made = snapshot();
    EXPECT_EQ(made->getName(), "tmp-report-strategy");
    EXPECT_EQ(made->getFlow(), m_flow.get());
    EXPECT_TRUE(made->isUserDefined());
    EXPECT_EQ(made->stepCount(), 0);
}

TEST_F(ReportSnapshotTest, HasTheReportsInOrder) {
    add("route_design", "report_io");
    add("place_design", "report_io");
    add("route_design", "report_drc");
    add("route_design", "report_drc");
    EXPECT_EQ(reportsOf(*snapshot()), (Ids{"place_design report_io", "route_design report_io",
                                           "route_design report_drc", "route_design report_drc"}));
}

TEST_F(ReportSnapshotTest, LeavesOutStaticReports) {
    addStatic("route_design", "implementation_log");
    add("route_design", "report_io");
    EXPECT_EQ(reportsOf(*snapshot()), (Ids{"route_design report_io"}));
}

TEST_F(ReportSnapshotTest, HasDisabledReportsToo) {
    add("route_design", "report_io")->setEnabled(false, false);
    EXPECT_EQ(reportsOf(*snapshot()), (Ids{"route_design report_io"}));
}

TEST_F(ReportSnapshotTest, HasTheOptionsAndValuesOfTheReport) {
    HAXRReportConfig* const config = add("route_design", "report_drc", {number("paths", 10)});
    setNumber(config->getOptions(), "paths", 20);
    const Snapshot made = snapshot();
    const HATOptGroup* const options = onlyReport(*made).getOptions();
    EXPECT_EQ(test::reports::namesOf(options), (Ids{"paths"}));
    EXPECT_EQ(valueOf(options, "paths"), "20");
    EXPECT_FALSE(optionOf(options, "paths")->isReadOnly());
    EXPECT_EQ(options->getOptGrpPrettyDisplayName(), "report_drc");
}

TEST_F(ReportSnapshotTest, HasTheOutputsOfTheReport) {
    HAXRReportConfig* const config = add("route_design", "report_drc", {}, {text("pb")});
    config->setReportFile("a.rpt", false);
    const Snapshot made = snapshot();
    const HATOptGroup* const outputs = onlyReport(*made).getOutputOptions();
    EXPECT_EQ(test::reports::namesOf(outputs), (Ids{"pb"}));
    EXPECT_EQ(valueOf(outputs, "pb"), "a.pb");
    EXPECT_TRUE(optionOf(outputs, "pb")->isReadOnly());
}

TEST_F(ReportSnapshotTest, HasNoOutputsWhereTheReportHasNone) {
    add("route_design", "report_drc");
    EXPECT_EQ(onlyReport(*snapshot()).getOutputOptions(), nullptr);
}

TEST_F(ReportSnapshotTest, HasTheLatestVersionOfTheCatalogue) {
    add("route_design", "report_drc");
    EXPECT_EQ(onlyReport(*snapshot()).getVersion(), (VersionInfo{1, 2}));
}

TEST_F(ReportSnapshotTest, SharesNothingWithTheReport) {
    HAXRReportConfig* const config = add("route_design", "report_drc", {number("paths", 10)});
    const Snapshot made = snapshot();
    setNumber(onlyReport(*made).getOptions(), "paths", 30);
    EXPECT_EQ(valueOf(config->getOptions(), "paths"), "10");
    setNumber(config->getOptions(), "paths", 20);
    EXPECT_EQ(valueOf(onlyReport(*made).getOptions(), "paths"), "30");
}

TEST_F(ReportSnapshotTest, TakesAReportThatTheCatalogueLacksAsItIs) {
    HAXRReportConfig* const config =
        add("route_design", "report_mine_io", {number("paths", 10)}, {text("pb")});
    setNumber(config->getOptions(), "paths", 20);
    const Snapshot made = snapshot();
    const HAXRReportSpec& spec = onlyReport(*made);
    EXPECT_EQ(spec.getName(), "report_mine_io");
    EXPECT_EQ(spec.getShortDescription(), config->getShortDesc());
    EXPECT_EQ(spec.getDisplayName(), config->getSpecDisplayName());
    EXPECT_EQ(spec.getVersion(), config->getVersion());
    EXPECT_EQ(valueOf(spec.getOptions(), "paths"), "20");
    EXPECT_EQ(test::reports::namesOf(spec.getOutputOptions()), (Ids{"pb"}));
    m_expectedMessages = {"runs WARNING 36-372(report_mine_io)"};
}

TEST_F(ReportSnapshotTest, DiffersNotFromAStrategyWithTheSameReports) {
    m_strategy.add("route_design", "report_drc");
    m_strategy.add("place_design", "report_io");
    apply();
    EXPECT_FALSE(snapshot()->differsFrom(&m_strategy));
    setNumber(report("impl_1_route_report_drc_0")->getOptions(), "paths", 99);
    EXPECT_TRUE(snapshot()->differsFrom(&m_strategy));
}

TEST_F(ReportSnapshotTest, LeavesTheRunAsItIs) {
    add("route_design", "report_drc");
    m_run->dirtyCalls = 0;
    snapshot();
    EXPECT_EQ(m_run->dirtyCalls, 0);
    EXPECT_EQ(m_run->getReportStrategyName(), "mine");
}

}  // namespace
