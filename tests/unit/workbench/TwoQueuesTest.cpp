// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Two launch queues at the same runs, with scripts and processes that are real.
#include "workbench/LaunchQueue.h"

#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "environment/process/HUTSysCall.h"
#include "runs/base/xperiment/HAXPLaunchOptions.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"
#include "workbench/runStop.h"

namespace {

/// A project with four syntheses, and a tool that fails at once. It notes where it was
/// started, and where another one was at work already.
class TwoQueuesTest : public ::testing::Test {
protected:
    TwoQueuesTest() : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())) {
        for (const char* name : {"synth_1", "synth_2", "synth_3", "synth_4"})
            m_runs.push_back(
                &m_project->createRun(name, *OpenFlows::getSynthesis(), "Default", ""));
        m_bench.folder().folder("tools");
        m_bench.folder().mark("tools/yosys", "#!/bin/sh\n"
                                             "cd \"$PWD\"\n"
                                             "mkdir at_work || : >'" +
                                                 m_bench.path("doubled") +
                                                 "'\necho >>started\n"
                                                 "for n in 1 2 3 4 5 6 7 8; do $(:); done\n"
                                                 "rmdir at_work\nexit 1\n");
        chmod(m_bench.path("tools/yosys").c_str(), 0755);
        const char* path = std::getenv("PATH");
        m_path = path == nullptr ? "" : path;
        setenv("PATH", (m_bench.path("tools") + ":" + m_path).c_str(), 1);
    }
    ~TwoQueuesTest() override {
        for (HAXPExpRun* run : m_runs)
            workbench::stopRun(*run);
        setenv("PATH", m_path.c_str(), 1);
    }

    std::unique_ptr<LaunchQueue> queue(int jobs) {
        HAXPLaunchOptions options;
        options.setNumJobsSH(jobs);
        auto made = std::make_unique<LaunchQueue>(*m_project, options);
        for (HAXPExpRun* run : m_runs)
            made->add(*run);
        return made;
    }
    /// Lets both come to their ends, turn by turn.
    void drive(LaunchQueue& a, LaunchQueue& b) {
        while (!a.isOver() || !b.isOver()) {
            count(a.advance());
            count(b.advance());
            HUTSysCall::msSleep(5);
        }
    }
    void count(const std::vector<LaunchQueue::Event>& events) {
        for (const LaunchQueue::Event& event : events)
            m_starts[event.run] += event.kind == LaunchQueue::Event::kStarted ? 1 : 0;
    }
    /// How often the tool of the run was started.
    int startsOf(const HAXPExpRun& run) const {
        return static_cast<int>(
            m_bench.folder().read("proj/runs/" + run.getName() + "/started").size());
    }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    std::vector<HAXPExpRun*> m_runs;
    std::map<const HAXPExpRun*, int> m_starts;
    std::string m_path;
};

TEST_F(TwoQueuesTest, NeverHaveOneRunAtWorkTwiceAndLoseNone) {
    const auto a = queue(2);
    const auto b = queue(1);
    drive(*a, *b);
    EXPECT_FALSE(m_bench.folder().has("doubled"));
    for (HAXPExpRun* run : m_runs) {
        run->updateStatus();
        EXPECT_EQ(run->getStatus()->getCode(), HDGUIStatus::statusError) << run->getName();
        EXPECT_GE(startsOf(*run), 1) << run->getName();
        EXPECT_EQ(startsOf(*run), m_starts[run]) << run->getName();
    }
}

TEST_F(TwoQueuesTest, LeaveWhatTheOtherLetsWaitWhenOneOfThemGoes) {
    const auto a = queue(1);
    count(a->advance());
    ASSERT_EQ(a->getRunning().size(), 1U);
    auto b = queue(1);
    count(b->advance());
    b.reset();
    while (!a->isOver()) {
        count(a->advance());
        HUTSysCall::msSleep(5);
    }
    EXPECT_FALSE(m_bench.folder().has("doubled"));
    for (HAXPExpRun* run : m_runs)
        EXPECT_GE(startsOf(*run), 1) << run->getName();
}

}  // namespace
