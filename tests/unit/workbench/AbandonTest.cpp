// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/abandon.h"

#include <limits>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXUserException.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/Abandoner.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/ice40/metrics.h"
#include "workbench/launchLease.h"

namespace {

using workbench::Abandonment;
using workbench::AbandonRule;
using workbench::BestResult;
using workbench::EstimateError;

const BestResult kBest{"night_s1", 50};

AbandonRule ruleOf(const std::string& text) {
    return workbench::readAbandonRule(text);
}

TEST(AbandonRuleTest, IsAShareOfTheBestOrAFrequency) {
    EXPECT_DOUBLE_EQ(ruleOf("fmax < 90% of best").number, 0.9);
    EXPECT_TRUE(ruleOf("fmax < 90% of best").isShare);
    EXPECT_DOUBLE_EQ(ruleOf("fmax<47.5").number, 47.5);
    EXPECT_FALSE(ruleOf("fmax<47.5").isShare);
    EXPECT_DOUBLE_EQ(ruleOf(" fmax < 48 MHz ").number, 48);
    EXPECT_EQ(ruleOf(" fmax < 48 MHz ").text, "fmax < 48 MHz");
    EXPECT_DOUBLE_EQ(ruleOf("fmax < 100 % of best").number, 1);
}

/// A text that is no rule, and why.
struct BadRule {
    const char* name;
    const char* text;
    const char* why;
};

std::ostream& operator<<(std::ostream& os, const BadRule& row) {
    return os << row.name;
}

class BadAbandonRuleTable : public ::testing::TestWithParam<BadRule> {};

TEST_P(BadAbandonRuleTable, IsRefusedWithItsReason) {
    const std::string told = test::thrownText<HEXUserException>([] { ruleOf(GetParam().text); });
    EXPECT_EQ(told, "\"" + std::string(GetParam().text) +
                        "\" is no rule for abandoning runs: " + GetParam().why +
                        ". Say for example 'fmax < 90% of best', 'fmax < 48' in MHz, or 'luts > "
                        "110% of best'.");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, BadAbandonRuleTable,
    ::testing::Values(
        BadRule{"Empty", "", "it has no < or >"}, BadRule{"Word", "fmax", "it has no < or >"},
        BadRule{"NoFigure", " < 5", "it names no figure"},
        BadRule{"Figure", "seconds > 5",
                "'seconds' isn't known after placement, but fmax, luts, logic_cells, flip_flops "
                "and block_rams are"},
        BadRule{"Below", "luts < 5", "runs are abandoned that come above, which is >"},
        BadRule{"CountUnit", "luts > 5 MHz", "'MHz' isn't '% of best'"},
        BadRule{"LessThanTheBest", "luts > 90% of best",
                "less than 100% of the best would abandon the best itself"},
        BadRule{"Above", "fmax > 5", "runs are abandoned that stay below, which is <"},
        BadRule{"OrEqual", "fmax <= 5", "runs are abandoned that stay below, which is <"},
        BadRule{"NoNumber", "fmax < best", "behind < there is no number above 0"},
        BadRule{"Zero", "fmax < 0", "behind < there is no number above 0"},
        BadRule{"Negative", "fmax < -5", "behind < there is no number above 0"},
        BadRule{"TwoPoints", "fmax < 1.2.3", "behind < there is no number above 0"},
        BadRule{"PercentAlone", "fmax < 90%", "'%' isn't '% of best' or MHz"},
        BadRule{"Unit", "fmax < 48 kHz", "'kHz' isn't '% of best' or MHz"},
        BadRule{"MoreThanTheBest", "fmax < 110% of best",
                "more than 100% of the best would abandon the best itself"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(EstimateErrorTest, IsCautiousUntilThereAreLaunchesToLearnFrom) {
    const EstimateError error = workbench::estimateError(std::vector<double>(9, 1.1));
    EXPECT_EQ(error.launches, 0U);
    EXPECT_DOUBLE_EQ(error.most, 1.5);
    EXPECT_EQ(workbench::errorText(error),
              "until there are 10 launches to learn from, a result is taken to be at most 1.5 "
              "times its estimate");
}

TEST(EstimateErrorTest, IsTheMostThatAResultCameTo) {
    std::vector<double> ratios(9, 1.1);
    ratios.push_back(1.25);
    const EstimateError error = workbench::estimateError(ratios);
    EXPECT_EQ(error.launches, 10U);
    EXPECT_DOUBLE_EQ(error.most, 1.25);
    EXPECT_EQ(workbench::errorText(error),
              "by 10 launches a result is at most 1.25 times its estimate (median 1.1)");
}

TEST(EstimateErrorTest, ForgetsWhatIsLongAgo) {
    std::vector<double> ratios(300, 1.1);
    ratios[50] = 9;
    EXPECT_DOUBLE_EQ(workbench::estimateError(ratios).most, 1.1);
    ratios[150] = 1.2;
    EXPECT_DOUBLE_EQ(workbench::estimateError(ratios).most, 1.2);
}

TEST(AbandonDecisionTest, ARunIsOutWhenEvenTheMostIsTooLittle) {
    const EstimateError error{1.25, 1.1, 24};
    const auto found = workbench::decide(ruleOf("fmax < 90% of best"), 30, kBest, error);
    ASSERT_TRUE(found);
    EXPECT_DOUBLE_EQ(found->hope, 37.5);
    EXPECT_DOUBLE_EQ(found->bound, 45);
    EXPECT_EQ(found->bestRun, "night_s1");
    EXPECT_EQ(found->text,
              "its Fmax can't come to 45 MHz, 90% of 50 MHz of night_s1: the estimate after "
              "placement is 30 MHz, and by 24 launches a result is at most 1.25 times its estimate "
              "(median 1.1), here 37.5 MHz");
}

TEST(AbandonDecisionTest, ACountIsKnownAfterPlacement) {
    const EstimateError error{1.5, 1, 0};
    const BestResult best{"night_s1", 100};
    const auto found = workbench::decide(ruleOf("luts > 110% of best"), 111, best, error);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->text, "it has 111 LUTs after placement, which routing doesn't change, more "
                           "than 110, 110% of 100 of night_s1");
    EXPECT_FALSE(workbench::decide(ruleOf("luts > 110% of best"), 110, best, error));
    EXPECT_FALSE(workbench::decide(ruleOf("luts > 110% of best"), 500, std::nullopt, error));
    EXPECT_TRUE(workbench::decide(ruleOf("logic_cells > 400"), 401, std::nullopt, error));
    const double none = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(workbench::decide(ruleOf("luts > 48"), none, best, error));
}

TEST(AbandonDecisionTest, ARunThatMayStillWinIsIn) {
    const EstimateError error{1.5, 1, 0};
    EXPECT_FALSE(workbench::decide(ruleOf("fmax < 90% of best"), 30, kBest, error));
    EXPECT_TRUE(workbench::decide(ruleOf("fmax < 90% of best"), 29.9, kBest, error));
}

TEST(AbandonDecisionTest, NothingIsOutWithoutAnEstimateOrABest) {
    const EstimateError error{1, 1, 0};
    EXPECT_FALSE(workbench::decide(ruleOf("fmax < 90% of best"), std::nullopt, kBest, error));
    EXPECT_FALSE(workbench::decide(ruleOf("fmax < 90% of best"), 1, std::nullopt, error));
    EXPECT_FALSE(workbench::decide(ruleOf("fmax < 48"), std::nullopt, std::nullopt, error));
    EXPECT_TRUE(workbench::decide(ruleOf("fmax < 48"), 1, std::nullopt, error));
}

TEST(AbandonDecisionTest, WhatIsNoNumberAbandonsNothing) {
    const double none = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(workbench::decide(ruleOf("fmax < 48"), none, kBest, {1, 1, 0}));
    EXPECT_FALSE(
        workbench::decide(ruleOf("fmax < 9% of best"), 1, BestResult{"a", none}, {1, 1, 0}));
}

/// Runs of a launch with the numbers that their steps told; nothing is stopped for real.
class RecordingAbandoner final : public workbench::Abandoner {
public:
    using Abandoner::Abandoner;
    std::vector<std::string> stopped;
    bool fails = false;

protected:
    void stop_(HAXPExpRun& run) override {
        stopped.push_back(run.getName());
        if (fails)
            throw HEXUserException("it lives on");
    }
};

/// A run directory with the markers and metrics of its steps.
class AbandonerTest : public ::testing::Test {
protected:
    AbandonerTest() : m_done(makeRun(m_doneDir, 45, 50)), m_run(makeRun(m_dir, 0, 0)) {}

    std::unique_ptr<HAXPExpRun> makeRun(const test::RunDir& dir, double placed, double routed) {
        auto run = m_bench.makeRun(test::TestBench::implementation());
        run->setRunDir(dir.path(), false);
        run->setRunMode(HAXPExpRun::kLaunched);
        workbench::writeLease(dir.path(workbench::kLeaseName), workbench::makeLease());
        for (const char* step : {"init", "place", "route", "bitstream"}) {
            if (placed == 0)
                break;
            markDone(dir, step);
        }
        if (placed > 0)
            tellFmax(dir, "place_design", placed);
        if (routed > 0)
            tellFmax(dir, "route_design", routed);
        run->updateStatus();
        return run;
    }
    static void markDone(const test::RunDir& dir, const std::string& step) {
        dir.mark(".ice40_" + step + ".begin.rst", test::TestBench::handleText());
        dir.mark(".ice40_" + step + ".end.rst");
    }
    static void tellFmax(const test::RunDir& dir, const std::string& step, double mhz) {
        ice40::StepMetrics metrics;
        metrics.step = step;
        metrics.clocks = {{"clk", mhz, 12}};
        dir.mark(ice40::metricsFileName(step), ice40::formatMetrics(metrics));
    }
    /// The run at work, placed with that estimate.
    void place(double mhz) {
        markDone(m_dir, "init");
        markDone(m_dir, "place");
        m_dir.mark(".ice40_route.begin.rst", test::TestBench::handleText());
        tellFmax(m_dir, "place_design", mhz);
        m_run->updateStatus();
    }

    test::TestBench m_bench;
    test::RunDir m_doneDir;
    test::RunDir m_dir;
    test::HeldRunLock m_lock{m_dir.path()};
    std::unique_ptr<HAXPExpRun> m_done;
    std::unique_ptr<HAXPExpRun> m_run;
};

TEST_F(AbandonerTest, TheBestIsAResultNotAnEstimate) {
    place(90);
    const RecordingAbandoner watch(ruleOf("fmax < 90% of best"), {1.2, 1.1, 24},
                                   {m_done.get(), m_run.get()});
    const auto best = watch.best();
    ASSERT_TRUE(best);
    EXPECT_EQ(best->value, 50);
}

TEST_F(AbandonerTest, StopsWhatCantWinOnceAndMarksIt) {
    place(30);
    RecordingAbandoner watch(ruleOf("fmax < 90% of best"), {1.2, 1.1, 24},
                             {m_done.get(), m_run.get()});
    const auto events = watch.look({m_run.get()});
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].fault, "");
    EXPECT_EQ(watch.stopped.size(), 1U);
    const auto mark = workbench::abandonmentOf(*m_run);
    ASSERT_TRUE(mark);
    EXPECT_EQ(mark->text, events[0].text);
    EXPECT_EQ(mark->estimate, 30);
    EXPECT_TRUE(watch.look({m_run.get()}).empty());
}

TEST_F(AbandonerTest, LeavesWhatMayWinWhatIsDoneAndWhatIsNotPlaced) {
    RecordingAbandoner watch(ruleOf("fmax < 90% of best"), {1.2, 1.1, 24},
                             {m_done.get(), m_run.get()});
    EXPECT_TRUE(watch.look({m_done.get(), m_run.get()}).empty());
    place(40);
    EXPECT_TRUE(watch.look({m_run.get()}).empty());
    EXPECT_TRUE(watch.stopped.empty());
}

TEST_F(AbandonerTest, ARunThatIsLaunchedAgainIsJudgedAgain) {
    place(30);
    RecordingAbandoner watch(ruleOf("fmax < 90% of best"), {1.2, 1.1, 24},
                             {m_done.get(), m_run.get()});
    EXPECT_EQ(watch.look({m_run.get()}).size(), 1U);
    EXPECT_TRUE(watch.look({m_run.get()}).empty());
    watch.add({m_run.get()});
    EXPECT_EQ(watch.look({m_run.get()}).size(), 1U);
}

TEST_F(AbandonerTest, ARunThatIsForgottenIsNotTheBest) {
    place(30);
    RecordingAbandoner watch(ruleOf("fmax < 90% of best"), {1.2, 1.1, 24},
                             {m_done.get(), m_run.get()});
    ASSERT_TRUE(watch.best());
    watch.forget(*m_done);
    m_done.reset();
    EXPECT_FALSE(watch.best());
    EXPECT_TRUE(watch.look({m_run.get()}).empty());
}

TEST_F(AbandonerTest, WhatCantBeStoppedGoesOnAndIsToldOnce) {
    place(30);
    RecordingAbandoner watch(ruleOf("fmax < 90% of best"), {1.2, 1.1, 24},
                             {m_done.get(), m_run.get()});
    watch.fails = true;
    const auto events = watch.look({m_run.get()});
    ASSERT_EQ(events.size(), 1U);
    EXPECT_NE(events[0].fault, "");
    EXPECT_TRUE(watch.look({m_run.get()}).empty());
}

TEST_F(AbandonerTest, AMarkOfAnotherLaunchDoesNotCount) {
    Abandonment mark;
    mark.text = "why";
    workbench::markAbandoned(*m_run, mark);
    EXPECT_TRUE(workbench::abandonmentOf(*m_run));
    workbench::writeLease(m_dir.path(workbench::kLeaseName), workbench::makeLease());
    EXPECT_FALSE(workbench::abandonmentOf(*m_run));
}

TEST_F(AbandonerTest, AMarkThatIsCutOrDamagedDoesNotCount) {
    Abandonment mark;
    mark.text = "why";
    workbench::markAbandoned(*m_run, mark);
    std::string text;
    const std::string whole = m_dir.read(workbench::kAbandonedName);
    for (std::size_t size = 0; size + 2 < whole.size(); ++size) {
        m_dir.mark(workbench::kAbandonedName, whole.substr(0, size));
        EXPECT_FALSE(workbench::abandonmentOf(*m_run)) << size;
    }
    m_dir.mark(workbench::kAbandonedName, "[1]");
    EXPECT_FALSE(workbench::abandonmentOf(*m_run));
}

}  // namespace
