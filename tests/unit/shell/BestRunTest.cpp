// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/bestRun.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "shell/bestView.h"
#include "tests/support/thrownText.h"

namespace {

using reports::Figure;
using shell::Choice;
using shell::ComparedRun;

using Texts = std::vector<std::string>;

/// A run that is done, with Fmax in MHz, worst slack in ns and cells.
ComparedRun measuredRun(const std::string& name, double fmax, double slack, double cells) {
    ComparedRun run;
    run.name = name;
    run.status = "done";
    run.isDone = true;
    run.figures = {{"fmax", "Fmax", fmax, "MHz", Figure::kHigher},
                   {"worst_slack", "Worst slack", slack, "ns", Figure::kHigher},
                   {"cells", "Cells", cells, "", Figure::kLower},
                   {"ports", "Ports", 4, "", Figure::kNeither}};
    return run;
}

class BestRunTest : public ::testing::Test {
protected:
    Choice chosen(const Texts& requirements, const Texts& rules) const {
        return choose(m_runs, readChoiceRules(requirements, rules, m_runs));
    }

    std::string refusal(const Texts& requirements, const Texts& rules) const {
        return test::thrownText<shell::CommandError>([&] { chosen(requirements, rules); });
    }

    std::vector<ComparedRun> m_runs{measuredRun("a", 100, -1, 50), measuredRun("b", 99.5, 1, 40),
                                    measuredRun("c", 99.2, 2, 41), measuredRun("d", 80, 3, 10)};
};

TEST_F(BestRunTest, TheRulesDecideInTheirOrder) {
    const Choice choice = chosen({}, {"fmax max 1%", "cells min"});
    ASSERT_EQ(choice.best.size(), 1U);
    EXPECT_EQ(choice.best.front()->name, "b");
    EXPECT_EQ(exitStatusOf(choice), shell::kExitDone);
}

TEST_F(BestRunTest, TellsWhyThisOneWon) {
    EXPECT_EQ(choiceLines(chosen({"slack>=0"}, {"fmax max 1%", "cells min"})),
              (Texts{"Best: b (Fmax 99.5 MHz, Cells 40, worst slack 1 ns)",
                     "  slack >= 0 leaves 3 of 4; out: a (-1 ns)",
                     "  fmax max 1% leaves 2 of 3: b (99.5 MHz), c (99.2 MHz); next: d (80 MHz)",
                     "  cells min leaves 1 of 2: b (40); next: c (41)"}));
}

TEST_F(BestRunTest, AmongEqualsTheRulesDecideWithoutTheirTolerance) {
    EXPECT_EQ(choiceLines(chosen({}, {"fmax 0.5"})),
              (Texts{"Best: a (Fmax 100 MHz)",
                     "  fmax max 0.5 leaves 2 of 4: a (100 MHz), b (99.5 MHz); next: c (99.2 MHz)",
                     "  fmax max, among equals, leaves 1 of 2: a (100 MHz); next: b (99.5 MHz)"}));
}

TEST_F(BestRunTest, WhatNoRuleTellsApartIsBestTogether) {
    m_runs[1].figures = m_runs[0].figures;
    const Choice choice = chosen({}, {"fmax"});
    EXPECT_EQ(choice.best.size(), 2U);
    EXPECT_EQ(choiceLines(choice).front(), "Equally good: a, b (Fmax 100 MHz)");
}

TEST_F(BestRunTest, ARuleTakesTheBetterSideOfItsMetric) {
    EXPECT_EQ(chosen({}, {"cells"}).best.front()->name, "d");
    EXPECT_EQ(chosen({}, {"cells max"}).best.front()->name, "a");
}

TEST_F(BestRunTest, WithoutABetterSideTheRuleMustSayIt) {
    EXPECT_EQ(refusal({}, {"ports"}), "--by 'ports': Neither side of ports is the better one; say "
                                      "'ports max' or 'ports min'.");
    EXPECT_EQ(chosen({}, {"ports min"}).best.size(), 4U);
}

TEST_F(BestRunTest, AnUnknownMetricIsRefusedWithThoseThatThereAre) {
    EXPECT_EQ(refusal({}, {"fmx max"}),
              "There is no metric 'fmx'. Did you mean 'fmax'? The runs have: fmax, slack, luts, "
              "time, worst_slack, cells, ports.");
    EXPECT_EQ(refusal({"beauty > 0"}, {"fmax"}),
              "There is no metric 'beauty'. The runs have: fmax, slack, luts, time, worst_slack, "
              "cells, ports.");
}

TEST_F(BestRunTest, AWrongRuleIsRefusedWithItsOption) {
    EXPECT_EQ(refusal({}, {"fmax", "cells min x"}).substr(0, 22), "--then 'cells min x': ");
    EXPECT_EQ(refusal({"slack"}, {"fmax"}).substr(0, 19), "--require 'slack': ");
}

TEST_F(BestRunTest, WhenNoneMeetsWhatIsRequiredTheGoalIsMissed) {
    const Choice choice = chosen({"slack >= 10"}, {"fmax"});
    EXPECT_EQ(exitStatusOf(choice), shell::kExitGoalMissed);
    EXPECT_EQ(choiceLines(choice),
              (Texts{"No run meets what is required.",
                     "  slack >= 10 leaves 0 of 4; out: a (-1 ns), b (1 ns), c (2 ns), d (3 ns)"}));
}

TEST_F(BestRunTest, WhatCanNotBeJudgedIsToldAndLeftOut) {
    m_runs[0].isStale = true;
    m_runs[1].isDone = false;
    m_runs[1].status = "running";
    m_runs[2].figures.erase(m_runs[2].figures.begin() + 2);
    const Choice choice = chosen({}, {"fmax max", "cells min"});
    EXPECT_EQ(choice.best.front()->name, "d");
    EXPECT_EQ(choiceLines(choice),
              (Texts{"Best: d (Fmax 80 MHz, Cells 10)", "  fmax max leaves 1 of 1: d (80 MHz)",
                     "  cells min leaves 1 of 1: d (10)",
                     "a is left out: its results are stale; bring it up to date: xp launch a",
                     "b is left out: it isn't done (running)",
                     "c is left out: no report tells its Cells; look at them with: xp report "
                     "list c"}));
}

TEST_F(BestRunTest, WhereAllIsStaleTheStatusSaysSo) {
    for (ComparedRun& run : m_runs)
        run.isStale = true;
    EXPECT_EQ(exitStatusOf(chosen({}, {"fmax"})), shell::kExitStale);
    for (ComparedRun& run : m_runs)
        run.isDone = run.isStale = false;
    EXPECT_EQ(exitStatusOf(chosen({}, {"fmax"})), shell::kExitRefused);
    EXPECT_EQ(choiceLines(chosen({}, {"fmax"})).front(), "No run can be judged.");
}

TEST_F(BestRunTest, WithoutRulesAllThatCanBeJudgedAreBest) {
    m_runs[0].isDone = false;
    EXPECT_EQ(choose(m_runs, shell::ChoiceRules()).best.size(), 3U);
    EXPECT_EQ(choose(m_runs, shell::ChoiceRules()).leftOut.size(), 1U);
}

TEST_F(BestRunTest, OfManyOnlySomeAreNamed) {
    for (int i = 0; i < 4; ++i)
        m_runs.push_back(measuredRun("more" + std::to_string(i), 70, -2, 10));
    EXPECT_EQ(choiceLines(chosen({"slack >= 0"}, {"fmax"}))[1],
              "  slack >= 0 leaves 3 of 8; out: a (-1 ns), more0 (-2 ns), more1 (-2 ns), more2 "
              "(-2 ns), more3 (-2 ns)");
    m_runs.push_back(measuredRun("last", 70, -2, 10));
    EXPECT_NE(choiceLines(chosen({"slack >= 0"}, {"fmax"}))[1].find("more3 (-2 ns) and 1 more"),
              std::string::npos);
}

TEST_F(BestRunTest, OfManyThatAreEqualOnlySomeAreNamed) {
    for (const char* name : {"e", "f", "g"})
        m_runs.push_back(measuredRun(name, 1, 1, 1));
    EXPECT_EQ(choiceLines(chosen({}, {"ports min"})).front(),
              "Equally good: a, b, c, d, e and 2 more (Ports 4)");
}

TEST_F(BestRunTest, ForScriptsEveryStepHasItsValues) {
    m_runs[3].isStale = true;
    const nlohmann::json json = choiceJson(chosen({"slack >= 0"}, {"fmax max 1%"}));
    EXPECT_EQ(json["best"], nlohmann::json::array({"b"}));
    EXPECT_EQ(json["judged"], 3);
    ASSERT_EQ(json["why"].size(), 3U);
    EXPECT_EQ(json["why"][0]["kind"], "requirement");
    EXPECT_EQ(json["why"][0]["rule"], "slack >= 0");
    EXPECT_EQ(json["why"][0]["figure"], "worst_slack");
    EXPECT_EQ(json["why"][0]["dropped"][0]["run"], "a");
    EXPECT_EQ(json["why"][0]["dropped"][0]["value"], -1);
    EXPECT_EQ(json["why"][1]["kind"], "rule");
    EXPECT_EQ(json["why"][2]["kind"], "tie");
    EXPECT_EQ(json["left_out"][0]["run"], "d");
}

}  // namespace
