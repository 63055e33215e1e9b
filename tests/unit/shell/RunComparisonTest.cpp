// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/runComparison.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "shell/exitStatus.h"
#include "tests/support/thrownText.h"
#include "tests/unit/shell/figures.h"

namespace {

using reports::Figure;
using shell::ComparedRun;
using test::fmax;
using test::slack;

Figure luts(double value) {
    return {"luts", "LUTs", value, "", Figure::kLower};
}
Figure ports(double value) {
    return {"ports", "Ports", value, "", Figure::kNeither};
}

ComparedRun doneRun(const std::string& name, const std::vector<Figure>& figures) {
    ComparedRun run;
    run.name = name;
    run.status = "done";
    run.isDone = true;
    run.figures = figures;
    return run;
}

std::vector<std::string> namesOf(const std::vector<const ComparedRun*>& runs) {
    std::vector<std::string> names;
    for (const ComparedRun* run : runs)
        names.push_back(run->name);
    return names;
}

using Names = std::vector<std::string>;

shell::Verdict judged(const std::vector<ComparedRun>& runs, const std::string& goals) {
    return shell::judge(runs, shell::readGoals(goals, runs));
}

TEST(RunComparisonTest, TheHighestFmaxIsBest) {
    const std::vector<ComparedRun> runs{doneRun("a", {fmax(40)}), doneRun("b", {fmax(55)}),
                                        doneRun("c", {fmax(50)})};
    const shell::Verdict verdict = judged(runs, "fmax");
    EXPECT_EQ(namesOf(verdict.best), Names{"b"});
    EXPECT_EQ(namesOf(verdict.others), (Names{"c", "a"}));
    EXPECT_TRUE(verdict.leftOut.empty());
}

TEST(RunComparisonTest, TheFewestLutsAreBest) {
    const std::vector<ComparedRun> runs{doneRun("a", {luts(900)}), doneRun("b", {luts(1000)})};
    EXPECT_EQ(namesOf(judged(runs, "luts").best), Names{"a"});
}

TEST(RunComparisonTest, EqualRunsAreAllBest) {
    const std::vector<ComparedRun> runs{doneRun("a", {fmax(40)}), doneRun("b", {fmax(40)}),
                                        doneRun("c", {fmax(39)})};
    const shell::Verdict verdict = judged(runs, "fmax");
    EXPECT_EQ(namesOf(verdict.best), (Names{"a", "b"}));
    EXPECT_EQ(namesOf(verdict.others), Names{"c"});
}

TEST(RunComparisonTest, ASecondGoalDecidesATie) {
    const std::vector<ComparedRun> runs{doneRun("a", {fmax(40), luts(10)}),
                                        doneRun("b", {fmax(40), luts(9)}),
                                        doneRun("c", {fmax(40)})};
    EXPECT_EQ(namesOf(judged(runs, "fmax,luts").best), Names{"b"});
}

TEST(RunComparisonTest, RunsThatAreNotDoneAreLeftOut) {
    ComparedRun running = doneRun("a", {fmax(99)});
    running.isDone = false;
    running.status = "running";
    const std::vector<ComparedRun> runs{running, doneRun("b", {fmax(40)})};
    const shell::Verdict verdict = judged(runs, "fmax");
    EXPECT_EQ(namesOf(verdict.best), Names{"b"});
    ASSERT_EQ(verdict.leftOut.size(), 1U);
    EXPECT_EQ(verdict.leftOut[0].run, &runs[0]);
    EXPECT_EQ(verdict.leftOut[0].reason, "it isn't done (running)");
}

TEST(RunComparisonTest, StaleRunsAreLeftOut) {
    std::vector<ComparedRun> runs{doneRun("a", {fmax(99)}), doneRun("b", {fmax(40)})};
    runs[0].isStale = true;
    const shell::Verdict verdict = judged(runs, "fmax");
    EXPECT_EQ(namesOf(verdict.best), Names{"b"});
    ASSERT_EQ(verdict.leftOut.size(), 1U);
    EXPECT_EQ(verdict.leftOut[0].reason, "its results are stale; bring it up to date: xp launch a");
}

TEST(RunComparisonTest, RunsWithoutTheFigureAreLeftOut) {
    const std::vector<ComparedRun> runs{doneRun("a", {luts(1)}), doneRun("b", {fmax(40)})};
    const shell::Verdict verdict = judged(runs, "fmax");
    EXPECT_EQ(namesOf(verdict.best), Names{"b"});
    ASSERT_EQ(verdict.leftOut.size(), 1U);
    EXPECT_EQ(verdict.leftOut[0].reason,
              "no report tells its Fmax; look at them with: xp report list a");
}

TEST(RunComparisonTest, ARunThatMissesItsClockGoalIsTold) {
    const Figure missed{"missed_clocks", "Missed clocks", 1, "", Figure::kLower};
    const std::vector<ComparedRun> runs{doneRun("a", {fmax(40), slack(-0.5)}),
                                        doneRun("b", {fmax(41), slack(0)}),
                                        doneRun("c", {fmax(39), missed})};
    EXPECT_EQ(namesOf(judged(runs, "fmax").missing), (Names{"a", "c"}));
}

TEST(RunComparisonTest, AnyFigureWithABetterSideIsAGoal) {
    const Figure errors{"drc_errors", "DRC errors", 3, "", Figure::kLower};
    const std::vector<ComparedRun> runs{doneRun("a", {errors, ports(7)})};
    const std::vector<shell::Goal> goals = shell::readGoals("drc_errors", runs);
    ASSERT_EQ(goals.size(), 1U);
    EXPECT_EQ(goals[0].figure, "drc_errors");
    EXPECT_FALSE(goals[0].isHigherBetter);
    EXPECT_EQ(test::thrownText<shell::CommandError>([&] { shell::readGoals("ports", runs); }),
              "There is no goal 'ports'. Choose one of: fmax, slack, luts, time, drc_errors.");
}

TEST(RunComparisonTest, AMisspeltGoalIsMetWithTheOneThatWasMeant) {
    EXPECT_EQ(test::thrownText<shell::CommandError>([] { shell::readGoals("fmaxx", {}); }),
              "There is no goal 'fmaxx'. Did you mean 'fmax'?");
    for (const std::string text : {"", "fmax,", ",fmax", "fmax,,luts"})
        EXPECT_NE(test::thrownText<shell::CommandError>([&] {
                      shell::readGoals(text, {});
                  }).find("There is no goal ''."),
                  std::string::npos)
            << text;
}

TEST(RunComparisonTest, AFigureOfALaterStepTakesThePlaceOfTheEarlier) {
    ComparedRun run;
    shell::addFigures(run, {fmax(60), luts(5)});
    shell::addFigures(run, {fmax(54)});
    ASSERT_EQ(run.figures.size(), 2U);
    EXPECT_EQ(shell::figureOf(run, "fmax")->value, 54);
    EXPECT_EQ(shell::figureOf(run, "nothing"), nullptr);
}

TEST(RunComparisonTest, EveryFigureIsARowOnce) {
    const std::vector<Figure> rows =
        shell::figureRows({doneRun("a", {luts(1), fmax(2)}), doneRun("b", {fmax(3), ports(4)})});
    Names names;
    for (const Figure& row : rows)
        names.push_back(row.name);
    EXPECT_EQ(names, (Names{"luts", "fmax", "ports"}));
}

TEST(RunComparisonTest, OnlyOptionsThatDifferAreShown) {
    std::vector<ComparedRun> runs{doneRun("a", {}), doneRun("b", {}), doneRun("c", {})};
    runs[0].options = {{"place.seed", "1"}, {"place.placer", "heap"}, {"synth.flatten", "true"}};
    runs[1].options = {{"place.seed", "7"}, {"place.placer", "heap"}};
    runs[2].options = {{"place.placer", "heap"}, {"route.router", "router1"}};
    const std::vector<shell::OptionRow> rows = shell::differingOptions(runs);
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].name, "place.seed");
    EXPECT_EQ(rows[0].cells[0].value, "1");
    EXPECT_EQ(rows[0].cells[1].value, "7");
    EXPECT_FALSE(rows[0].cells[2].isThere);
}

}  // namespace
