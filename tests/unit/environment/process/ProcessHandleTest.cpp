// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/HUTProcessHandle.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/FakeProcessTable.h"

namespace {

TEST(ProcessHandleTest, KnowsNothingAtFirst) {
    const HUTProcessHandle handle;
    std::string text = "left";
    handle.getHostname(text);
    EXPECT_EQ(text, "");
    EXPECT_FALSE(handle.isComplete());
    EXPECT_FALSE(handle.isPartialComplete());
    EXPECT_EQ(handle.parseAttemptsCount(), 0);
    EXPECT_EQ(handle.getStartStamp(), 0);
    EXPECT_EQ(handle.getEndStamp(), 0);
    EXPECT_EQ(handle.look(), HUTProcessHandle::Life::kUnknown);
}

TEST(ProcessHandleTest, IsPartlyCompleteWithHostAndPid) {
    HUTProcessHandle handle;
    handle.setHostname("here");
    EXPECT_FALSE(handle.isPartialComplete());
    handle.setPid(42);
    EXPECT_TRUE(handle.isPartialComplete());
    EXPECT_FALSE(handle.isComplete());
    handle.setHostname("");
    EXPECT_FALSE(handle.isPartialComplete());
}

HUTProcessHandle filled() {
    HUTProcessHandle handle;
    handle.setHostname("here");
    handle.setUser("jane");
    handle.setCommand("place");
    handle.setUid(1000);
    handle.setPid(42);
    handle.setGroup(42);
    handle.setStartTicks(7);
    handle.setBootId("6d1f0a52-88c4-4b0e-9d1e-0f6c2b7a4e11");
    handle.setComplete(true);
    handle.countParseAttempt();
    handle.setStartStamp(11);
    handle.setEndStamp(12);
    return handle;
}

TEST(ProcessHandleTest, ForgetsEverythingWhenItIsReset) {
    HUTProcessHandle handle = filled();
    handle.reset();
    EXPECT_FALSE(handle.isComplete());
    EXPECT_FALSE(handle.isPartialComplete());
    EXPECT_EQ(handle.parseAttemptsCount(), 0);
    EXPECT_EQ(handle.getStartStamp(), 0);
    EXPECT_EQ(handle.getEndStamp(), 0);
    EXPECT_EQ(handle.getUid(), -1);
}

TEST(ProcessHandleTest, KeepsAttemptsAndStampsWithoutItsRecord) {
    HUTProcessHandle handle = filled();
    handle.clearRecord();
    EXPECT_FALSE(handle.isComplete());
    EXPECT_FALSE(handle.isPartialComplete());
    EXPECT_EQ(handle.parseAttemptsCount(), 1);
    EXPECT_EQ(handle.getStartStamp(), 11);
    EXPECT_EQ(handle.getEndStamp(), 12);
}

TEST(ProcessHandleTest, TakesARecordAndKeepsAttemptsAndStamps) {
    HUTProcessHandle handle;
    handle.countParseAttempt();
    handle.countParseAttempt();
    handle.setStartStamp(3);
    handle.takeRecord(filled());
    EXPECT_TRUE(handle.isComplete());
    EXPECT_EQ(handle.getPid(), 42);
    EXPECT_EQ(handle.parseAttemptsCount(), 2);
    EXPECT_EQ(handle.getStartStamp(), 3);
}

/// What is seen of process 42 of the made-up host.
class ProcessLifeTest : public ::testing::Test {
protected:
    test::FakeProcessTable m_host;
    HUTProcessHandle m_handle = filled();
};

TEST_F(ProcessLifeTest, IsAliveWhileItRuns) {
    m_host.add(42, 42, 7);
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kAlive);
}

TEST_F(ProcessLifeTest, IsGoneWithoutAProcess) {
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kGone);
}

TEST_F(ProcessLifeTest, IsGoneWhenItsParentHasNotNoticed) {
    m_host.add(42, 42, 7);
    m_host.makeZombie(42);
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kGone);
}

TEST_F(ProcessLifeTest, IsGoneWhenItsPidIsAnothers) {
    m_host.add(42, 42, 8);
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kGone);
}

TEST_F(ProcessLifeTest, IsUnknownOnAnotherHost) {
    m_host.add(42, 42, 7);
    m_handle.setHostname("there");
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kUnknown);
}

TEST_F(ProcessLifeTest, IsUnknownInAnotherContainer) {
    m_host.add(42, 42, 7);
    m_handle.setPidNamespace("1");
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kUnknown);
}

TEST_F(ProcessLifeTest, IsEarlierThanThisStartOfTheHost) {
    m_host.add(42, 42, 7);
    m_handle.setBootId("00000000-88c4-4b0e-9d1e-0f6c2b7a4e11");
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kEarlier);
}

TEST_F(ProcessLifeTest, IsUnknownWithoutItsStart) {
    m_host.add(42, 42, 7);
    m_handle.setStartTicks(0);
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kUnknown);
}

}  // namespace
