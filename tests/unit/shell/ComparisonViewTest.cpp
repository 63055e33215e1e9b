// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/comparisonView.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using reports::Figure;
using shell::ComparedRun;

Figure fmax(double value) {
    return {"fmax", "Fmax", value, "MHz", Figure::kHigher};
}
Figure slack(double value) {
    return {"worst_slack", "Worst slack", value, "ns", Figure::kHigher};
}

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
    EXPECT_EQ(shell::comparisonTable(runs, 0), "Run              impl_1       impl_2\n"
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
    EXPECT_EQ(shell::comparisonTable(runs, 20), "Run         impl_1\n"
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
    EXPECT_EQ(shell::comparisonTable(runs, 27), shell::comparisonTable(runs, 0));
    EXPECT_EQ(shell::comparisonTable(runs, 26), shell::comparisonTable(runs, 20));
    EXPECT_EQ(shell::comparisonTable(runs, 1), shell::comparisonTable(runs, 20));
}

TEST(ComparisonViewTest, OneRunHasNoDifferences) {
    EXPECT_EQ(shell::comparisonTable({run("impl_1", "1", {})}, 0), "Run         impl_1\n"
                                                                   "Status        done\n"
                                                                   "Strategy   Default\n"
                                                                   "Synthesis  synth_1\n");
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
