// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/HUTSysCall.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/FakeClock.h"

namespace {

TEST(SysCallTest, SleepsAsLongAsItIsTold) {
    const test::FakeClock clock;
    HUTSysCall::msSleep(500);
    HUTSysCall::msSleep(1);
    EXPECT_THAT(clock.sleeps(), ::testing::ElementsAre(500, 1));
}

TEST(SysCallTest, DoesNotSleepForNothing) {
    const test::FakeClock clock;
    HUTSysCall::msSleep(0);
    HUTSysCall::msSleep(-5);
    EXPECT_THAT(clock.sleeps(), ::testing::IsEmpty());
}

TEST(SysCallTest, LetsTimePassOnTheRealClock) {
    const long before = process::clock().nowMs();
    HUTSysCall::msSleep(2);
    EXPECT_GE(process::clock().nowMs() - before, 1);
}

}  // namespace
