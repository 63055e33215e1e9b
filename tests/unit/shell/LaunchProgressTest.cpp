// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/launchProgress.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "shell/stepTimes.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"

namespace {

using Runs = std::vector<HAXPExpRun*>;

/// Times behind which nothing can be: what began then has taken no time yet.
constexpr long kFuture = 4000000000;

/// Two implementations of one synthesis, and what steps take by experience.
class LaunchProgressTest : public ::testing::Test {
protected:
    LaunchProgressTest()
        : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())),
          m_synthesis(m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "")),
          m_first(m_project->createRun("impl_1", *OpenFlows::getImplementation(), "Default", "")),
          m_second(m_project->createRun("impl_2", *OpenFlows::getImplementation(), "Default", "")) {
    }

    /// `run` as it is while `program` is at work behind those of `done`.
    void work(HAXPExpRun& run, const std::vector<std::string>& done, const std::string& program) {
        const std::string dir = "proj/runs/" + run.getName();
        m_bench.folder().folder(dir);
        run.setRunDir(m_project->getRunsDir() + "/" + run.getName(), false);
        run.setRunMode(HAXPExpRun::kLaunched);
        run.getInfo().setLaunch(kFuture, "");
        for (const std::string& before : done) {
            mark(dir, before, "begin");
            mark(dir, before, "end");
        }
        mark(dir, program, "begin");
        m_locks.push_back(std::make_unique<test::HeldRunLock>(run.getDir()));
        run.updateStatus();
        ASSERT_TRUE(run.isAtWork());
    }
    void mark(const std::string& dir, const std::string& program, const std::string& kind) const {
        const std::string name = dir + "/." + program + "." + kind + ".rst";
        m_bench.folder().mark(name, kind == "begin" ? test::TestBench::handleText() : "");
        m_bench.folder().touch(name, kFuture);
    }
    void route(HAXPExpRun& run, int arcs) {
        work(run, {"ice40_init", "ice40_place"}, "ice40_route");
        log(run, arcs);
    }
    void log(const HAXPExpRun& run, int arcs) const {
        m_bench.folder().mark("proj/runs/" + run.getName() + "/runme.log",
                              "Command: nextpnr-ice40 --placer heap --router router1 --asc x\n"
                              "Info: Routing 4000 arcs.\n"
                              "Info:  1000 |  249  750 |  249   750 |  " +
                                  std::to_string(arcs) + "|  0.68  0.68|\n");
    }
    workbench::ExpectedSeconds expected() {
        return [this](const HAXPExpRun& run, const std::string& step) {
            const auto own = m_usual.find(run.getName() + "." + step);
            const auto found = own == m_usual.end() ? m_usual.find(step) : own;
            return found == m_usual.end() ? std::nullopt : std::optional<double>(found->second);
        };
    }
    std::string line(const shell::LaunchCounts& counts, const Runs& running, const Runs& waiting,
                     std::size_t slots) {
        return m_progress.line(counts, running, waiting, slots);
    }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    HAXPExpRun& m_synthesis;
    HAXPExpRun& m_first;
    HAXPExpRun& m_second;
    std::vector<std::unique_ptr<test::HeldRunLock>> m_locks;
    std::map<std::string, double> m_usual;
    shell::LaunchProgress m_progress{*m_project, expected()};
};

TEST_F(LaunchProgressTest, TellsCountsAndWhatTheRunDoes) {
    route(m_first, 1000);
    EXPECT_EQ(line({1, 1, 3}, {&m_first}, {&m_second}, 1),
              "[1/3] running 1, waiting 1, failed 1: impl_1 route_design 0:00 77 %, routing, 1000 "
              "arcs left");
}

TEST_F(LaunchProgressTest, LeavesOutWhatThereIsNoneOf) {
    route(m_first, 1000);
    EXPECT_EQ(line({0, 0, 1}, {&m_first}, {}, 2),
              "[0/1] running 1: impl_1 route_design 0:00 77 %, routing, 1000 arcs left");
    EXPECT_EQ(line({2, 0, 3}, {}, {&m_second}, 1), "[2/3] running 0, waiting 1");
}

TEST_F(LaunchProgressTest, TellsTheTimeThatIsLeftWhenAllStepsAreKnown) {
    route(m_first, 1000);
    m_usual = {{"init_design", 1}, {"place_design", 100}, {"route_design", 50}};
    EXPECT_EQ(line({}, {&m_first}, {}, 1).find(" left: "), std::string::npos);
    m_usual["write_bitstream"] = 4;
    // The log is at 67 % at least though no time has passed: of 50 s a third is left.
    EXPECT_NE(line({}, {&m_first}, {}, 1).find(", 0:21 left: "), std::string::npos)
        << line({}, {&m_first}, {}, 1);
}

TEST_F(LaunchProgressTest, CountsWhatWaitsForASlot) {
    work(m_first, {}, "ice40_init");
    m_usual = {
        {"init_design", 10}, {"place_design", 10}, {"route_design", 10}, {"write_bitstream", 10}};
    EXPECT_EQ(line({0, 0, 2}, {&m_first}, {&m_second}, 1),
              "[0/2] running 1, waiting 1, 1:20 left: impl_1 init_design 0:00");
    EXPECT_EQ(line({0, 0, 2}, {&m_first}, {&m_second}, 2),
              "[0/2] running 1, waiting 1, 0:40 left: impl_1 init_design 0:00");
}

TEST_F(LaunchProgressTest, CountsTheWaitForASynthesis) {
    work(m_synthesis, {}, "ice40_synth");
    m_usual = {{"synth_design", 20},
               {"init_design", 1},
               {"place_design", 1},
               {"route_design", 1},
               {"write_bitstream", 1}};
    EXPECT_EQ(line({0, 0, 3}, {&m_synthesis}, {&m_first, &m_second}, 4),
              "[0/3] running 1, waiting 2, 0:24 left: synth_1 synth_design 0:00");
}

TEST_F(LaunchProgressTest, TellsOfTheRunThatEndsLast) {
    work(m_first, {}, "ice40_init");
    work(m_second, {}, "ice40_init");
    m_usual = {
        {"init_design", 1}, {"place_design", 1}, {"route_design", 1}, {"write_bitstream", 1}};
    m_usual["impl_2.place_design"] = 5;
    EXPECT_EQ(line({0, 0, 2}, {&m_first, &m_second}, {}, 2),
              "[0/2] running 2, 0:08 left: impl_2 init_design 0:00");
    m_usual.erase("route_design");
    EXPECT_EQ(line({0, 0, 2}, {&m_first, &m_second}, {}, 2),
              "[0/2] running 2: impl_1 init_design 0:00");
}

TEST_F(LaunchProgressTest, FollowsALogThatGrows) {
    route(m_first, 1000);
    EXPECT_EQ(m_progress.look(m_first).tool.text, "routing, 1000 arcs left");
    log(m_first, 10);
    EXPECT_EQ(m_progress.look(m_first).tool.text, "routing, 10 arcs left");
    m_progress.keepOnly({});
    EXPECT_EQ(m_progress.look(m_first).tool.text, "routing, 10 arcs left");
}

TEST_F(LaunchProgressTest, TheHistoryOfANewProjectKnowsNoTime) {
    shell::StepTimes times(*m_project);
    EXPECT_EQ(times.expectedSeconds(m_first, "route_design"), std::nullopt);
    times.forget();
    EXPECT_EQ(times.function()(m_first, "route_design"), std::nullopt);
}

}  // namespace
