// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/runFiles.h"

#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"

namespace {

/// Enough runs that other threads read some of them.
constexpr int kRuns = 100;

/// A project with runs, each of which has a log with as many warnings as its number.
class RunFilesAheadTest : public ::testing::Test {
protected:
    RunFilesAheadTest() : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())) {
        for (int i = 0; i < kRuns; ++i) {
            const std::string name = fmt::format("synth_{}", i);
            HAXPExpRun& run = m_project->createRun(name, *OpenFlows::getSynthesis(), "Default", "");
            m_bench.folder().folder("proj/runs/" + name);
            m_bench.folder().mark("proj/runs/" + name + "/runme.log", logOf(i));
            run.setRunDir(m_project->getRunsDir() + "/" + name, false);
        }
    }

    static std::string logOf(int number) {
        std::string log;
        for (int i = 0; i < number; ++i)
            log += fmt::format("Warning: wire w_{}x is used but has no driver.\n", i);
        return log + fmt::format("the end of {}\n", number);
    }
    std::vector<HAXPExpRun*> runs() const { return m_project->getRuns(); }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
};

TEST_F(RunFilesAheadTest, GivesEachRunItsOwn) {
    shell::RunFilesAhead ahead(runs());
    for (int i = 0; i < kRuns; ++i) {
        const shell::RunFiles files = ahead.take(static_cast<std::size_t>(i));
        EXPECT_EQ(files.warnings, i);
        ASSERT_FALSE(files.log.empty());
        EXPECT_EQ(files.log.back(), fmt::format("the end of {}", i));
    }
}

TEST_F(RunFilesAheadTest, GivesThemInAnyOrder) {
    shell::RunFilesAhead ahead(runs());
    for (int i = kRuns; i-- > 0;)
        EXPECT_EQ(ahead.take(static_cast<std::size_t>(i)).warnings, i);
}

TEST_F(RunFilesAheadTest, RunsMayGoMeanwhile) {
    shell::RunFilesAhead ahead(runs());
    m_project.reset();
    for (int i = 0; i < kRuns; ++i)
        EXPECT_EQ(ahead.take(static_cast<std::size_t>(i)).warnings, i);
}

TEST_F(RunFilesAheadTest, EndsWithoutBeingAskedForAll) {
    shell::RunFilesAhead ahead(runs());
    EXPECT_EQ(ahead.take(2).warnings, 2);
}

TEST_F(RunFilesAheadTest, ARunThatWasNeverLaunchedHasNone) {
    HAXPExpRun& run = m_project->createRun("new", *OpenFlows::getSynthesis(), "Default", "");
    const shell::RunFiles files = shell::RunFilesAhead({&run}).take(0);
    EXPECT_FALSE(files.warnings);
    EXPECT_TRUE(files.log.empty());
    EXPECT_FALSE(files.routed.slowest);
}

}  // namespace
