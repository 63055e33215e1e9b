// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/LaunchQueue.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/errors/HEXError.h"
#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "runs/base/xperiment/HAXPLaunchOptions.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/launchLease.h"
#include "workbench/openFlows.h"
#include "workbench/places/HostPlace.h"

namespace {

using workbench::LaunchWay;

/// A queue that starts nothing: a run that it launches holds its lock and waits for the
/// test to end it.
class StillQueue : public LaunchQueue {
public:
    StillQueue(Project& project, const test::TestBench& bench, const HAXPLaunchOptions& options)
        : LaunchQueue(project, options), m_bench(bench) {}
    ~StillQueue() override = default;

    void refuse(const std::string& name) { m_refused = name; }
    void lose(const std::string& host) { m_lost.insert(host); }
    void end(HAXPExpRun& run, bool isGood) {
        // Without its lock, a run that isn't done has failed.
        if (isGood)
            m_bench.finish(run, kLaunchTime);
        m_locks.erase(&run);
    }
    /// The hosts in the order of the launches.
    std::string hosts;
    /// How many runs each array held.
    std::vector<std::size_t> arrays;
    std::vector<LaunchWay> ways;

protected:
    void launch_(HAXPExpRun& run, const LaunchWay& way) override {
        if (run.getName() == m_refused)
            throw HEXUserException(
                ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-54@%s", run.getName()));
        if (m_lost.count(way.host) > 0)
            throw workbench::HostError(ComMsgMgrInstance("workbench", ComMsgMgr::kError,
                                                         "@60-130@%s%s%s", run.getName(), way.host,
                                                         "it is lost"));
        ways.push_back(way);
        hosts += way.host + ' ';
        std::string dir;
        run.getRunDir(dir);
        if (dir.empty()) {
            dir = m_bench.path("proj/runs/" + run.getName());
            m_bench.folder().folder("proj/runs/" + run.getName());
            run.setRunDir(dir, false);
        }
        HUTFile(run.queueMarkerPath()).rm();
        run.setRunMode(HAXPExpRun::kLaunched);
        run.getInfo().setLaunch(kLaunchTime, "");
        m_locks[&run] = std::make_unique<test::HeldRunLock>(dir);
        run.updateStatus();
    }
    std::vector<RunLauncher::Refusal> launchTogether_(const Runs& runs,
                                                      const LaunchWay& way) override {
        for (HAXPExpRun* run : runs)
            launch_(*run, way);
        arrays.push_back(runs.size());
        return {};
    }

private:
    static constexpr long kLaunchTime = 2'000'000'000;
    const test::TestBench& m_bench;
    std::string m_refused;
    std::set<std::string> m_lost;
    std::map<const HAXPExpRun*, std::unique_ptr<test::HeldRunLock>> m_locks;
};

/// A project with a synthesis, two implementations that start from it, and a second
/// synthesis.
class LaunchQueueTest : public ::testing::Test {
protected:
    LaunchQueueTest()
        : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())),
          m_synth(m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "")),
          m_impl1(implementation("impl_1")), m_impl2(implementation("impl_2")),
          m_other(m_project->createRun("synth_2", *OpenFlows::getSynthesis(), "Default", "")) {
        m_project->save();
    }

    HAXPExpRun& implementation(const std::string& name) {
        return m_project->createRun(name, *OpenFlows::getImplementation(), "Default", "synth_1");
    }
    StillQueue& queue(int jobs) {
        m_options.setNumJobsSH(jobs);
        return queue();
    }
    StillQueue& queue() {
        m_queue = std::make_unique<StillQueue>(*m_project, m_bench, m_options);
        return *m_queue;
    }
    /// Such as "synth_1 started, impl_1 done".
    std::string advance() {
        static const char* const kWords[] = {"started", "done",       "failed", "left out",
                                             "refused", "taken back", "put off"};
        std::string text;
        for (const LaunchQueue::Event& event : m_queue->advance())
            text += (text.empty() ? "" : ", ") + event.run->getName() + ' ' + kWords[event.kind];
        return text;
    }
    static int codeOf(const HAXPExpRun& run) { return run.getStatus()->getCode(); }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    HAXPExpRun& m_synth;
    HAXPExpRun& m_impl1;
    HAXPExpRun& m_impl2;
    HAXPExpRun& m_other;
    HAXPLaunchOptions m_options;
    std::unique_ptr<StillQueue> m_queue;
};

TEST_F(LaunchQueueTest, StartsAsManyAsMayRunAtOnceInTheirOrder) {
    StillQueue& runs = queue(1);
    runs.add(m_synth);
    runs.add(m_other);
    EXPECT_EQ(advance(), "synth_1 started");
    EXPECT_EQ(advance(), "");
    EXPECT_EQ(codeOf(m_synth), HDGUIStatus::statusRunning);
    EXPECT_EQ(codeOf(m_other), HDGUIStatus::statusQueued);
    runs.end(m_synth, true);
    EXPECT_EQ(advance(), "synth_1 done, synth_2 started");
    runs.end(m_other, true);
    EXPECT_FALSE(runs.isOver());
    EXPECT_EQ(advance(), "synth_2 done");
    EXPECT_TRUE(runs.isOver());
    EXPECT_EQ(runs.doneCount(), 2);
    EXPECT_EQ(runs.failedCount(), 0);
}

TEST_F(LaunchQueueTest, AnImplementationWaitsForItsSynthesisAndOthersDoNot) {
    StillQueue& runs = queue(8);
    runs.add(m_synth);
    runs.add(m_impl1);
    runs.add(m_other);
    runs.add(m_impl2);
    EXPECT_EQ(advance(), "synth_1 started, synth_2 started");
    runs.end(m_synth, true);
    EXPECT_EQ(advance(), "synth_1 done, impl_1 started, impl_2 started");
}

TEST_F(LaunchQueueTest, AFailedSynthesisLeavesItsImplementationsOut) {
    StillQueue& runs = queue(8);
    runs.add(m_synth);
    runs.add(m_impl1);
    runs.add(m_other);
    EXPECT_EQ(advance(), "synth_1 started, synth_2 started");
    runs.end(m_synth, false);
    EXPECT_EQ(advance(), "synth_1 failed, impl_1 left out");
    EXPECT_EQ(codeOf(m_impl1), HDGUIStatus::statusNotStarted);
    runs.end(m_other, true);
    EXPECT_EQ(advance(), "synth_2 done");
    EXPECT_TRUE(runs.isOver());
    EXPECT_EQ(runs.failedCount(), 2);
}

TEST_F(LaunchQueueTest, ARunThatHasEndedMayBeLaunchedAgain) {
    StillQueue& runs = queue(8);
    runs.add(m_synth);
    runs.add(m_other);
    EXPECT_EQ(advance(), "synth_1 started, synth_2 started");
    runs.end(m_synth, false);
    EXPECT_EQ(advance(), "synth_1 failed");
    runs.add(m_synth);
    EXPECT_EQ(advance(), "synth_1 started");
    runs.end(m_synth, true);
    runs.end(m_other, true);
    EXPECT_EQ(advance(), "synth_2 done, synth_1 done");
    EXPECT_TRUE(runs.isOver());
    EXPECT_EQ(runs.runCount(), 2);
    EXPECT_EQ(runs.failedCount(), 0);
}

TEST_F(LaunchQueueTest, ARunThatIsForgottenIsNotCounted) {
    StillQueue& runs = queue(8);
    runs.add(m_synth);
    runs.add(m_other);
    advance();
    runs.end(m_other, false);
    advance();
    runs.forget(m_other);
    EXPECT_EQ(runs.runCount(), 1);
    EXPECT_EQ(runs.failedCount(), 0);
    EXPECT_FALSE(runs.isOver());
    runs.end(m_synth, true);
    EXPECT_EQ(advance(), "synth_1 done");
    EXPECT_TRUE(runs.isOver());
    EXPECT_EQ(runs.doneCount(), 1);
}

TEST_F(LaunchQueueTest, OneThatIsRefusedKeepsNoOtherBack) {
    StillQueue& runs = queue(1);
    runs.refuse("synth_1");
    runs.add(m_synth);
    runs.add(m_impl1);
    runs.add(m_other);
    EXPECT_EQ(advance(), "synth_1 refused, impl_1 left out, synth_2 started");
}

TEST_F(LaunchQueueTest, OneThatSomebodyStopsWhileItWaitsIsTakenBack) {
    StillQueue& runs = queue(1);
    runs.add(m_synth);
    runs.add(m_other);
    EXPECT_EQ(advance(), "synth_1 started");
    HUTFile(m_other.queueMarkerPath()).rm();
    EXPECT_EQ(advance(), "synth_2 taken back");
    EXPECT_EQ(codeOf(m_other), HDGUIStatus::statusNotStarted);
}

TEST_F(LaunchQueueTest, OneThatSomebodyStopsIsNotStartedWhenItsTurnComes) {
    StillQueue& runs = queue(1);
    runs.add(m_synth);
    runs.add(m_other);
    EXPECT_EQ(advance(), "synth_1 started");
    HUTFile(m_other.queueMarkerPath()).rm();
    runs.end(m_synth, true);
    EXPECT_EQ(advance(), "synth_1 done, synth_2 taken back");
    EXPECT_TRUE(runs.isOver());
}

TEST_F(LaunchQueueTest, OfManyThatWaitSomeAreLookedAtInTurn) {
    constexpr int kMany = 50;
    StillQueue& runs = queue(1);
    std::vector<HAXPExpRun*> all;
    for (int i = 0; i < kMany; ++i) {
        const std::string name = "many_" + std::to_string(i);
        all.push_back(&m_project->createRun(name, *OpenFlows::getSynthesis(), "Default", ""));
        runs.add(*all.back());
    }
    EXPECT_EQ(advance(), "many_0 started");
    HUTFile(all[25]->queueMarkerPath()).rm();
    HUTFile(all[49]->queueMarkerPath()).rm();
    std::string told;
    for (int i = 0; i < 3; ++i)
        told += advance() + ";";
    EXPECT_THAT(told, ::testing::HasSubstr("many_25 taken back"));
    EXPECT_THAT(told, ::testing::HasSubstr("many_49 taken back"));
    EXPECT_EQ(runs.getWaiting().size(), 47U);
}

TEST_F(LaunchQueueTest, WhatWaitsIsNotQueuedAnyMoreWhenTheQueueGoes) {
    StillQueue& runs = queue(1);
    runs.add(m_synth);
    runs.add(m_other);
    EXPECT_EQ(advance(), "synth_1 started");
    EXPECT_TRUE(HUTFile::exists(m_other.queueMarkerPath()));
    m_queue.reset();
    EXPECT_FALSE(HUTFile::exists(m_other.queueMarkerPath()));
}

TEST_F(LaunchQueueTest, EachHostTakesItsNumberOfRunsTheEmptiestFirst) {
    m_options.setLaunchMode(HAXPLaunchOptions::kSeveralHosts);
    m_options.setJobCmdMH("rsh");
    m_options.addHostMH("none", 0);
    m_options.addHostMH("big", 2);
    m_options.addHostMH("small", 1);
    StillQueue& runs = queue();
    std::vector<HAXPExpRun*> all;
    for (const char* name : {"a", "b", "c", "d"}) {
        all.push_back(&m_project->createRun(name, *OpenFlows::getSynthesis(), "Default", ""));
        runs.add(*all.back());
    }
    EXPECT_EQ(advance(), "a started, b started, c started");
    EXPECT_EQ(runs.hosts, "big small big ");
    EXPECT_EQ(runs.ways[0].kind, LaunchWay::Kind::kHost);
    EXPECT_EQ(runs.ways[0].command, "rsh");
    runs.end(*all[1], true);
    EXPECT_EQ(advance(), "b done, d started");
    EXPECT_EQ(runs.hosts, "big small big small ");
}

TEST_F(LaunchQueueTest, AHostThatIsLostLeavesItsRunsToTheOthers) {
    m_options.setLaunchMode(HAXPLaunchOptions::kSeveralHosts);
    m_options.addHostMH("lost", 3);
    m_options.addHostMH("found", 1);
    StillQueue& runs = queue();
    runs.lose("lost");
    runs.add(m_synth);
    runs.add(m_other);
    EXPECT_EQ(advance(), "synth_1 put off, synth_2 started");
    EXPECT_EQ(codeOf(m_synth), HDGUIStatus::statusQueued);
    runs.end(m_other, true);
    EXPECT_EQ(advance(), "synth_2 done, synth_1 started");
    EXPECT_EQ(runs.hosts, "found found ");
}

TEST_F(LaunchQueueTest, WithoutAHostThatIsLeftEveryRunIsRefused) {
    m_options.setLaunchMode(HAXPLaunchOptions::kSeveralHosts);
    m_options.addHostMH("lost", 3);
    StillQueue& runs = queue();
    runs.lose("lost");
    runs.add(m_synth);
    runs.add(m_impl1);
    runs.add(m_other);
    EXPECT_EQ(advance(), "synth_1 refused, impl_1 left out, synth_2 refused");
    EXPECT_TRUE(runs.isOver());
}

TEST_F(LaunchQueueTest, RunsOfAnEarlierLaunchCountOnTheirHost) {
    m_options.setLaunchMode(HAXPLaunchOptions::kSeveralHosts);
    m_options.addHostMH("node7", 1);
    m_bench.folder().folder("proj/runs/synth_1");
    m_synth.setRunDir(m_bench.path("proj/runs/synth_1"), false);
    m_synth.setRunMode(HAXPExpRun::kLaunched);
    m_synth.getInfo().setLaunch(1000, "");
    workbench::LaunchLease lease = workbench::makeLease();
    lease.way = {LaunchWay::Kind::kHost, "node7", "", ""};
    workbench::writeLease(m_synth.pathOf(workbench::kLeaseName), lease);
    auto lock = std::make_unique<test::HeldRunLock>(m_bench.path("proj/runs/synth_1"));
    StillQueue& runs = queue();
    runs.add(m_other);
    EXPECT_EQ(advance(), "");
    lock.reset();
    EXPECT_EQ(advance(), "");
    m_bench.folder().mark("proj/runs/synth_1/.ice40_synth.begin.rst");
    m_bench.folder().mark("proj/runs/synth_1/.ice40_synth.error.rst");
    EXPECT_EQ(advance(), "synth_2 started");
}

TEST_F(LaunchQueueTest, WhatIsNotSupportedIsSaid) {
    m_options.setPreHookScriptMH("before.sh");
    EXPECT_EQ(test::thrownText<HEXError>([&] { queue(); }),
              "Launches know no scripts before and after a job. Leave that out, or launch with a "
              "run script of your own that does it.");
    m_options.setPreHookScriptMH("");
    m_options.addEmailMH("jane@lab");
    EXPECT_EQ(
        test::thrownText<HEXError>([&] { queue(); }),
        "Launches know no mails. Leave that out, or launch with a run script of your own that "
        "does it.");
}

TEST_F(LaunchQueueTest, AClusterTakesAllAtOnce) {
    m_options.setLaunchMode(HAXPLaunchOptions::kSgeCluster);
    m_options.setClusterCmdLine("qsub -q all.q");
    StillQueue& runs = queue();
    runs.add(m_synth);
    runs.add(m_other);
    EXPECT_EQ(advance(), "synth_1 started, synth_2 started");
    EXPECT_EQ(runs.ways[1].kind, LaunchWay::Kind::kSge);
    EXPECT_EQ(runs.ways[1].command, "qsub -q all.q");
}

TEST_F(LaunchQueueTest, ArraysTakeNoMoreThanTheMaximumTogether) {
    m_options.setLaunchMode(HAXPLaunchOptions::kSgeCluster);
    m_options.setClusterCmdLine("qsub -q all.q");
    StillQueue& runs = queue();
    runs.setArrays(2);
    HAXPExpRun& third = implementation("impl_3");
    for (HAXPExpRun* run : {&m_synth, &m_other, &m_impl1, &m_impl2, &third})
        runs.add(*run);
    EXPECT_EQ(advance(), "synth_1 started, synth_2 started");
    runs.end(m_synth, true);
    // The second synthesis still has its place.
    EXPECT_EQ(advance(), "synth_1 done, impl_1 started");
    EXPECT_EQ(advance(), "");
    EXPECT_EQ(codeOf(m_impl2), HDGUIStatus::statusQueued);
    runs.end(m_other, true);
    runs.end(m_impl1, false);
    EXPECT_EQ(advance(), "synth_2 done, impl_1 failed, impl_2 started, impl_3 started");
    EXPECT_EQ(runs.arrays, (std::vector<std::size_t>{2, 2}));
}

TEST_F(LaunchQueueTest, AnArrayTakesAllWhenNothingIsAtWork) {
    m_options.setLaunchMode(HAXPLaunchOptions::kSgeCluster);
    m_options.setClusterCmdLine("qsub -q all.q");
    StillQueue& runs = queue();
    runs.setArrays(1);
    for (HAXPExpRun* run : {&m_synth, &m_impl1, &m_impl2})
        runs.add(*run);
    EXPECT_EQ(advance(), "synth_1 started");
    runs.end(m_synth, true);
    EXPECT_EQ(advance(), "synth_1 done, impl_1 started, impl_2 started");
    EXPECT_EQ(runs.arrays, std::vector<std::size_t>{2});
}

TEST_F(LaunchQueueTest, SomewhereToWorkIsNeeded) {
    const std::string refusal =
        "Nothing says where the runs are to work: there is no host with a job, or no submit "
        "command. Give a host, or a submit command of a cluster, and launch again.";
    for (const auto mode : {HAXPLaunchOptions::kScriptsOnly, HAXPLaunchOptions::kSeveralHosts,
                            HAXPLaunchOptions::kLsfCluster, HAXPLaunchOptions::kSgeCluster,
                            HAXPLaunchOptions::kNamedCluster}) {
        m_options.setLaunchMode(mode);
        EXPECT_EQ(test::thrownText<HEXError>([&] { queue(); }), refusal) << mode;
    }
}

}  // namespace
