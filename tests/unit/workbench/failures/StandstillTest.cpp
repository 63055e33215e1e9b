// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/failures/standstill.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::string>;

/// Adds `count` iterations after each of which `overused` wires and `slow` arcs are left.
void addIterations(Lines& log, int count, int overused, int slow) {
    for (int i = 0; i < count; ++i)
        log.push_back("Info:     iter=" + std::to_string(log.size()) + " wires=15310 overused=" +
                      std::to_string(overused) + " overuse=" + std::to_string(overused) +
                      " tmgfail=" + std::to_string(slow) + " archfail=NA");
}

void addRows(Lines& log, int count, int left) {
    for (int i = 0; i < count; ++i)
        log.push_back("Info:     " + std::to_string(1000 * log.size()) +
                      " |     130        869 |  130   869 |     " + std::to_string(left) +
                      "|      0.29       0.29|");
}

TEST(StandstillTest, ARouterThatComesNearerMovesOn) {
    Lines log{"Running router2..."};
    for (int left = 900; left > 0; left -= 3)
        addIterations(log, 1, left, 0);
    EXPECT_FALSE(workbench::findStandstill(log));
    EXPECT_FALSE(workbench::findStandstill({}));
}

TEST(StandstillTest, ARouterThatRipsUpForTimingForeverStandsStill) {
    Lines log{"Running router2..."};
    for (int left = 40; left >= 0; --left)
        addIterations(log, 1, left, 7);
    addIterations(log, 99, 0, 7);
    EXPECT_FALSE(workbench::findStandstill(log));
    addIterations(log, 1, 2, 9);
    const auto found = workbench::findStandstill(log);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->rounds, 100);
    EXPECT_EQ(found->conflicts, 7);
    EXPECT_EQ(found->what, "of 141 iterations of the router the last 100 came no nearer to the "
                           "end; 7 conflicts were the fewest");
}

TEST(StandstillTest, OneStepForwardIsEnough) {
    Lines log{"Running router2..."};
    addIterations(log, 100, 5, 0);
    addIterations(log, 50, 4, 0);
    EXPECT_FALSE(workbench::findStandstill(log));
}

TEST(StandstillTest, TheFirstRouterIsToldByItsArcs) {
    Lines log{"Info: Routing.."};
    addRows(log, 1, 900);
    addRows(log, 201, 812);
    const auto found = workbench::findStandstill(log);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->what, "of 202000 arcs that the router tried the last 200000 came no nearer "
                           "to the end; 812 left were the fewest");
}

TEST(StandstillTest, WhatIsOverDoesntCount) {
    Lines log{"Running router2..."};
    addIterations(log, 300, 5, 0);
    log.emplace_back("Info: Router2 time 3.00s");
    EXPECT_FALSE(workbench::findStandstill(log));
    addIterations(log, 300, 5, 0);
    log.emplace_back("Command: nextpnr-ice40 --seed 2");
    addIterations(log, 10, 5, 0);
    EXPECT_FALSE(workbench::findStandstill(log));
}

}  // namespace
