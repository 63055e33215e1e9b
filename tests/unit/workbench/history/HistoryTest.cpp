// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/history/History.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "tests/support/MessageRecorder.h"
#include "tests/unit/workbench/history/LaunchedProject.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/history/launchLines.h"
#include "workbench/openFlows.h"
#include "workbench/ownFolder.h"
#include "workbench/runFamily.h"
#include "workbench/runReset.h"

namespace {

using test::kLaunch;
using test::LaunchedProject;
using workbench::History;
using workbench::LaunchRecord;

class HistoryTest : public ::testing::Test {
protected:
    HAXPExpRun& run() const { return m_world.implementation(); }
    Project& project() const { return m_world.project(); }
    HAXPExpRun& another(const std::string& name, const std::string& strategy = "Default") const {
        HAXPExpRun& made =
            project().createRun(name, *OpenFlows::getImplementation(), strategy, "synth_1");
        m_world.giveDir(made);
        return made;
    }
    /// A line of `run` in which place_design took `seconds`.
    void remember(const HAXPExpRun& run, const std::string& id, long time, double seconds) const {
        LaunchRecord record = LaunchedProject::record(run.getName(), id, time);
        record.strategy = run.getStrategy()->getName();
        record.family = project().getFamilyOf(run).name;
        record.steps[0].seconds = seconds;
        workbench::addLaunch(run.pathOf(workbench::kLaunchesName), record);
    }
    static std::vector<std::string> ids(const std::vector<LaunchRecord>& records) {
        std::vector<std::string> all;
        for (const LaunchRecord& record : records)
            all.push_back(record.run + "/" + record.launch);
        return all;
    }
    using Ids = std::vector<std::string>;

    test::MessageRecorder m_messages;
    LaunchedProject m_world;
};

TEST_F(HistoryTest, IsEmptyBeforeTheFirstLaunch) {
    EXPECT_TRUE(History(project()).launches().empty());
}

TEST_F(HistoryTest, RemembersALaunchOnce) {
    m_world.finish(run(), "l1", kLaunch);
    History history(project());
    EXPECT_TRUE(history.record(run()));
    EXPECT_FALSE(history.record(run()));
    EXPECT_FALSE(History(project()).record(run()));
    EXPECT_EQ(ids(history.launches()), Ids{"impl_1/l1"});
    EXPECT_EQ(ids(History(project()).launches("impl_1")), Ids{"impl_1/l1"});
    EXPECT_TRUE(history.launches("synth_1").empty());
}

TEST_F(HistoryTest, RemembersNothingOfARunThatIsNotLaunched) {
    EXPECT_FALSE(History(project()).record(run()));
}

TEST_F(HistoryTest, TellsTheLaunchesOfAllRunsOldestFirst) {
    m_world.finish(m_world.synthesis(), "s1", kLaunch + 10);
    m_world.finish(run(), "l1", kLaunch);
    workbench::recordLaunch(project(), m_world.synthesis());
    workbench::recordLaunch(project(), run());
    EXPECT_EQ(ids(History(project()).launches()), (Ids{"impl_1/l1", "synth_1/s1"}));
}

TEST_F(HistoryTest, KeepsTheLaunchesBefore) {
    m_world.finish(run(), "l1", kLaunch);
    workbench::recordLaunch(project(), run());
    m_world.finish(run(), "l2", kLaunch + 10);
    workbench::recordLaunch(project(), run());
    EXPECT_EQ(ids(History(project()).launches()), (Ids{"impl_1/l1", "impl_1/l2"}));
}

TEST_F(HistoryTest, KeepsTheOrderOfLaunchesOfOneSecond) {
    m_world.giveDir(run());
    for (const char* id : {"z", "a", "m"})
        remember(run(), id, kLaunch, 1);
    EXPECT_EQ(ids(History(project()).launches()), (Ids{"impl_1/z", "impl_1/a", "impl_1/m"}));
}

TEST_F(HistoryTest, HasTheLaunchesOfRunsThatAreGone) {
    workbench::makeOwnFolder(project().getDir());
    workbench::addLaunch(workbench::removedLaunchesPath(project()),
                         LaunchedProject::record("old", "o1", kLaunch));
    EXPECT_EQ(ids(History(project()).launches("old")), Ids{"old/o1"});
}

TEST_F(HistoryTest, CountsALaunchOnceThatStandsInTwoFiles) {
    m_world.giveDir(run());
    remember(run(), "l1", kLaunch, 1);
    workbench::makeOwnFolder(project().getDir());
    workbench::addLaunch(workbench::removedLaunchesPath(project()),
                         LaunchedProject::record("impl_1", "l1", kLaunch));
    EXPECT_EQ(ids(History(project()).launches()), Ids{"impl_1/l1"});
}

TEST_F(HistoryTest, IsTheSameWithoutAFolderThatCanBeWritten) {
    HUTFileUtils::replaceFile(workbench::ownFolder(project().getDir()), "");
    m_world.finish(run(), "l1", kLaunch);
    History history(project());
    EXPECT_TRUE(history.record(run()));
    EXPECT_EQ(ids(history.launches()), Ids{"impl_1/l1"});
}

TEST_F(HistoryTest, IsToldByWhoeverSeesTheEndOfALaunch) {
    m_world.finish(run(), "l1", kLaunch);
    workbench::rememberEnds(project(), project().getRuns());
    EXPECT_EQ(ids(History(project()).launches()), Ids{"impl_1/l1"});
    m_world.finish(run(), "l2", kLaunch);
    workbench::rememberEnds(project(), project().getRuns());
    EXPECT_EQ(ids(History(project()).launches()), (Ids{"impl_1/l1", "impl_1/l2"}));
}

TEST_F(HistoryTest, KnowsWhichEndsAreNotYetRemembered) {
    EXPECT_TRUE(workbench::notYetRemembered(project().getRuns()).empty());
    m_world.finish(run(), "l1", kLaunch);
    EXPECT_EQ(workbench::notYetRemembered(project().getRuns()), std::vector<HAXPExpRun*>{&run()});
    workbench::rememberEnds(project(), project().getRuns());
    EXPECT_EQ(ids(History(project()).launches()), Ids{"impl_1/l1"});
}

TEST_F(HistoryTest, IsLeftAloneByWhoeverMayNotWriteIt) {
    m_world.finish(run(), "l1", kLaunch);
    HUTFile(run().pathOf(workbench::kLaunchesName)).mkDir();
    workbench::rememberEnds(project(), project().getRuns());
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(HistoryTest, KeepsTheLaunchThatAResetTakesBack) {
    m_world.finish(run(), "l1", kLaunch);
    HSTVector<std::string> errors;
    ASSERT_TRUE(workbench::resetRun(project(), run(), "", true, errors));
    EXPECT_EQ(ids(History(project()).launches()), Ids{"impl_1/l1"});
    EXPECT_FALSE(workbench::recordLaunch(project(), run()));
}

TEST_F(HistoryTest, RefusesARunDirectoryThatIsALink) {
    m_world.finish(run(), "l1", kLaunch);
    const std::string dir = run().getDir();
    ASSERT_EQ(::rename(dir.c_str(), (dir + ".away").c_str()), 0);
    ASSERT_EQ(::symlink((dir + ".away").c_str(), dir.c_str()), 0);
    EXPECT_THROW(workbench::recordLaunch(project(), run()), HEXUserException);
    EXPECT_FALSE(HUTFile::exists(dir + ".away/" + workbench::kLaunchesName));
}

TEST_F(HistoryTest, TellsOfTheRunsThatCannotBeWrittenAndRemembersTheOthers) {
    m_world.finish(m_world.synthesis(), "s1", kLaunch);
    m_world.finish(run(), "l1", kLaunch);
    HUTFile(run().pathOf(workbench::kLaunchesName)).mkDir();
    History(project()).recordAll();
    EXPECT_TRUE(m_messages.has("60-214"));
    m_messages.clear();
    EXPECT_EQ(ids(History(project()).launches()), Ids{"synth_1/s1"});
}

TEST_F(HistoryTest, ExpectsNothingOfAStepThatWasNeverDone) {
    EXPECT_EQ(History(project()).expectedSeconds(run(), "place_design"), std::nullopt);
}

TEST_F(HistoryTest, ExpectsTheMedianOfTheRunsLastTenTimes) {
    m_world.giveDir(run());
    remember(run(), "old", kLaunch, 1000);
    for (int i = 1; i <= 10; ++i)
        remember(run(), "l" + std::to_string(i), kLaunch + 100 * i, i);
    EXPECT_EQ(History(project()).expectedSeconds(run(), "place_design"), 5.5);
}

TEST_F(HistoryTest, ExpectsOfANewRunWhatItsFamilyTookElseItsStrategyElseItsFlow) {
    HAXPExpRun& relative = another("relative");
    HAXPExpRun& alike = another("alike");
    HAXPExpRun& other = another("other");
    m_world.giveDir(run());
    const auto expected = [this] {
        return History(project()).expectedSeconds(run(), "place_design");
    };
    LaunchRecord record = LaunchedProject::record("other", "o", kLaunch);
    record.strategy = "Another";
    record.steps[0].seconds = 3;
    workbench::addLaunch(other.pathOf(workbench::kLaunchesName), record);
    EXPECT_EQ(expected(), 3);
    remember(alike, "a", kLaunch, 5);
    EXPECT_EQ(expected(), 5);
    project().setFamilyOf(relative, {"s", "f"});
    project().setFamilyOf(run(), {"s", "f"});
    remember(relative, "r", kLaunch, 7);
    EXPECT_EQ(expected(), 7);
    remember(run(), "own", kLaunch, 9);
    EXPECT_EQ(expected(), 9);
}

TEST_F(HistoryTest, ExpectsNothingByStepsThatFailedOrWereKept) {
    m_world.giveDir(run());
    LaunchRecord record = LaunchedProject::record("impl_1", "l1", kLaunch);
    record.steps[0].outcome = "kept";
    record.steps[1].outcome = "failed";
    workbench::addLaunch(run().pathOf(workbench::kLaunchesName), record);
    const History history(project());
    EXPECT_EQ(history.expectedSeconds(run(), "place_design"), std::nullopt);
    EXPECT_EQ(history.expectedSeconds(run(), "route_design"), std::nullopt);
}

TEST_F(HistoryTest, TellsHowEstimatesTurnedOut) {
    m_world.giveDir(run());
    LaunchRecord record = LaunchedProject::record("impl_1", "l1", kLaunch);
    const auto add = [&](const std::string& id, double estimate, double result) {
        record.launch = id;
        record.launched += 10;
        record.steps[0].figures["fmax_mhz"] = estimate;
        record.steps[1].figures["fmax_mhz"] = result;
        workbench::addLaunch(run().pathOf(workbench::kLaunchesName), record);
    };
    add("l1", 50, 45);
    add("l2", 0, 45);
    add("l3", 40, 44);
    record.steps[1].outcome = "kept";
    add("l4", 10, 20);
    record.steps.pop_back();
    record.launch = "l5";
    workbench::addLaunch(run().pathOf(workbench::kLaunchesName), record);
    const History history(project());
    EXPECT_EQ(history.estimateRatios("impl", "fmax_mhz", "place_design", "route_design"),
              (std::vector<double>{0.9, 1.1}));
    EXPECT_TRUE(
        history.estimateRatios("synth", "fmax_mhz", "place_design", "route_design").empty());
}

}  // namespace
