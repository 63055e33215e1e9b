// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPFlow.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXDataException.h"
#include "runs/base/xperiment/HAXPDataMgr.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "runs/base/xperiment/HAXPFlowType.h"
#include "tests/support/TestFlowStep.h"
#include "tests/support/drain.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xperiment/sampleUuid.h"

using test::drain;
using test::kUuid;
using test::TestFlowStep;
using test::thrownText;

namespace {

constexpr const char* kOtherUuid = "01234567-89ab-cdef-0123-000000000000";

std::vector<std::string> idsOf(HSTFwdIter<HAXPFlowStep*>* ownedIter) {
    std::vector<std::string> ids;
    for (const HAXPFlowStep* step : drain(ownedIter))
        ids.push_back(step->getFlowStepId());
    return ids;
}

using Ids = std::vector<std::string>;

/// A data manager that says when it goes.
class NotingDataMgr : public HAXPDataMgr {
public:
    explicit NotingDataMgr(std::vector<std::string>& log) : m_log(log) {}
    ~NotingDataMgr() override { m_log.emplace_back("data mgr"); }

protected:
    void exportData_(HAXPExpRunBase*, HAXPLaunchOptions*, HDGUIStatus&) override {}

private:
    std::vector<std::string>& m_log;
};

/// The flow "My Flow" without steps.
class FlowTest : public ::testing::Test {
protected:
    TestFlowStep* addDefault(const std::string& word) {
        return add_(word, &HAXPFlow::addDefaultFlowStep);
    }
    TestFlowStep* addOptional(const std::string& word) {
        return add_(word, &HAXPFlow::addOptionalFlowStep);
    }
    TestFlowStep* addPlain(const std::string& word) { return add_(word, &HAXPFlow::addFlowStep); }

    /// What was destroyed; outlives the flow.
    std::vector<std::string> m_log;
    HAXPFlow m_flow{"My Flow", "2026", "my_flow"};

private:
    TestFlowStep* add_(const std::string& word, void (HAXPFlow::*operation)(HAXPFlowStep*)) {
        auto step = std::make_unique<TestFlowStep>(word);
        (m_flow.*operation)(step.get());
        return step.release();
    }
};

TEST_F(FlowTest, HasItsDefaults) {
    EXPECT_EQ(m_flow.getName(), "My Flow");
    EXPECT_EQ(m_flow.getVersion(), "2026");
    EXPECT_EQ(m_flow.getFlowId(), "my_flow");
    EXPECT_EQ(m_flow.getFlowScript(), "");
    EXPECT_EQ(m_flow.getDataMgr(), nullptr);
    EXPECT_FALSE(m_flow.isLegacy());
    EXPECT_TRUE(m_flow.isVisible());
    EXPECT_FALSE(m_flow.isLaunchedLocally());
}

TEST_F(FlowTest, KeepsWhatIsSet) {
    m_flow.setFlowScript("flow.tcl");
    m_flow.setLegacy(true);
    m_flow.setVisible(false);
    m_flow.setLaunchedLocally(true);
    EXPECT_EQ(m_flow.getFlowScript(), "flow.tcl");
    EXPECT_TRUE(m_flow.isLegacy());
    EXPECT_FALSE(m_flow.isVisible());
    EXPECT_TRUE(m_flow.isLaunchedLocally());
}

TEST_F(FlowTest, HasUnderscoresForTheBlanksInItsQueueString) {
    EXPECT_EQ(m_flow.getQueStr(), "My_Flow");
    EXPECT_EQ(m_flow.getQueueMarkerName(), ".My_Flow.queue.rst");
    EXPECT_EQ(HAXPFlow("  a b\tc-D ", "", "").getQueStr(), "__a_b\tc-D_");
}

TEST_F(FlowTest, IsEnabledAlsoWhenLegacy) {
    EXPECT_TRUE(m_flow.isEnabled());
    m_flow.setLegacy(true);
    EXPECT_TRUE(m_flow.isEnabled());
}

TEST_F(FlowTest, IsDisabledWhenLegacyAndCalledQsy) {
    HAXPFlow qsy("QSY", "1", "other");
    EXPECT_TRUE(qsy.isEnabled());
    qsy.setLegacy(true);
    EXPECT_FALSE(qsy.isEnabled());
}

TEST_F(FlowTest, IsEnabledWhenOnlyItsIdIsQsy) {
    HAXPFlow flow("qsy", "1", "QSY");
    flow.setLegacy(true);
    EXPECT_TRUE(flow.isEnabled());
}

TEST_F(FlowTest, IsEmptyAtFirst) {
    EXPECT_EQ(m_flow.defaultFlowStepCount(), 0);
    EXPECT_EQ(m_flow.optionalFlowStepCount(), 0);
    EXPECT_TRUE(drain(m_flow.createDefaultFlowStepIter()).empty());
    EXPECT_TRUE(drain(m_flow.createOptionalFlowStepIter()).empty());
    EXPECT_TRUE(drain(m_flow.createAllFlowStepIter()).empty());
}

TEST_F(FlowTest, ListsStepsInOrderOfAddition) {
    addDefault("synth");
    addOptional("power");
    addPlain("check");
    addDefault("place");
    EXPECT_EQ(idsOf(m_flow.createAllFlowStepIter()), (Ids{"synth", "power", "check", "place"}));
    EXPECT_EQ(idsOf(m_flow.createDefaultFlowStepIter()), (Ids{"synth", "place"}));
    EXPECT_EQ(idsOf(m_flow.createOptionalFlowStepIter()), Ids{"power"});
    EXPECT_EQ(m_flow.defaultFlowStepCount(), 2);
    EXPECT_EQ(m_flow.optionalFlowStepCount(), 1);
}

TEST_F(FlowTest, LetsACallerDropAnIteratorHalfWay) {
    addDefault("synth");
    addDefault("place");
    const std::unique_ptr<HSTFwdIter<HAXPFlowStep*>> steps(m_flow.createAllFlowStepIter());
    EXPECT_EQ(steps->next()->getFlowStepId(), "synth");
    EXPECT_TRUE(steps->hasNext());
}

TEST_F(FlowTest, MakesOnlyOptionalStepsOptional) {
    EXPECT_FALSE(addDefault("synth")->isOptional());
    EXPECT_TRUE(addOptional("power")->isOptional());
    EXPECT_FALSE(addPlain("check")->isOptional());
}

TEST_F(FlowTest, ConfiguresOptionsThenReportsThenSourceFilterOnce) {
    EXPECT_EQ(addDefault("synth")->calls, (Ids{"options", "reports", "filter"}));
}

TEST_F(FlowTest, TakesAStepOnlyWhenItIsConfigured) {
    auto step = std::make_unique<TestFlowStep>("synth");
    step->onConfigReports = [this](TestFlowStep& self) { EXPECT_FALSE(m_flow.contains(&self)); };
    m_flow.addFlowStep(step.get());
    EXPECT_TRUE(m_flow.contains(step.release()));
}

TEST_F(FlowTest, RefusesASecondStepWithOneId) {
    TestFlowStep* first = addDefault("synth");
    TestFlowStep second("Other", "other", "other", "synth", "");
    for (const auto operation :
         {&HAXPFlow::addDefaultFlowStep, &HAXPFlow::addOptionalFlowStep, &HAXPFlow::addFlowStep})
        EXPECT_EQ(thrownText<HEXAlgException>([&] { (m_flow.*operation)(&second); }),
                  "FlowStepId needs to be unique in flow");
    EXPECT_EQ(drain(m_flow.createAllFlowStepIter()), std::vector<HAXPFlowStep*>{first});
    EXPECT_EQ(m_flow.defaultFlowStepCount(), 1);
    EXPECT_EQ(m_flow.optionalFlowStepCount(), 0);
    EXPECT_TRUE(second.calls.empty());
    EXPECT_FALSE(second.isOptional());
}

TEST_F(FlowTest, TakesIdsThatDifferInCase) {
    addDefault("synth");
    addDefault("Synth");
    EXPECT_EQ(m_flow.defaultFlowStepCount(), 2);
}

TEST_F(FlowTest, RefusesANullStep) {
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_flow.addDefaultFlowStep(nullptr); }),
              "NULL Step");
    EXPECT_EQ(m_flow.defaultFlowStepCount(), 0);
}

TEST_F(FlowTest, StaysOutOfAStepThatWasConfiguredBefore) {
    TestFlowStep step("synth");
    step.configOptionsSpec();
    EXPECT_EQ(thrownText<HEXDataException>([&] { m_flow.addDefaultFlowStep(&step); }),
              "Options already configured for flow step");
    EXPECT_FALSE(m_flow.contains(&step));
    EXPECT_EQ(m_flow.defaultFlowStepCount(), 0);
}

TEST_F(FlowTest, LeavesAStepPartlyConfiguredWhoseReportsFail) {
    TestFlowStep step("synth");
    step.onConfigReports = [](TestFlowStep& self) { self.addReportSpec(nullptr); };
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_flow.addFlowStep(&step); }), "NULL report spec");
    EXPECT_FALSE(m_flow.contains(&step));
    EXPECT_NE(step.getOptionsSpec(), nullptr);
    EXPECT_EQ(step.calls, (Ids{"options", "reports"}));
}

TEST_F(FlowTest, ContainsItsOwnStepsAlone) {
    const TestFlowStep* step = addPlain("synth");
    const TestFlowStep stranger("synth");
    EXPECT_TRUE(m_flow.contains(step));
    EXPECT_FALSE(m_flow.contains(&stranger));
    EXPECT_FALSE(m_flow.contains(nullptr));
}

TEST_F(FlowTest, FindsAStepByItsExactId) {
    addDefault("synth");
    HAXPFlowStep* place = addOptional("place");
    EXPECT_EQ(m_flow.getFlowStepForFSId("place"), place);
    EXPECT_EQ(m_flow.getFlowStepForFSId("Place"), nullptr);
    EXPECT_EQ(m_flow.getFlowStepForFSId(""), nullptr);
}

TEST_F(FlowTest, FindsTheEarlierOfTwoStepsWithOneAbbreviation) {
    HAXPFlowStep* first = addDefault("place");
    addDefault("later")->setAbbrev("place");
    EXPECT_EQ(m_flow.getFlowStepForAbbrev("place", false), first);
}

TEST_F(FlowTest, ComparesAbbreviationsWithCaseUnlessTold) {
    HAXPFlowStep* place = addDefault("Place");
    EXPECT_EQ(m_flow.getFlowStepForAbbrev("pLACE", true), place);
    EXPECT_EQ(m_flow.getFlowStepForAbbrev("pLACE", false), nullptr);
    EXPECT_EQ(m_flow.getFlowStepForAbbrev("route", true), nullptr);
}

TEST_F(FlowTest, SupportsTheFlowTypesAdded) {
    m_flow.addSupportedFlowType(HAXPTypes::FLOW_SYNTH);
    m_flow.addSupportedFlowType(HAXPTypes::FLOW_SYNTH);
    EXPECT_TRUE(m_flow.supportsFlowType(HAXPTypes::FLOW_SYNTH));
    EXPECT_FALSE(m_flow.supportsFlowType(HAXPTypes::FLOW_ENTIRE_DESIGN));
}

TEST_F(FlowTest, SupportsUniversalFlowTypesByUuidAlone) {
    m_flow.addSupportedFlowType(HAXPFlowType(kUuid, "Synthesis"));
    EXPECT_TRUE(m_flow.supportsFlowType(HAXPFlowType(kUuid, "another name")));
    EXPECT_FALSE(m_flow.supportsFlowType(HAXPFlowType(kOtherUuid, "Synthesis")));
}

TEST_F(FlowTest, KeepsBothFormsOfFlowTypesApart) {
    m_flow.addSupportedFlowType(HAXPTypes::FLOW_SYNTH);
    EXPECT_FALSE(m_flow.supportsFlowType(HAXPFlowType(kUuid, "Ft3:Synth")));
    HAXPFlow other("other", "", "");
    other.addSupportedFlowType(HAXPFlowType(kUuid, "Ft3:Synth"));
    EXPECT_FALSE(other.supportsFlowType(HAXPTypes::FLOW_SYNTH));
}

TEST_F(FlowTest, KeepsTheLastStatisticsFileOfAType) {
    m_flow.addRQSStatReportFile(HAXPTypes::FILE_ROUTE_STATUS, "old.rpt");
    m_flow.addRQSStatReportFile(HAXPTypes::FILE_OPT_DRC, "drc.rpt");
    m_flow.addRQSStatReportFile(HAXPTypes::FILE_ROUTE_STATUS, "new.rpt");
    HAXPFlow::StatReportFiles files = {{HAXPTypes::FILE_HWDEF, "stale"}};
    m_flow.getRQSStatReportFiles(files);
    EXPECT_EQ(files, (HAXPFlow::StatReportFiles{{HAXPTypes::FILE_OPT_DRC, "drc.rpt"},
                                                {HAXPTypes::FILE_ROUTE_STATUS, "new.rpt"}}));
}

TEST_F(FlowTest, EmptiesTheCallersMapWithoutStatisticsFiles) {
    HAXPFlow::StatReportFiles files = {{HAXPTypes::FILE_HWDEF, "stale"}};
    m_flow.getRQSStatReportFiles(files);
    EXPECT_TRUE(files.empty());
}

TEST_F(FlowTest, TakesOneDataManager) {
    auto* first = new NotingDataMgr(m_log);
    m_flow.setDataMgr(first);
    NotingDataMgr second(m_log);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_flow.setDataMgr(&second); }),
              "data mgr already set for flow");
    EXPECT_EQ(m_flow.getDataMgr(), first);
}

TEST_F(FlowTest, DestroysTheDataManagerAndThenEveryStep) {
    {
        HAXPFlow flow("flow", "", "flow");
        for (const char* id : {"synth", "place"}) {
            auto step = std::make_unique<TestFlowStep>(id);
            step->onDestruction = [this, id] { m_log.emplace_back(id); };
            flow.addDefaultFlowStep(step.get());
            static_cast<void>(step.release());
        }
        flow.setDataMgr(new NotingDataMgr(m_log));
    }
    ASSERT_EQ(m_log.size(), 3U);
    EXPECT_EQ(m_log[0], "data mgr");
}

}  // namespace
