// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/runTimes.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/shell/page/launchTime.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/launchLease.h"

namespace {

using test::kLaunch;

/// An implementation that is done; its steps take ten seconds each, one behind the other.
class RunTimesTest : public ::testing::Test {
protected:
    RunTimesTest() : m_run(m_bench.makeRun(test::TestBench::implementation())) {
        m_run->setRunDir(m_bench.path("run"), false);
        m_bench.finish(*m_run, kLaunch);
        long at = kLaunch + 5;
        for (const char* step : {"ice40_init", "ice40_place", "ice40_route", "ice40_bitstream"}) {
            touch(step, "begin", at);
            touch(step, "end", at + 10);
            at += 10;
        }
    }

    void touch(const std::string& step, const std::string& kind, long time) const {
        m_bench.folder().touch("run/." + step + "." + kind + ".rst", time);
    }
    void lease(const workbench::LaunchLease& lease) const {
        workbench::writeLease(m_run->pathOf(workbench::kLeaseName), lease);
    }
    shell::RunTimes times(double now = kLaunch + 100) const {
        m_run->updateStatus();
        return shell::runTimes(*m_run, now);
    }

    test::TestBench m_bench;
    std::unique_ptr<HAXPExpRun> m_run;
};

TEST_F(RunTimesTest, StepsTakeWhatLiesBetweenTheirMarkers) {
    const shell::RunTimes all = times();
    ASSERT_EQ(all.steps.size(), 4U);
    EXPECT_EQ(all.steps[1].id, "place_design");
    EXPECT_EQ(all.steps[1].status, "done");
    EXPECT_EQ(all.steps[1].began, kLaunch + 15);
    EXPECT_EQ(all.steps[1].seconds, 10);
}

TEST_F(RunTimesTest, ALaunchGoesFromItsFirstBeginToItsLastEnd) {
    const shell::RunTimes all = times();
    EXPECT_EQ(all.began, kLaunch + 5);
    EXPECT_EQ(all.ended, kLaunch + 45);
    EXPECT_FALSE(all.queued);
    EXPECT_EQ(all.place, "");
}

TEST_F(RunTimesTest, TheLeaseTellsWhenAndWhereItWasLaunched) {
    workbench::LaunchLease made = workbench::makeLease();
    made.time = kLaunch;
    lease(made);
    EXPECT_EQ(times().queued, kLaunch);
    EXPECT_EQ(times().place, "here");
    made.way.kind = workbench::LaunchWay::Kind::kHost;
    made.way.host = "node7";
    lease(made);
    EXPECT_EQ(times().place, "node7");
    made.way.kind = workbench::LaunchWay::Kind::kSge;
    lease(made);
    EXPECT_EQ(times().place, "sge");
}

TEST_F(RunTimesTest, WhatAnEarlierLaunchDidIsNotOfThisOne) {
    workbench::LaunchLease made = workbench::makeLease();
    made.time = kLaunch + 20;
    made.keptSteps = {{"ice40_init", "ice40_place"}};
    lease(made);
    const shell::RunTimes all = times();
    EXPECT_TRUE(all.steps[0].isKept);
    EXPECT_TRUE(all.steps[1].isKept);
    EXPECT_FALSE(all.steps[2].isKept);
    EXPECT_EQ(all.began, kLaunch + 25);
}

TEST_F(RunTimesTest, AStepThatWasNotBegunHasNoTime) {
    m_bench.folder().unmark("run/.ice40_bitstream.begin.rst");
    m_bench.folder().unmark("run/.ice40_bitstream.end.rst");
    const shell::RunTimes all = times();
    EXPECT_EQ(all.steps[3].status, "not started");
    EXPECT_FALSE(all.steps[3].began);
    EXPECT_FALSE(all.steps[3].seconds);
}

TEST_F(RunTimesTest, AClockThatWasPutBackMakesNoNegativeTime) {
    touch("ice40_place", "end", kLaunch);
    const shell::RunTimes all = times();
    EXPECT_EQ(all.steps[1].status, "done");
    EXPECT_FALSE(all.steps[1].seconds);
}

TEST_F(RunTimesTest, ARunningStepIsToldByTheTimeOfDay) {
    const test::HeldRunLock lock(m_run->getDir());
    m_bench.folder().unmark("run/.ice40_bitstream.end.rst");
    const shell::RunTimes all = times(kLaunch + 50.5);
    EXPECT_EQ(all.steps[3].status, "running");
    EXPECT_EQ(all.steps[3].seconds, 15.5);
    EXPECT_FALSE(all.ended);
}

}  // namespace
