// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/selection.h"

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using statistics::Candidate;
using statistics::chooseBest;
using statistics::Requirement;
using statistics::Rule;
using statistics::SelectionStep;

using Places = std::vector<std::size_t>;

/// The rule that `text` is; a refused one has no metric.
Rule rule(const std::string& text) {
    Rule read;
    std::string reason;
    EXPECT_TRUE(parseRule(text, read, reason)) << reason;
    EXPECT_TRUE(reason.empty());
    return read;
}

Requirement requirement(const std::string& text) {
    Requirement read;
    std::string reason;
    EXPECT_TRUE(parseRequirement(text, read, reason)) << reason;
    EXPECT_TRUE(reason.empty());
    return read;
}

TEST(RuleTest, SaysMetricDirectionAndTolerance) {
    const Rule read = rule("fmax max 1%");
    EXPECT_EQ(read.metric, "fmax");
    EXPECT_EQ(read.direction, Rule::kMax);
    EXPECT_DOUBLE_EQ(read.tolerance, 0.01);
    EXPECT_TRUE(read.isShare);
}

TEST(RuleTest, AToleranceWithoutPercentIsInTheUnitOfTheMetric) {
    const Rule read = rule("luts min 5");
    EXPECT_EQ(read.direction, Rule::kMin);
    EXPECT_EQ(read.tolerance, 5);
    EXPECT_FALSE(read.isShare);
}

TEST(RuleTest, DirectionAndToleranceMayBeLeftOut) {
    EXPECT_FALSE(rule("fmax").direction);
    EXPECT_EQ(rule("fmax").tolerance, 0);
    EXPECT_FALSE(rule("fmax 2%").direction);
    EXPECT_DOUBLE_EQ(rule("fmax 2%").tolerance, 0.02);
}

TEST(RuleTest, BlanksDoNotMatter) {
    EXPECT_EQ(ruleText(rule("  fmax   max  1% ")), "fmax max 1%");
}

/// A text that is refused, and why.
struct BadText {
    const char* name;
    const char* text;
    const char* reason;
};

std::ostream& operator<<(std::ostream& os, const BadText& row) {
    return os << row.name;
}

std::string nameOf(const ::testing::TestParamInfo<BadText>& row) {
    return row.param.name;
}

const char kRuleForm[] = "; a rule is METRIC max|min, and how near to the best is as good: 'fmax "
                         "max 1%', 'luts min 5'";

class BadRuleTest : public ::testing::TestWithParam<BadText> {};

TEST_P(BadRuleTest, IsRefusedWithItsReason) {
    Rule read;
    read.metric = "before";
    std::string reason;
    EXPECT_FALSE(parseRule(GetParam().text, read, reason));
    const std::string text = GetParam().reason;
    EXPECT_EQ(reason, text.front() == '\'' ? text + kRuleForm : text);
    EXPECT_EQ(read.metric, "before");
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadRuleTest,
    ::testing::Values(
        BadText{"Empty", "  ", "It is empty; a rule is such as 'fmax max 1%'"},
        BadText{"Direction", "fmax highest", "'highest' is neither max nor min, nor a tolerance"},
        BadText{"Tolerance", "fmax max 1x", "'1x' is no tolerance such as 1% or 0.5"},
        BadText{"Negative", "fmax max -1%", "'-1%' is no tolerance such as 1% or 0.5"},
        BadText{"AllOfIt", "fmax max 100%", "'100%' is no tolerance such as 1% or 0.5"},
        BadText{"Infinite", "fmax max inf", "'inf' is no tolerance such as 1% or 0.5"},
        BadText{"OnlyPercent", "fmax max %", "'%' is no tolerance such as 1% or 0.5"},
        BadText{"TooMany", "fmax max 1% cells", "'cells' is one word too many"}),
    nameOf);

TEST(RequirementTest, KnowsEveryRelation) {
    EXPECT_TRUE(requirement("slack>=0").holdsFor(0));
    EXPECT_FALSE(requirement("slack >= 0").holdsFor(-0.1));
    EXPECT_TRUE(requirement("luts <= 5").holdsFor(5));
    EXPECT_FALSE(requirement("luts<5").holdsFor(5));
    EXPECT_FALSE(requirement("luts>5").holdsFor(5));
    EXPECT_TRUE(requirement("missed_clocks = 0").holdsFor(0));
    EXPECT_TRUE(requirement("missed_clocks == 0").holdsFor(0));
    EXPECT_FALSE(requirement("missed_clocks != 0").holdsFor(0));
}

TEST(RequirementTest, IsToldInOneForm) {
    EXPECT_EQ(requirementText(requirement("slack>=-0.5")), "slack >= -0.5");
    EXPECT_EQ(requirementText(requirement(" a==1e3 ")), "a = 1000");
}

class BadRequirementTest : public ::testing::TestWithParam<BadText> {};

TEST_P(BadRequirementTest, IsRefusedWithItsReason) {
    Requirement read;
    read.metric = "before";
    std::string reason;
    EXPECT_FALSE(parseRequirement(GetParam().text, read, reason));
    EXPECT_EQ(reason, GetParam().reason);
    EXPECT_EQ(read.metric, "before");
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadRequirementTest,
    ::testing::Values(BadText{"Empty", "",
                              "It has none of >= <= > < = !=; a requirement is such as 'slack >= "
                              "0'"},
                      BadText{"NoRelation", "slack 0",
                              "It has none of >= <= > < = !=; a requirement is such as 'slack >= "
                              "0'"},
                      BadText{"LoneMark", "slack ! 0",
                              "It has none of >= <= > < = !=; a requirement is such as 'slack >= "
                              "0'"},
                      BadText{"NoMetric", ">= 0",
                              "There must be one metric before >=; a requirement is such as "
                              "'slack >= 0'"},
                      BadText{"TwoMetrics", "worst slack >= 0",
                              "There must be one metric before >=; a requirement is such as "
                              "'slack >= 0'"},
                      BadText{"NoNumber", "slack >=",
                              "'' behind >= is no number; a requirement is such as 'slack >= 0', "
                              "in the metric's own unit"},
                      BadText{"Unit", "slack >= 0 ns",
                              "'0 ns' behind >= is no number; a requirement is such as 'slack >= "
                              "0', in the metric's own unit"},
                      BadText{"Reversed", "slack => 0",
                              "'> 0' behind = is no number; a requirement is such as 'slack >= "
                              "0', in the metric's own unit"}),
    nameOf);

class SelectionTest : public ::testing::Test {
protected:
    /// Places 0 to 3.
    const std::vector<Candidate> m_candidates{{{"fmax", 100}, {"cells", 50}, {"slack", -1}},
                                              {{"fmax", 99.5}, {"cells", 40}, {"slack", 1}},
                                              {{"fmax", 99.2}, {"cells", 41}, {"slack", 2}},
                                              {{"fmax", 80}, {"cells", 10}, {"slack", 3}}};
};

TEST_F(SelectionTest, TheBestOfOneMetricWins) {
    const auto steps = chooseBest(m_candidates, {}, {rule("fmax max")});
    ASSERT_EQ(steps.size(), 1U);
    EXPECT_EQ(steps[0].left, Places{0});
    EXPECT_EQ(steps[0].dropped, (Places{1, 2, 3}));
    EXPECT_EQ(chooseBest(m_candidates, {}, {rule("fmax min")}).back().left, Places{3});
}

TEST_F(SelectionTest, WithinTheToleranceTheNextRuleDecides) {
    const auto steps = chooseBest(m_candidates, {}, {rule("fmax max 1%"), rule("cells min")});
    ASSERT_EQ(steps.size(), 2U);
    EXPECT_EQ(steps[0].left, (Places{0, 1, 2}));
    EXPECT_EQ(steps[1].kind, SelectionStep::kRule);
    EXPECT_EQ(steps[1].index, 1U);
    EXPECT_EQ(steps[1].left, Places{1});
}

TEST_F(SelectionTest, WhatIsRequiredGoesFirst) {
    const auto steps = chooseBest(
        m_candidates, {requirement("slack >= 0"), requirement("cells > 10")}, {rule("fmax max")});
    ASSERT_EQ(steps.size(), 3U);
    EXPECT_EQ(steps[0].kind, SelectionStep::kRequirement);
    EXPECT_EQ(steps[0].dropped, Places{0});
    EXPECT_EQ(steps[1].index, 1U);
    EXPECT_EQ(steps[1].dropped, Places{3});
    EXPECT_EQ(steps[2].left, Places{1});
}

TEST_F(SelectionTest, EndsWhenNothingIsLeft) {
    const auto steps = chooseBest(
        m_candidates, {requirement("slack >= 9"), requirement("cells > 0")}, {rule("fmax max")});
    ASSERT_EQ(steps.size(), 1U);
    EXPECT_TRUE(steps[0].left.empty());
}

TEST_F(SelectionTest, AmongThoseAsGoodTheRulesDecideWithoutTheirTolerance) {
    const auto steps = chooseBest(m_candidates, {}, {rule("fmax max 1%")});
    ASSERT_EQ(steps.size(), 2U);
    EXPECT_EQ(steps[1].kind, SelectionStep::kTie);
    EXPECT_EQ(steps[1].left, Places{0});
}

TEST_F(SelectionTest, EqualOnesWinTogether) {
    const std::vector<Candidate> twins{{{"fmax", 1}}, {{"fmax", 2}}, {{"fmax", 2}}};
    EXPECT_EQ(chooseBest(twins, {}, {rule("fmax max")}).back().left, (Places{1, 2}));
}

TEST_F(SelectionTest, AShareOfABestBelowZeroIsOfItsSize) {
    const std::vector<Candidate> below{{{"slack", -10}}, {{"slack", -10.5}}, {{"slack", -12}}};
    EXPECT_EQ(chooseBest(below, {}, {rule("slack max 10%")}).front().left, (Places{0, 1}));
}

TEST_F(SelectionTest, NothingToChooseFromTakesNoStep) {
    EXPECT_TRUE(chooseBest({}, {requirement("a > 0")}, {rule("a max")}).empty());
}

}  // namespace
