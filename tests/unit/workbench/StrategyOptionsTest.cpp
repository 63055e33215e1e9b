// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/strategyOptions.h"

#include <memory>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "environment/errors/HEXUserException.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/optionText.h"

namespace {

class StrategyOptionsTest : public ::testing::Test {
protected:
    std::string refusal(const std::string& name, const std::string& value) const {
        return test::thrownText<HEXUserException>(
            [&] { workbench::setOption(m_strategy, name, value); });
    }

    std::string valueOf(const std::string& name) const {
        for (const auto& option : workbench::optionsOf(m_strategy)) {
            if (option.fullName() == name)
                return workbench::optionText(*option.group, *option.spec);
        }
        return "no such option";
    }

    test::TestBench m_bench;
    const std::unique_ptr<HAXPStrategy> m_first =
        std::make_unique<HAXPStrategy>(&test::TestBench::implementation());
    const std::unique_ptr<HAXPStrategy> m_second =
        std::make_unique<HAXPStrategy>(&test::TestBench::implementation());
    HAXPStrategy& m_strategy = *m_first;
    HAXPStrategy& m_other = *m_second;
};

TEST_F(StrategyOptionsTest, AreNamedByStepAndOptionEachOnce) {
    std::set<std::string> names;
    for (const auto& option : workbench::optionsOf(m_strategy))
        EXPECT_TRUE(names.insert(option.fullName()).second) << option.fullName();
    EXPECT_EQ(names.count("place_design.seed"), 1U);
    EXPECT_EQ(names.count("write_bitstream.is_enabled"), 1U);
    EXPECT_EQ(names.count("place_design.REPORTS"), 0U);
}

TEST_F(StrategyOptionsTest, AreSetByTheirNameAloneWhereOneStepHasIt) {
    workbench::setOption(m_strategy, "seed", "7");
    workbench::setOption(m_strategy, "route_design.router", "router2");
    EXPECT_EQ(valueOf("place_design.seed"), "7");
    EXPECT_EQ(valueOf("route_design.router"), "router2");
}

TEST_F(StrategyOptionsTest, AnUnknownNameIsMetWithTheKnownOnes) {
    const std::string text = refusal("sede", "7");
    EXPECT_EQ(text.find("There is no option sede. There are: init_design."), 0U) << text;
    EXPECT_NE(text.find(", place_design.seed, "), std::string::npos) << text;
}

TEST_F(StrategyOptionsTest, ABadValueLeavesTheOldOne) {
    EXPECT_EQ(refusal("seed", "many"),
              "Option place_design.seed can't be set: 'many' is no whole number.");
    EXPECT_NE(refusal("placer", "$(reboot)").find("a shell would take as its own"),
              std::string::npos);
    EXPECT_EQ(valueOf("place_design.seed"), "1");
    EXPECT_EQ(valueOf("place_design.placer"), "heap");
}

TEST_F(StrategyOptionsTest, DifferencesAreNoneBetweenEqualStrategies) {
    EXPECT_TRUE(workbench::differences(m_strategy, m_other).empty());
}

TEST_F(StrategyOptionsTest, DifferencesTellBothValuesInTheOrderAsked) {
    workbench::setOption(m_strategy, "seed", "7");
    workbench::setOption(m_other, "write_bitstream.is_enabled", "false");
    const auto found = workbench::differences(m_strategy, m_other);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].step, "place_design");
    EXPECT_EQ(found[0].name, "seed");
    EXPECT_EQ(found[0].first, "7");
    EXPECT_EQ(found[0].second, "1");
    EXPECT_EQ(found[1].step, "write_bitstream");
    EXPECT_EQ(found[1].name, "is_enabled");
    EXPECT_EQ(found[1].first, "true");
    EXPECT_EQ(found[1].second, "false");
}

}  // namespace
