// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/history/launchRecord.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "tests/unit/workbench/history/LaunchedProject.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/abandon.h"
#include "workbench/runFamily.h"
#include "workbench/runLock.h"

namespace {

using test::kLaunch;
using workbench::LaunchRecord;
using workbench::LaunchWay;
using workbench::StepRecord;

class LaunchRecordTest : public ::testing::Test {
protected:
    HAXPExpRun& run() const { return m_world.implementation(); }
    LaunchRecord record() const {
        return workbench::recordOf(m_world.project(), run()).value_or(LaunchRecord());
    }
    bool isThere() const { return workbench::recordOf(m_world.project(), run()).has_value(); }
    static std::vector<std::string> outcomes(const LaunchRecord& record) {
        std::vector<std::string> all;
        for (const StepRecord& step : record.steps)
            all.push_back(step.step + " " + step.outcome);
        return all;
    }
    void mark(const std::string& name) const {
        HUTFileUtils::rewriteFile(run().pathOf(name), "", false);
    }
    void unmark(const std::string& name) const { HUTFile(run().pathOf(name)).rm(); }

    test::LaunchedProject m_world;
};

TEST_F(LaunchRecordTest, IsNoneOfARunThatWasNeverLaunched) {
    EXPECT_FALSE(isThere());
    m_world.giveDir(run());
    m_world.lease(run(), "l1", kLaunch);
    EXPECT_FALSE(isThere());
}

TEST_F(LaunchRecordTest, IsNoneOfALaunchThatLeftNoLease) {
    m_world.finish(run(), "l1", kLaunch);
    unmark(workbench::kLeaseName);
    EXPECT_FALSE(isThere());
}

TEST_F(LaunchRecordTest, IsNoneWhileARunIsAtWork) {
    m_world.finish(run(), "l1", kLaunch);
    unmark(".ice40_bitstream.end.rst");
    const test::HeldRunLock lock(run().getDir());
    run().updateStatus();
    EXPECT_FALSE(isThere());
}

TEST_F(LaunchRecordTest, TellsWhatWasLaunchedAndWhatCameOfIt) {
    m_world.project().setFamilyOf(run(), {"night", "night_fast"});
    m_world.finish(run(), "l1", kLaunch);
    const LaunchRecord found = record();
    EXPECT_EQ(found.launch, "l1");
    EXPECT_EQ(found.run, "impl_1");
    EXPECT_EQ(found.flow, "impl");
    EXPECT_EQ(found.strategy, "Default");
    EXPECT_EQ(found.sweep, "night");
    EXPECT_EQ(found.family, "night_fast");
    EXPECT_EQ(found.place, "here");
    EXPECT_EQ(found.launched, kLaunch);
    EXPECT_EQ(found.outcome, "done");
}

TEST_F(LaunchRecordTest, TellsOfEveryStepWhenItBeganAndEnded) {
    m_world.finish(run(), "l1", kLaunch);
    m_world.bench().folder().touch("proj/runs/impl_1/.ice40_init.begin.rst", kLaunch + 2);
    m_world.bench().folder().touch("proj/runs/impl_1/.ice40_place.begin.rst", kLaunch + 5);
    m_world.bench().folder().touch("proj/runs/impl_1/.ice40_place.end.rst", kLaunch + 9);
    m_world.bench().folder().touch("proj/runs/impl_1/.ice40_bitstream.end.rst", 2000000000);
    run().setRunStatus(nullptr, 0);
    run().updateStatus();
    const LaunchRecord found = record();
    EXPECT_EQ(outcomes(found),
              (std::vector<std::string>{"init_design done", "place_design done",
                                        "route_design done", "write_bitstream done"}));
    EXPECT_EQ(found.steps[1].began, kLaunch + 5);
    EXPECT_EQ(found.steps[1].seconds, 4);
    EXPECT_EQ(found.began, kLaunch + 2);
    EXPECT_EQ(found.ended, 2000000000);
}

TEST_F(LaunchRecordTest, KeepsTheEstimateBesideTheResult) {
    m_world.giveDir(run());
    m_world.tell(run(), "place_design", 60, 2.5);
    m_world.tell(run(), "route_design", 48, 3.5);
    m_world.finish(run(), "l1", kLaunch);
    const LaunchRecord found = record();
    EXPECT_EQ(found.steps[1].figures.at("fmax_mhz"), 60);
    EXPECT_EQ(found.steps[1].figures.at("luts"), 40);
    EXPECT_EQ(found.steps[1].seconds, 2.5);
    EXPECT_EQ(found.steps[1].tool, "nextpnr-ice40 0.4");
    EXPECT_EQ(found.steps[2].figures.at("fmax_mhz"), 48);
    EXPECT_EQ(found.figures.at("fmax"), 48);
    EXPECT_EQ(found.figures.at("seconds"), 6);
}

TEST_F(LaunchRecordTest, TellsAStepKeptThatAnEarlierLaunchHadDone) {
    m_world.finish(run(), "l1", kLaunch);
    workbench::LaunchLease lease = workbench::makeLease();
    lease.id = "l2";
    lease.keptSteps = std::vector<std::string>{"ice40_init", "ice40_place"};
    workbench::writeLease(run().pathOf(workbench::kLeaseName), lease);
    run().setRunStatus(nullptr, 0);
    for (const char* step : {"ice40_route", "ice40_bitstream"}) {
        unmark(std::string(".") + step + ".end.rst");
        HUTFileUtils::rewriteFile(run().pathOf(std::string(".") + step + ".end.rst"),
                                  "launch: l2\n", false);
    }
    run().updateStatus();
    const LaunchRecord found = record();
    EXPECT_EQ(found.launch, "l2");
    EXPECT_EQ(outcomes(found),
              (std::vector<std::string>{"init_design kept", "place_design kept",
                                        "route_design done", "write_bitstream done"}));
    EXPECT_EQ(found.steps[0].seconds, 0);
    EXPECT_EQ(found.steps[0].began, 0);
    EXPECT_EQ(found.began, found.steps[2].began);
}

TEST_F(LaunchRecordTest, EndsWithTheStepThatFailed) {
    m_world.finish(run(), "l1", kLaunch);
    for (const char* step : {"ice40_route", "ice40_bitstream"})
        unmark(std::string(".") + step + ".end.rst");
    unmark(".ice40_bitstream.begin.rst");
    mark(".ice40_route.error.rst");
    run().setRunStatus(nullptr, 0);
    run().updateStatus();
    const LaunchRecord found = record();
    EXPECT_EQ(found.outcome, "failed");
    EXPECT_EQ(outcomes(found), (std::vector<std::string>{"init_design done", "place_design done",
                                                         "route_design failed"}));
}

TEST_F(LaunchRecordTest, TellsOfARunThatStoppedBetweenTwoSteps) {
    m_world.finish(run(), "l1", kLaunch);
    unmark(".ice40_bitstream.begin.rst");
    unmark(".ice40_bitstream.end.rst");
    mark(workbench::kRunLockName);
    run().setRunStatus(nullptr, 0);
    run().updateStatus();
    const LaunchRecord found = record();
    EXPECT_EQ(found.outcome, "stopped");
    EXPECT_EQ(found.steps.size(), 3U);
}

TEST_F(LaunchRecordTest, TellsOfARunThatARuleGaveUp) {
    m_world.finish(run(), "l1", kLaunch);
    unmark(".ice40_bitstream.begin.rst");
    unmark(".ice40_bitstream.end.rst");
    mark(workbench::kRunLockName);
    workbench::Abandonment abandonment;
    abandonment.rule = "fmax < 90% of best";
    abandonment.text = "it can't win";
    workbench::markAbandoned(run(), abandonment);
    run().setRunStatus(nullptr, 0);
    run().updateStatus();
    EXPECT_EQ(record().outcome, "abandoned");
}

TEST_F(LaunchRecordTest, HasTheOptionsOfTheLaunchThatAreNotAtTheirDefaults) {
    m_world.project().setOption(run(), "place_design.seed", "7");
    m_world.finish(run(), "l1", kLaunch);
    m_world.project().setOption(run(), "place_design.seed", "8");
    EXPECT_EQ(record().options, (std::map<std::string, std::string>{{"place_design.seed", "7"}}));
}

struct PlaceCase {
    const char* name;
    LaunchWay::Kind kind;
    const char* host;
    const char* place;
};

class LaunchPlaceTable : public LaunchRecordTest,
                         public ::testing::WithParamInterface<PlaceCase> {};

TEST_P(LaunchPlaceTable, IsTold) {
    m_world.finish(run(), "l1", kLaunch);
    LaunchWay way;
    way.kind = GetParam().kind;
    way.host = GetParam().host;
    way.command = "cmd";
    way.jobName = "job";
    m_world.lease(run(), "l1", kLaunch, way);
    EXPECT_EQ(record().place, GetParam().place);
}

INSTANTIATE_TEST_SUITE_P(Places, LaunchPlaceTable,
                         ::testing::Values(PlaceCase{"Here", LaunchWay::Kind::kHere, "", "here"},
                                           PlaceCase{"Host", LaunchWay::Kind::kHost, "n7", "n7"},
                                           PlaceCase{"Lsf", LaunchWay::Kind::kLsf, "", "lsf"},
                                           PlaceCase{"Sge", LaunchWay::Kind::kSge, "", "sge"}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
