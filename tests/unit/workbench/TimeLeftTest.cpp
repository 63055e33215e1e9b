// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/timeLeft.h"

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "runs/base/xperiment/HAXPFlow.h"
#include "tests/support/RunDir.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/toolProgress.h"

namespace {

using workbench::durationText;
using workbench::PlannedRun;
using workbench::secondsUntilAllEnd;
using workbench::stepSecondsLeft;
using workbench::ToolProgress;

ToolProgress known(double atLeast, double atMost) {
    return {true, atLeast, atLeast, atMost, "routing"};
}

TEST(StepSecondsLeftTest, IsNothingWithoutExperience) {
    EXPECT_EQ(stepSecondsLeft(std::nullopt, 3, known(0.5, 0.6)), std::nullopt);
    EXPECT_EQ(stepSecondsLeft(std::nullopt, 3, ToolProgress()), std::nullopt);
}

TEST(StepSecondsLeftTest, IsTheRestOfWhatIsUsualWithoutALog) {
    EXPECT_EQ(stepSecondsLeft(10, 4, ToolProgress()), 6);
}

TEST(StepSecondsLeftTest, IsNothingForAStepThatTakesLongerThanEverWithoutALog) {
    EXPECT_EQ(stepSecondsLeft(10, 10, ToolProgress()), std::nullopt);
    EXPECT_EQ(stepSecondsLeft(10, 30, known(0.2, 1)), std::nullopt);
}

TEST(StepSecondsLeftTest, StaysWithWhatIsUsualWhileTheLogAgrees) {
    EXPECT_DOUBLE_EQ(*stepSecondsLeft(10, 5, known(0.4, 0.6)), 5);
}

TEST(StepSecondsLeftTest, IsLessWhenTheLogIsFurther) {
    // 80 % within 4 s: by its own pace 5 s in all, by experience 10; 6 with four parts to one.
    EXPECT_DOUBLE_EQ(*stepSecondsLeft(10, 4, known(0.8, 0.9)), 2);
}

TEST(StepSecondsLeftTest, IsMoreWhenTheLogIsBehind) {
    // 50 % at most within 10 s: 20 in all by its own pace, 15 between the two.
    EXPECT_DOUBLE_EQ(*stepSecondsLeft(10, 10, known(0.4, 0.5)), 5);
}

TEST(StepSecondsLeftTest, IsNoneAtTheEnd) {
    EXPECT_EQ(stepSecondsLeft(10, 12, known(1, 1)), 0);
}

TEST(StepSecondsLeftTest, IsNeverBelow0) {
    for (const double elapsed : {0.0, 1.0, 9.0, 100.0}) {
        for (const double part : {0.0, 0.1, 0.9}) {
            const auto left = stepSecondsLeft(10, elapsed, known(part, part + 0.1));
            EXPECT_GE(left.value_or(0), 0) << elapsed << " " << part;
        }
    }
    EXPECT_EQ(stepSecondsLeft(10, 0, known(0, 1)), 10);
    EXPECT_EQ(stepSecondsLeft(0, 0, ToolProgress()), std::nullopt);
}

PlannedRun waiting(std::optional<double> seconds, std::optional<std::size_t> after = {}) {
    return {seconds, false, after};
}

PlannedRun running(std::optional<double> seconds) {
    return {seconds, true, {}};
}

TEST(SecondsUntilAllEndTest, IsNoneForNoRun) {
    EXPECT_EQ(secondsUntilAllEnd({}, 2), 0);
}

TEST(SecondsUntilAllEndTest, IsThatOfTheLastOneWhenAllAreAtWork) {
    EXPECT_EQ(secondsUntilAllEnd({running(5), running(9), running(2)}, 1), 9);
}

TEST(SecondsUntilAllEndTest, LetsWhatWaitsBeginWhenASlotIsFree) {
    EXPECT_EQ(secondsUntilAllEnd({running(5), running(9), waiting(10)}, 2), 15);
    EXPECT_EQ(secondsUntilAllEnd({waiting(4), waiting(4), waiting(4)}, 2), 8);
    EXPECT_EQ(secondsUntilAllEnd({waiting(4), waiting(4), waiting(4)}, 1), 12);
    EXPECT_EQ(secondsUntilAllEnd({waiting(4), waiting(4), waiting(4)}, 9), 4);
}

TEST(SecondsUntilAllEndTest, LetsRunsAtWorkKeepMoreSlotsThanThereAre) {
    EXPECT_EQ(secondsUntilAllEnd({running(5), running(9), waiting(10)}, 1), 19);
}

TEST(SecondsUntilAllEndTest, LetsARunWaitForItsSynthesis) {
    EXPECT_EQ(secondsUntilAllEnd({running(5), waiting(10, 0)}, 2), 15);
    EXPECT_EQ(secondsUntilAllEnd({running(5), waiting(10, 0), waiting(7)}, 2), 15);
    EXPECT_EQ(secondsUntilAllEnd({waiting(5), waiting(10, 0), waiting(7)}, 1), 22);
}

TEST(SecondsUntilAllEndTest, IsNothingWhenOneIsntKnown) {
    EXPECT_EQ(secondsUntilAllEnd({running(5), waiting(std::nullopt)}, 2), std::nullopt);
    EXPECT_EQ(secondsUntilAllEnd({running(std::nullopt)}, 2), std::nullopt);
}

TEST(SecondsUntilAllEndTest, EndsForRunsThatWaitForEachOther) {
    EXPECT_EQ(secondsUntilAllEnd({waiting(5, 1), waiting(5, 0), running(3)}, 2), 3);
    EXPECT_EQ(secondsUntilAllEnd({waiting(5, 9)}, 0), 5);
}

TEST(SecondsUntilAllEndTest, PlansAThousandRuns) {
    EXPECT_EQ(secondsUntilAllEnd(std::vector<PlannedRun>(1000, waiting(2)), 10), 200);
}

TEST(DurationTextTest, HasMinutesAndHours) {
    EXPECT_EQ(durationText(0), "0:00");
    EXPECT_EQ(durationText(7.4), "0:07");
    EXPECT_EQ(durationText(59.6), "1:00");
    EXPECT_EQ(durationText(250), "4:10");
    EXPECT_EQ(durationText(3753), "1:02:33");
    EXPECT_EQ(durationText(200000), "55:33:20");
    EXPECT_EQ(durationText(-3), "0:00");
}

/// An implementation that was launched, with what its steps usually take.
class RunSecondsLeftTest : public ::testing::Test {
protected:
    RunSecondsLeftTest() : m_run(m_bench.makeRun(test::TestBench::implementation())) {
        m_run->setRunDir(m_dir.path(), false);
        m_run->setRunMode(HAXPExpRun::kLaunched);
        m_run->getInfo().setLaunch(1000, "bitstream");
    }

    std::optional<double> left(const ToolProgress& progress = {}) {
        m_run->updateStatus();
        return workbench::runSecondsLeft(
            *m_run, progress, [this](const HAXPExpRun&, const std::string& step) {
                const auto found = m_usual.find(step);
                return found == m_usual.end() ? std::nullopt : std::optional<double>(found->second);
            });
    }

    test::TestBench m_bench;
    test::RunDir m_dir;
    std::unique_ptr<HAXPExpRun> m_run;
    std::map<std::string, double> m_usual{
        {"init_design", 1}, {"place_design", 10}, {"route_design", 20}, {"write_bitstream", 2}};
};

TEST_F(RunSecondsLeftTest, IsAllOfItBeforeTheFirstStep) {
    EXPECT_EQ(left(), 33);
}

TEST_F(RunSecondsLeftTest, LeavesOutWhatIsDone) {
    m_dir.mark(".ice40_init.begin.rst", test::TestBench::handleText());
    m_dir.mark(".ice40_init.end.rst");
    EXPECT_EQ(left(), 32);
}

TEST_F(RunSecondsLeftTest, IsNothingWhenALaterStepIsntKnown) {
    m_usual.erase("write_bitstream");
    EXPECT_EQ(left(), std::nullopt);
}

}  // namespace
