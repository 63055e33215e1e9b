// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/boardFeed.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "shell/liveProject.h"
#include "tests/support/FakeClock.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/history/History.h"
#include "workbench/launchLease.h"
#include "workbench/openFlows.h"

namespace {

constexpr int kRuns = 60;
constexpr std::size_t kHeight = 5;

/// A saved project of many syntheses, and its view.
class BoardFeedTest : public ::testing::Test {
protected:
    BoardFeedTest() : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())) {
        for (int i = 0; i < kRuns; ++i)
            addRun("synth_" + std::to_string(i));
        m_project->save();
        m_live = std::make_unique<shell::LiveProject>(m_bench.path("proj"));
        m_feed = std::make_unique<shell::BoardFeed>(*m_live);
        m_board.setHeight(kHeight);
    }

    HAXPExpRun& addRun(const std::string& name) {
        return m_project->createRun(name, *OpenFlows::getSynthesis(), "Default", "");
    }
    /// Makes the run `name` one that is at work, in the project file too.
    void work(const std::string& name) {
        const std::string dir = "proj/runs/" + name;
        m_bench.folder().folder(dir);
        HAXPExpRun& run = *m_project->findRun(name);
        run.setRunDir(m_project->getRunsDir() + "/" + name, false);
        run.setRunMode(HAXPExpRun::kLaunched);
        run.getInfo().setLaunch(1000000, "");
        m_bench.folder().mark(dir + "/.ice40_synth.begin.rst", test::TestBench::handleText());
        m_bench.folder().mark(dir + "/runme.log",
                              "Command: yosys -p x\n4.34. Executing ABC pass (mapping).\n");
        m_lock = std::make_unique<test::HeldRunLock>(m_project->getRunsDir() + "/" + name);
        m_project->save();
    }
    /// Another look, when the project file may be looked at again.
    void update() {
        m_clock.sleepMs(shell::LiveProject::kLookMs);
        m_feed->update(m_board);
    }
    const shell::BoardRow& row(std::size_t place) const { return m_board.getRows()[place]; }

    test::FakeClock m_clock;
    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    std::unique_ptr<test::HeldRunLock> m_lock;
    std::unique_ptr<shell::LiveProject> m_live;
    std::unique_ptr<shell::BoardFeed> m_feed;
    shell::Board m_board{"proj"};
};

TEST_F(BoardFeedTest, ListsEveryRunAndLooksAtFew) {
    m_feed->update(m_board);
    m_feed->update(m_board);
    ASSERT_EQ(m_board.getRows().size(), static_cast<std::size_t>(kRuns));
    EXPECT_EQ(row(7).name, "synth_7");
    EXPECT_EQ(row(7).status, "not started");
    EXPECT_LE(m_feed->lookedAt(), kHeight + shell::BoardFeed::kOthers);
    EXPECT_EQ(m_board.getTimeLeft(), std::nullopt);
}

TEST_F(BoardFeedTest, RemembersALaunchWhoseEndItSees) {
    work("synth_50");
    workbench::writeLease(m_project->getRunsDir() + "/synth_50/" + workbench::kLeaseName,
                          workbench::makeLease());
    update();
    EXPECT_TRUE(workbench::History(*m_project).launches().empty());
    m_bench.folder().mark("proj/runs/synth_50/.ice40_synth.end.rst", "");
    m_lock.reset();
    update();
    EXPECT_EQ(row(50).status, "done");
    EXPECT_EQ(workbench::History(*m_project).launches("synth_50").size(), 1U);
}

TEST_F(BoardFeedTest, LooksAtARunAtWorkThoughItIsNotOnTheScreen) {
    work("synth_50");
    update();
    EXPECT_EQ(row(50).status, "running");
    EXPECT_EQ(row(50).step, "synth_design");
    EXPECT_EQ(row(50).text, "ABC pass (mapping)");
    EXPECT_TRUE(row(50).fraction.has_value());
    EXPECT_TRUE(row(50).elapsed.has_value());
    EXPECT_EQ(row(50).left, std::nullopt);
}

TEST_F(BoardFeedTest, SeesRunsThatWereMadeLater) {
    update();
    addRun("later");
    m_project->save();
    update();
    ASSERT_EQ(m_board.getRows().size(), kRuns + 1U);
    EXPECT_EQ(row(kRuns).name, "later");
}

TEST_F(BoardFeedTest, StaysWithWhatItHasWhenTheProjectCantBeRead) {
    update();
    m_bench.folder().mark("proj/project.xml", "<damaged");
    update();
    EXPECT_EQ(m_board.getRows().size(), static_cast<std::size_t>(kRuns));
}

}  // namespace
