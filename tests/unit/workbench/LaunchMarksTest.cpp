// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/launchMarks.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/process/HUTProcessHandle.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/launchLease.h"
#include "workbench/runLock.h"

namespace {

const char kThis[] = "11111111-1111-1111-1111-111111111111";
const char kEarlier[] = "00000000-0000-0000-0000-000000000000";

/// An implementation whose last launch began at its second step. Its lock is free. No message
/// is expected.
class LaunchMarksTest : public ::testing::Test {
protected:
    LaunchMarksTest() : m_run(m_bench.makeRun(test::TestBench::implementation())) {
        m_run->setRunDir(m_dir.path(), false);
        m_run->setRunMode(HAXPExpRun::kLaunched);
        m_run->getInfo().setLaunch(1000, "bitstream");
        lease(kThis, {"ice40_init"});
        begin("ice40_init", kEarlier);
        end("ice40_init", kEarlier);
    }
    void TearDown() override { EXPECT_EQ(m_messages.ids(), std::vector<std::string>{}); }

    void lease(const std::string& id, const std::vector<std::string>& kept) const {
        workbench::LaunchLease lease = workbench::makeLease();
        lease.id = id;
        lease.keptSteps = kept;
        workbench::writeLease(m_dir.path(workbench::kLeaseName), lease);
    }
    void begin(const std::string& program, const std::string& launch, long pid = 4242) const {
        m_dir.mark("." + program + ".begin.rst",
                   "<ProcessHandle Version=\"1\" Minor=\"1\" Launch=\"" + launch +
                       "\"><Process Host=\"node7\" Owner=\"jane\" Uid=\"1000\" Pid=\"" +
                       std::to_string(pid) +
                       "\" Pgid=\"4242\" StartTicks=\"1\" "
                       "BootId=\"6d1f0a52-88c4-4b0e-9d1e-0f6c2b7a4e11\"/><Command>tool</Command>"
                       "</ProcessHandle>");
    }
    void end(const std::string& program, const std::string& launch) const {
        m_dir.mark("." + program + ".end.rst", "launch: " + launch + "\n");
    }
    void fail(const std::string& program, const std::string& launch) const {
        m_dir.mark("." + program + ".error.rst", "ended with status 3\nlaunch: " + launch + "\n");
    }

    /// The status as "Running place_design".
    std::string poll() const {
        m_run->updateStatus();
        const HDGUIStatus& status = *m_run->getStatus();
        return status.getText() + " " + status.getDetailText();
    }
    /// The same while a process of the run lives.
    std::string pollAtWork() const {
        const test::HeldRunLock lock(m_dir.path());
        return poll();
    }

    test::MessageRecorder m_messages;
    test::TestBench m_bench;
    test::RunDir m_dir;
    std::unique_ptr<HAXPExpRun> m_run;
};

TEST_F(LaunchMarksTest, CountWhenTheyAreOfTheLaunchOfTheLease) {
    begin("ice40_place", kThis);
    EXPECT_EQ(pollAtWork(), "Running place_design");
    end("ice40_place", kThis);
    EXPECT_EQ(pollAtWork(), "Running route_design");
}

TEST_F(LaunchMarksTest, OfAnEarlierLaunchNeverFinishAStepOfALaterOne) {
    begin("ice40_place", kThis);
    end("ice40_place", kEarlier);
    EXPECT_EQ(pollAtWork(), "Running place_design");
    m_dir.unmark(".ice40_place.end.rst");
    fail("ice40_place", kEarlier);
    EXPECT_EQ(pollAtWork(), "Running place_design");
}

TEST_F(LaunchMarksTest, OfAnEarlierLaunchNeverBeginAStepOfALaterOne) {
    begin("ice40_place", kEarlier);
    EXPECT_EQ(pollAtWork(), "Running place_design");
    EXPECT_EQ(m_run->getLatestStep(), m_run->getFirstStep());
    end("ice40_place", kEarlier);
    EXPECT_EQ(pollAtWork(), "Running place_design");
    EXPECT_EQ(m_run->getLatestStep(), m_run->getFirstStep());
}

TEST_F(LaunchMarksTest, OfAnEarlierLaunchThatReplaceABeginMarkerKeepNoStepFromBeingDone) {
    begin("ice40_place", kEarlier);
    end("ice40_place", kThis);
    EXPECT_EQ(pollAtWork(), "Running route_design");
    m_dir.unmark(".ice40_place.end.rst");
    fail("ice40_place", kThis);
    EXPECT_EQ(pollAtWork(), "Failed place_design");
}

TEST_F(LaunchMarksTest, OfThisLaunchFailAStepBesideAnEndMarkerOfAnEarlierOne) {
    begin("ice40_place", kThis);
    end("ice40_place", kEarlier);
    fail("ice40_place", kThis);
    EXPECT_EQ(pollAtWork(), "Failed place_design");
}

TEST_F(LaunchMarksTest, OfTheStepsThatTheLaunchKeptCountWhoeverMadeThem) {
    EXPECT_EQ(pollAtWork(), "Running place_design");
    fail("ice40_init", kEarlier);
    m_dir.unmark(".ice40_init.end.rst");
    EXPECT_EQ(pollAtWork(), "Failed init_design");
    lease(kThis, {});
    EXPECT_EQ(pollAtWork(), "Running init_design");
}

TEST_F(LaunchMarksTest, WithoutAnIdentityCount) {
    m_dir.mark(".ice40_place.begin.rst");
    m_dir.mark(".ice40_place.end.rst");
    EXPECT_EQ(pollAtWork(), "Running route_design");
    m_dir.mark(".ice40_place.begin.rst", test::TestBench::handleText());
    m_dir.mark(".ice40_place.end.rst", "done by hand\n");
    EXPECT_EQ(pollAtWork(), "Running route_design");
}

TEST_F(LaunchMarksTest, WithAnIdentityCutShortCount) {
    begin("ice40_place", kThis);
    for (const char* content : {"\n", "launch: 000", "launch: 000\n\n", "la"}) {
        m_dir.mark(".ice40_place.end.rst", content);
        EXPECT_EQ(pollAtWork(), "Running route_design") << content;
    }
}

TEST_F(LaunchMarksTest, UnderTheOtherSuffixCount) {
    m_dir.mark(".ice40_place.begin.stp");
    m_dir.mark(".ice40_place.end.stp");
    EXPECT_EQ(pollAtWork(), "Running route_design");
}

TEST_F(LaunchMarksTest, AllCountWithoutALeaseAndWithOneThatNamesNoKeptSteps) {
    begin("ice40_place", kEarlier);
    end("ice40_place", kEarlier);
    m_dir.mark(workbench::kLeaseName,
               "<Launch Version=\"1\" Minor=\"0\" Id=\"x\"><Launcher/></Launch>");
    EXPECT_EQ(pollAtWork(), "Running route_design");
    m_dir.unmark(workbench::kLeaseName);
    EXPECT_EQ(pollAtWork(), "Running route_design");
}

TEST_F(LaunchMarksTest, AreReadAgainWhenTheyAreReplaced) {
    begin("ice40_place", kThis);
    end("ice40_place", kEarlier);
    EXPECT_EQ(pollAtWork(), "Running place_design");
    m_dir.mark(".ice40_place.new", std::string("launch: ") + kThis + "\n");
    ASSERT_EQ(
        rename(m_dir.path(".ice40_place.new").c_str(), m_dir.path(".ice40_place.end.rst").c_str()),
        0);
    EXPECT_EQ(pollAtWork(), "Running route_design");
}

TEST_F(LaunchMarksTest, FollowALeaseThatIsReplaced) {
    begin("ice40_place", kThis);
    end("ice40_place", kThis);
    EXPECT_EQ(pollAtWork(), "Running route_design");
    lease("22222222-2222-2222-2222-222222222222", {"ice40_init"});
    EXPECT_EQ(pollAtWork(), "Running place_design");
}

TEST_F(LaunchMarksTest, OfThisLaunchTellTheProcessThatCanBeLookedAt) {
    begin("ice40_place", kEarlier, 1111);
    pollAtWork();
    m_dir.unmark(".ice40_place.begin.rst");
    begin("ice40_place", kThis, 2222);
    EXPECT_EQ(pollAtWork(), "Running place_design");
    EXPECT_EQ(m_run->getLatestStep()->getProcInfo()->getPid(), 2222);
    EXPECT_EQ(m_run->getLatestStep()->getProcInfo()->getEndStamp(), 0);
}

}  // namespace
