// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/pageData.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "shell/exitStatus.h"
#include "tests/unit/shell/page/launchTime.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/ice40/metrics.h"
#include "workbench/openFlows.h"
#include "workbench/runFamily.h"

namespace {

using nlohmann::json;
using test::kLaunch;

/// A project with a synthesis; implementations are made as tests need them.
class PageDataTest : public ::testing::Test {
protected:
    PageDataTest()
        : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())),
          m_synthesis(m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "")) {
        m_bench.folder().folder("proj/runs/synth_1");
        m_bench.folder().mark("proj/runs/synth_1/blinky.json", "{}");
        finish(m_synthesis);
    }

    HAXPExpRun& add(const std::string& name, int seed = 1) const {
        HAXPExpRun& run =
            m_project->createRun(name, *OpenFlows::getImplementation(), "Default", "synth_1");
        m_project->setOption(run, "place_design.seed", std::to_string(seed));
        return run;
    }
    void finish(HAXPExpRun& run) const {
        run.setRunDir(m_project->getRunsDir() + "/" + run.getName(), false);
        m_project->setInputs(m_project->getInputs());
        m_bench.finish(run, kLaunch);
        m_project->setInputs(m_project->getInputs());
    }
    /// An implementation that is done, with `fmax` as its clock's.
    HAXPExpRun& addDone(const std::string& name, double fmax, int seed = 1) const {
        HAXPExpRun& run = add(name, seed);
        const std::string dir = "proj/runs/" + name;
        m_bench.folder().folder(dir);
        ice40::StepMetrics metrics;
        metrics.step = "route_design";
        metrics.clocks = {{"clk", fmax, 40}};
        metrics.counts[ice40::counts::kLogicCells] = 100;
        m_bench.folder().mark(dir + "/route_design.metrics.json", ice40::formatMetrics(metrics));
        finish(run);
        run.updateRun();
        return run;
    }
    /// A family of that many runs around `fmax`.
    void addFamily(const std::string& name, double fmax, int seeds) const {
        for (int seed = 1; seed <= seeds; ++seed) {
            HAXPExpRun& run = addDone(name + "_s" + std::to_string(seed), fmax + 0.01 * seed, seed);
            m_project->setFamilyOf(run, {"night", name});
        }
    }
    std::string text(bool isLive = false) const {
        shell::PageRequest request;
        request.runs = m_project->getRuns();
        request.isLive = isLive;
        return shell::pageData(*m_project, request);
    }
    json page() const { return json::parse(text()); }
    static json runCalled(const json& page, const std::string& name) {
        for (const json& run : page["runs"]) {
            if (run["name"] == name)
                return run;
        }
        return {};
    }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    HAXPExpRun& m_synthesis;
};

TEST_F(PageDataTest, SaysWhatItIsOf) {
    const json data = page();
    EXPECT_EQ(data["format"], 1);
    EXPECT_EQ(data["live"], false);
    EXPECT_EQ(json::parse(text(true))["live"], true);
    EXPECT_EQ(data["project"]["name"], "proj");
    EXPECT_EQ(data["project"]["top"], "blinky");
    EXPECT_EQ(data["project"]["goal_mhz"], 12);
}

TEST_F(PageDataTest, CountsRunsByTheirStatus) {
    addDone("impl_1", 50);
    add("impl_2");
    const json summary = page()["summary"];
    EXPECT_EQ(summary["runs"], 3);
    EXPECT_EQ(summary["done"], 2);
    EXPECT_EQ(summary["failed"], 0);
    EXPECT_EQ(summary["queued"], 0);
}

TEST_F(PageDataTest, TheBestRunIsMarkedAndWhy) {
    addDone("impl_1", 50);
    addDone("impl_2", 55);
    const json data = page();
    EXPECT_EQ(data["best"]["runs"], json::array({"impl_2"}));
    EXPECT_EQ(data["best"]["why"][0], "Best: impl_2 (Fmax 55 MHz)");
    EXPECT_EQ(runCalled(data, "impl_2")["best"], true);
    EXPECT_EQ(runCalled(data, "impl_1")["best"], false);
    EXPECT_EQ(runCalled(data, "impl_1")["figures"]["fmax"], 50);
    EXPECT_EQ(data["figures"][0]["name"], "fmax");
    EXPECT_EQ(data["figures"][0]["better"], "higher");
}

TEST_F(PageDataTest, WithoutAnythingToJudgeThereIsNoBest) {
    add("impl_1");
    EXPECT_EQ(page()["best"]["runs"], json::array());
    EXPECT_EQ(page()["best"]["why"][0], "No run can be judged.");
}

TEST_F(PageDataTest, ARuleWithoutSenseIsRefused) {
    addDone("impl_1", 50);
    shell::PageRequest request;
    request.runs = m_project->getRuns();
    request.rule = "nonsense max";
    EXPECT_THROW(shell::pageData(*m_project, request), shell::CommandError);
}

TEST_F(PageDataTest, ARunThatMissesItsClockIsToldWhatToDo) {
    addDone("impl_1", 20);
    EXPECT_EQ(runCalled(page(), "impl_1")["next"],
              "misses its clock goal by 25 ns: try more seeds (xp sweep), another strategy, or "
              "shorten its critical path");
}

TEST_F(PageDataTest, AStaleRunSaysWhyAndHowToGoOn) {
    addDone("impl_1", 50);
    m_project->setOption(m_project->getRun("impl_1"), "place_design.seed", "9");
    const json run = runCalled(page(), "impl_1");
    EXPECT_EQ(run["stale"], true);
    EXPECT_EQ(run["reasons"], json::array({"place_design: option seed: 1 at the launch, 9 now"}));
    EXPECT_EQ(run["next"], "place_design: option seed: 1 at the launch, 9 now; launch it again: "
                           "xp launch impl_1");
    EXPECT_EQ(page()["best"]["runs"], json::array());
}

TEST_F(PageDataTest, AFailedRunShowsItsLogFromTheFirstErrorOn) {
    HAXPExpRun& run = addDone("impl_1", 50);
    const std::string dir = "proj/runs/impl_1/";
    m_bench.folder().unmark(dir + ".ice40_route.end.rst");
    m_bench.folder().unmark(dir + ".ice40_bitstream.begin.rst");
    m_bench.folder().unmark(dir + ".ice40_bitstream.end.rst");
    m_bench.folder().mark(dir + ".ice40_route.error.rst");
    m_bench.folder().mark(dir + "runme.log", "before\nERROR: <b>no room</b>\nafter\n");
    run.updateStatus();
    const json data = page();
    const json failed = runCalled(data, "impl_1");
    EXPECT_EQ(failed["status"], "failed");
    EXPECT_EQ(failed["log"], json::array({"ERROR: <b>no room</b>", "after"}));
    EXPECT_EQ(failed["failure"]["step"], "route_design");
    EXPECT_EQ(data["summary"]["failed"], 1);
}

TEST_F(PageDataTest, FamiliesAreListedAndTheBestOneIsTestedAgainstTheOthers) {
    addFamily("night_A", 50, 6);
    addFamily("night_B", 60, 6);
    const json data = page();
    ASSERT_EQ(data["families"].size(), 2U);
    EXPECT_EQ(data["families"][0]["name"], "night_A");
    EXPECT_EQ(data["families"][0]["runs"].size(), 6U);
    ASSERT_EQ(data["comparisons"].size(), 1U);
    EXPECT_EQ(data["comparisons"][0]["base"], "night_A");
    EXPECT_EQ(data["comparisons"][0]["other"], "night_B");
    EXPECT_EQ(data["comparisons"][0]["figures"][0]["figure"], "fmax");
    EXPECT_EQ(data["comparisons"][0]["figures"][0]["outcome"], "higher");
}

TEST_F(PageDataTest, OneFamilyIsComparedWithNothing) {
    addFamily("night_A", 50, 2);
    EXPECT_EQ(page()["comparisons"], json::array());
    EXPECT_EQ(page()["families"].size(), 1U);
}

TEST_F(PageDataTest, TextsThatAreNoUtf8AreMendedAndNothingElseIsChanged) {
    addDone("impl_1", 50);
    m_bench.folder().mark("proj/runs/impl_1/runme.log", "a\xff\x01 \"</script>\"\n");
    EXPECT_EQ(runCalled(page(), "impl_1")["log"], json::array({"a\ufffd\x01 \"</script>\""}));
}

TEST_F(PageDataTest, StaysWithinItsRoomWhateverRunsLeave) {
    std::string log;
    for (int i = 0; i < 40; ++i)
        log += "ERROR: " + std::string(300, 'x') + "\n";
    for (int i = 0; i < 12; ++i) {
        const std::string name = "impl_" + std::to_string(i);
        HAXPExpRun& run = addDone(name, 50);
        const std::string dir = "proj/runs/" + name + "/";
        m_bench.folder().unmark(dir + ".ice40_bitstream.end.rst");
        m_bench.folder().mark(dir + ".ice40_bitstream.error.rst");
        m_bench.folder().mark(dir + "runme.log", log);
        run.updateStatus();
    }
    EXPECT_LE(text().size(), shell::kPageDataBytes + 13 * shell::kPageBytesOfRun);
}

}  // namespace
