// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HDGUIStatus.h"

#include <thread>

#include <gtest/gtest.h>

namespace {

TEST(StatusTest, HasItsDefaults) {
    const HDGUIStatus status;
    EXPECT_EQ(status.getText(), "");
    EXPECT_EQ(status.getDetailText(), "");
    EXPECT_EQ(status.getDoneCount(), 0);
    EXPECT_EQ(status.getTotalCount(), 0);
    EXPECT_EQ(status.getCode(), HDGUIStatus::statusNotStarted);
    EXPECT_TRUE(status.isVisible());
}

TEST(StatusTest, StartsWithTheTextsGiven) {
    const HDGUIStatus status("Not Started", "Nothing was launched");
    EXPECT_EQ(status.getText(), "Not Started");
    EXPECT_EQ(status.getDetailText(), "Nothing was launched");
    EXPECT_EQ(status.getCode(), 0);
}

TEST(StatusTest, KeepsWhatIsSet) {
    HDGUIStatus status;
    status.setText("Running");
    status.setDetailText("Running place_design");
    status.setDoneCount(2);
    status.setTotalCount(5);
    status.setCode(HDGUIStatus::statusRunning);
    status.setVisible(false);
    EXPECT_EQ(status.getText(), "Running");
    EXPECT_EQ(status.getDetailText(), "Running place_design");
    EXPECT_EQ(status.getDoneCount(), 2);
    EXPECT_EQ(status.getTotalCount(), 5);
    EXPECT_EQ(status.getCode(), 2);
    EXPECT_FALSE(status.isVisible());
}

TEST(StatusTest, HasTheCodesThatRunsAndStepsShare) {
    EXPECT_EQ(HDGUIStatus::statusNotStarted, 0);
    EXPECT_EQ(HDGUIStatus::statusQueued, 1);
    EXPECT_EQ(HDGUIStatus::statusRunning, 2);
    EXPECT_EQ(HDGUIStatus::statusDone, 3);
    EXPECT_EQ(HDGUIStatus::statusError, 5);
}

TEST(StatusTest, TakesACodeThatItDoesNotKnow) {
    HDGUIStatus status;
    status.setCode(4);
    EXPECT_EQ(status.getCode(), 4);
}

TEST(StatusTest, IsReadWhileAnotherThreadSetsTheCode) {
    HDGUIStatus status;
    std::thread writer([&status] {
        for (int i = 0; i < 1000; ++i)
            status.setCode(i % 2 == 0 ? HDGUIStatus::statusRunning : HDGUIStatus::statusDone);
    });
    int strange = 0;
    for (int i = 0; i < 1000; ++i) {
        const int code = status.getCode();
        strange += code != 0 && code != 2 && code != 3;
    }
    writer.join();
    EXPECT_EQ(strange, 0);
    EXPECT_EQ(status.getCode(), HDGUIStatus::statusDone);
}

}  // namespace
