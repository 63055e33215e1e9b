// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/comparisonView.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/unit/shell/figures.h"

namespace {

using reports::Figure;
using shell::ComparedRun;
using test::fmax;
using test::slack;

ComparedRun run(const std::string& name, const std::string& seed,
                const std::vector<Figure>& figures) {
    return {name, "done", true, false, "Default", "synth_1", figures, {{"place.seed", seed}}};
}

std::vector<std::string> lines(const std::vector<ComparedRun>& runs) {
    const std::vector<shell::Goal> goals = shell::readGoals("fmax", runs);
    return shell::verdictLines(shell::judge(runs, goals), goals);
}

TEST(ComparisonViewTest, RunsStandSideBySide) {
    std::vector<ComparedRun> runs{run("impl_1", "1", {fmax(54.25), slack(-3.5)}),
                                  run("impl_2", "7", {fmax(60)})};
    runs[1].isStale = true;
    EXPECT_EQ(shell::comparisonTable(runs, 0, true), "Run              impl_1       impl_2\n"
                                                     "Status             done  done, stale\n"
                                                     "Strategy        Default      Default\n"
                                                     "Synthesis       synth_1      synth_1\n"
                                                     "Fmax MHz          54.25           60\n"
                                                     "Worst slack ns     -3.5            -\n"
                                                     "\n"
                                                     "Options that differ  impl_1  impl_2\n"
                                                     "place.seed                1       7\n");
}

TEST(ComparisonViewTest, WhatDoesNotFitFollowsBelow) {
    const std::vector<ComparedRun> runs{run("impl_1", "1", {fmax(50)}),
                                        run("impl_2", "1", {fmax(60)})};
    EXPECT_EQ(shell::comparisonTable(runs, 20, true), "Run         impl_1\n"
                                                      "Status        done\n"
                                                      "Strategy   Default\n"
                                                      "Synthesis  synth_1\n"
                                                      "Fmax MHz        50\n"
                                                      "\n"
                                                      "Run         impl_2\n"
                                                      "Status        done\n"
                                                      "Strategy   Default\n"
                                                      "Synthesis  synth_1\n"
                                                      "Fmax MHz        60\n"
                                                      "\n"
                                                      "The runs don't differ in their options.\n");
    EXPECT_EQ(shell::comparisonTable(runs, 27, true), shell::comparisonTable(runs, 0, true));
    EXPECT_EQ(shell::comparisonTable(runs, 26, true), shell::comparisonTable(runs, 20, true));
    EXPECT_EQ(shell::comparisonTable(runs, 1, true), shell::comparisonTable(runs, 20, true));
}

TEST(ComparisonViewTest, OneRunHasNoDifferences) {
    EXPECT_EQ(shell::comparisonTable({run("impl_1", "1", {})}, 0, true), "Run         impl_1\n"
                                                                         "Status        done\n"
                                                                         "Strategy   Default\n"
                                                                         "Synthesis  synth_1\n");
}

TEST(ComparisonViewTest, FiguresThatAreTheSameInAllRunsAreCountedAlone) {
    const Figure pins{"pins", "Pins", 12, "", Figure::kNeither};
    const Figure rams{"rams", "RAMs", 2, "", Figure::kLower};
    std::vector<ComparedRun> runs{run("impl_1", "1", {pins, fmax(50), rams}),
                                  run("impl_2", "1", {pins, fmax(60), rams})};
    const std::string head = "Run         impl_1   impl_2\n"
                             "Status        done     done\n"
                             "Strategy   Default  Default\n"
                             "Synthesis  synth_1  synth_1\n"
                             "Fmax MHz        50       60\n";
    const std::string tail = "\nThe runs don't differ in their options.\n";
    EXPECT_EQ(shell::comparisonTable(runs, 0, false),
              head + "2 more figures are the same in all of these runs: --all shows them.\n" +
                  tail);
    runs[1].figures.pop_back();
    EXPECT_EQ(shell::comparisonTable(runs, 0, false),
              head +
                  "RAMs             2        -\n"
                  "1 more figure is the same in all of these runs: --all shows it.\n" +
                  tail);
}

TEST(ComparisonViewTest, ARunByItselfShowsAllFigures) {
    const std::vector<ComparedRun> runs{run("impl_1", "1", {fmax(50)})};
    EXPECT_EQ(shell::comparisonTable(runs, 0, false), shell::comparisonTable(runs, 0, true));
}

TEST(ComparisonViewTest, TheShortVerdictCountsTheRunsThatMissTheirClocks) {
    const std::vector<ComparedRun> runs{run("a", "1", {fmax(54), slack(-3.5)}),
                                        run("b", "2", {fmax(60), slack(1)})};
    const std::vector<shell::Goal> goals = shell::readGoals("fmax", runs);
    EXPECT_EQ(shell::shortVerdict(shell::judge(runs, goals), goals),
              "Goal highest Fmax: b is best (Fmax 60 MHz); next is a (Fmax 54 MHz). "
              "1 of 2 runs miss the goal of their clocks.");
}

TEST(ComparisonViewTest, TheVerdictTellsWhy) {
    EXPECT_EQ(lines({run("a", "1", {fmax(54.25)}), run("b", "1", {fmax(60)})}),
              std::vector<std::string>{
                  "Goal highest Fmax: b is best (Fmax 60 MHz); next is a (Fmax 54.25 MHz)."});
}

TEST(ComparisonViewTest, ATieIsTold) {
    EXPECT_EQ(
        lines({run("a", "1", {fmax(60)}), run("b", "1", {fmax(60)})}),
        std::vector<std::string>{"Goal highest Fmax: a and b are equally good (Fmax 60 MHz)."});
}

TEST(ComparisonViewTest, AGoalThatIsNotMetIsTold) {
    EXPECT_EQ(lines({run("a", "1", {fmax(54), slack(-3.5)})}),
              (std::vector<std::string>{"Goal highest Fmax: only a can be judged (Fmax 54 MHz).",
                                        "a misses the goal of its clocks by 3.5 ns."}));
}

TEST(ComparisonViewTest, WithoutARunThatCanBeJudgedThereIsNoVerdict) {
    ComparedRun failed = run("a", "1", {fmax(54)});
    failed.isDone = false;
    failed.status = "failed";
    EXPECT_EQ(lines({failed}), (std::vector<std::string>{"Goal highest Fmax: no run can be judged.",
                                                         "a is left out: it isn't done (failed)"}));
}

TEST(ComparisonViewTest, ValuesAreShortAndNeverNothing) {
    const auto text = [](double value) {
        const Figure figure{"x", "X", value, "", Figure::kNeither};
        return shell::figureText(&figure);
    };
    EXPECT_EQ(text(54), "54");
    EXPECT_EQ(text(54.256), "54.26");
    EXPECT_EQ(text(54.10), "54.1");
    EXPECT_EQ(text(-3.5), "-3.5");
    EXPECT_EQ(text(0), "0");
    EXPECT_EQ(text(0.0004), "0.0004");
    EXPECT_EQ(text(-0.0004), "-0.0004");
    EXPECT_EQ(text(1e20), "100000000000000000000");
    EXPECT_EQ(shell::figureText(nullptr), "");
}

TEST(ComparisonViewTest, ScriptsGetAllOfIt) {
    const std::vector<ComparedRun> runs{run("a", "1", {fmax(54)}), run("b", "7", {})};
    const std::vector<shell::Goal> goals = shell::readGoals("fmax", runs);
    const nlohmann::json json = shell::comparisonJson(runs, goals, shell::judge(runs, goals));
    EXPECT_EQ(json["runs"][0]["figures"]["fmax"], 54);
    EXPECT_FALSE(json["runs"][1]["figures"].contains("fmax"));
    EXPECT_EQ(json["figures"][0]["unit"], "MHz");
    EXPECT_EQ(json["options"][0]["values"], (nlohmann::json{{"a", "1"}, {"b", "7"}}));
    EXPECT_EQ(json["goals"][0]["better"], "higher");
    EXPECT_EQ(json["best"], nlohmann::json{"a"});
    EXPECT_EQ(json["left_out"][0]["run"], "b");
}

}  // namespace
