// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/shippedStrategies.h"

#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"

namespace {

class ShippedStrategiesTest : public ::testing::Test {
protected:
    std::vector<const HAXPFlow*> flows() const {
        return {&test::TestBench::synthesis(), &test::TestBench::implementation()};
    }

    test::TestBench m_bench;
};

TEST_F(ShippedStrategiesTest, AreADefaultAndAtLeastTwoOthersForEachFlow) {
    for (const HAXPFlow* flow : flows()) {
        const std::vector<std::string> names = workbench::shippedStrategyNames(*flow);
        EXPECT_GE(names.size(), 3U);
        EXPECT_EQ(names.front(), "Default");
        EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
    }
}

TEST_F(ShippedStrategiesTest, AllApplyToARun) {
    for (const HAXPFlow* flow : flows()) {
        for (const std::string& name : workbench::shippedStrategyNames(*flow)) {
            const auto strategy = workbench::makeShippedStrategy(*flow, name);
            ASSERT_NE(strategy, nullptr) << name;
            EXPECT_FALSE(strategy->isUserDefined());
            EXPECT_FALSE(strategy->getDescription().empty()) << name;
            const HAXPExpRun run("run_1", strategy.get(), nullptr);
            EXPECT_FALSE(run.getStrategy()->differsFrom(strategy.get())) << name;
        }
    }
}

TEST_F(ShippedStrategiesTest, DifferFromTheDefault) {
    for (const HAXPFlow* flow : flows()) {
        const auto plain = workbench::makeShippedStrategy(*flow, "Default");
        for (const std::string& name : workbench::shippedStrategyNames(*flow)) {
            const auto strategy = workbench::makeShippedStrategy(*flow, name);
            EXPECT_EQ(strategy->differsFrom(plain.get()), name != "Default") << name;
        }
    }
}

TEST_F(ShippedStrategiesTest, AnUnknownNameGivesNone) {
    EXPECT_EQ(workbench::makeShippedStrategy(test::TestBench::synthesis(), "default"), nullptr);
    EXPECT_EQ(workbench::makeShippedStrategy(test::TestBench::synthesis(), ""), nullptr);
}

}  // namespace
