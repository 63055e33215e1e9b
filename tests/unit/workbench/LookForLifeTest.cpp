// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// What a look at a run whose markers leave its end open finds out, and what the cheap poll does
// with it.

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/installation/HUTEnv.h"
#include "environment/process/HUTProcessHandle.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeProcessTable.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/unit/workbench/FarHost.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/launchLease.h"
#include "workbench/runEvidence.h"
#include "workbench/runLock.h"

namespace {

using Verdict = workbench::RunEvidence::Verdict;

constexpr long kPid = 4242;
constexpr long kTicks = 918273;
const char kBoot[] = "6d1f0a52-88c4-4b0e-9d1e-0f6c2b7a4e11";
const char kOtherBoot[] = "00000000-88c4-4b0e-9d1e-0f6c2b7a4e11";
constexpr long kLongAgo = 900;

/// An implementation in the midst of its first step, launched by this process. Its lock is free,
/// and its log was last written long ago. No message is expected.
class LookForLifeTest : public ::testing::Test {
protected:
    LookForLifeTest() : m_run(m_bench.makeRun(test::TestBench::implementation())) {
        m_table.setHostName(HUTEnv::getHostName());
        m_run->setRunDir(m_dir.path(), false);
        m_run->setRunMode(HAXPExpRun::kLaunched);
        m_run->getInfo().setLaunch(1000, "bitstream");
        m_lease = workbench::makeLease();
        m_lease.keptSteps = std::vector<std::string>();
        lease();
        begin(HUTEnv::getHostName());
        m_dir.mark(workbench::kRunLockName);
        writeLog(kLongAgo);
    }
    void TearDown() override { EXPECT_EQ(m_messages.ids(), std::vector<std::string>{}); }

    void lease() const {
        workbench::writeLease(m_dir.path(workbench::kLeaseName), m_lease);
        age(workbench::kLeaseName, kLongAgo);
    }
    void launchedFrom(const std::string& host) {
        m_lease.launcher.setHostname(host);
        lease();
    }
    void begin(const std::string& host, const std::string& boot = kBoot) const {
        m_dir.mark(".ice40_init.begin.rst",
                   "<ProcessHandle Version=\"1\" Minor=\"1\" Launch=\"" + m_lease.id +
                       "\"><Process Host=\"" + host +
                       "\" Owner=\"jane\" Uid=\"1000\" Pid=\"4242\" Pgid=\"4242\" "
                       "StartTicks=\"918273\" BootId=\"" +
                       boot + "\"/><Command>tool</Command></ProcessHandle>");
        age(".ice40_init.begin.rst", kLongAgo);
    }
    void age(const std::string& name, long seconds) const {
        m_dir.touch(name, static_cast<long>(std::time(nullptr)) - seconds);
    }
    void writeLog(long secondsAgo) const {
        m_dir.mark("runme.log", "Info: " + std::to_string(secondsAgo) + "\n");
        age("runme.log", secondsAgo);
    }

    std::string status() const {
        const HDGUIStatus& status = *m_run->getStatus();
        return status.getText() + " " + status.getDetailText() + " (" +
               std::to_string(status.getCode()) + ")";
    }
    std::string poll() const {
        m_run->updateStatus();
        return status();
    }
    std::string look() const {
        m_run->lookForLife();
        return status();
    }
    Verdict verdict() const { return m_run->getEvidence().verdict; }
    bool tells(const std::string& line) const {
        for (const std::string& told : m_run->getEvidence().lines) {
            if (told == line)
                return true;
        }
        return false;
    }

    test::MessageRecorder m_messages;
    test::FakeProcessTable m_table;
    test::TestBench m_bench;
    test::RunDir m_dir;
    workbench::LaunchLease m_lease;
    std::unique_ptr<HAXPExpRun> m_run;
};

TEST_F(LookForLifeTest, FindsARunLostOfWhichNothingLivesOnThisHost) {
    EXPECT_EQ(poll(), "Lost in init_design (5)");
    EXPECT_EQ(look(), "Lost in init_design (5)");
    EXPECT_EQ(verdict(), Verdict::kLost);
    EXPECT_TRUE(tells("no process of it is on " + HUTEnv::getHostName()));
    EXPECT_TRUE(tells("process 4242 of init_design is gone"));
    EXPECT_TRUE(tells("it last wrote 15 min ago"));
}

TEST_F(LookForLifeTest, FindsARunAtWorkThoughItsLockIsFree) {
    m_table.add(kPid, kPid, kTicks);
    writeLog(0);
    EXPECT_EQ(poll(), "Running init_design (2)");
    EXPECT_EQ(look(), "Running init_design (2)");
    EXPECT_EQ(verdict(), Verdict::kAlive);
    EXPECT_TRUE(tells("process 4242 of init_design lives"));
}

TEST_F(LookForLifeTest, IsNotTakenInByARecycledPid) {
    m_table.add(kPid, kPid, kTicks + 1);
    EXPECT_EQ(poll(), "Lost in init_design (5)");
    EXPECT_EQ(look(), "Lost in init_design (5)");
}

TEST_F(LookForLifeTest, IsNotTakenInByAnotherUsersProcessOfThatPid) {
    m_table.add(kPid, kPid, kTicks);
    m_table.setUser(kPid, 1001);
    EXPECT_EQ(look(), "Lost in init_design (5)");
}

TEST_F(LookForLifeTest, IsNotTakenInByAZombie) {
    m_table.add(kPid, kPid, kTicks);
    m_table.makeZombie(kPid);
    EXPECT_EQ(poll(), "Lost in init_design (5)");
    EXPECT_EQ(look(), "Lost in init_design (5)");
}

TEST_F(LookForLifeTest, FindsARunLostWhoseHostWasStartedAnew) {
    m_table.add(kPid, kPid, kTicks);
    begin(HUTEnv::getHostName(), kOtherBoot);
    EXPECT_EQ(look(), "Lost in init_design (5)");
    EXPECT_TRUE(tells(HUTEnv::getHostName() + " was started anew since init_design began"));
}

TEST_F(LookForLifeTest, IsInDoubtAboutALockThatAStrayGrandchildHolds) {
    const test::HeldRunLock lock(m_dir.path());
    EXPECT_EQ(poll(), "Running init_design (2)");
    EXPECT_EQ(look(), "Unknown in init_design (2)");
    EXPECT_EQ(verdict(), Verdict::kUnknown);
    EXPECT_TRUE(tells("its lock is held"));
    EXPECT_TRUE(tells("process 4242 of init_design is gone"));
}

TEST_F(LookForLifeTest, TakesARunThatHasJustEndedAStepForAlive) {
    const test::HeldRunLock lock(m_dir.path());
    writeLog(0);
    EXPECT_EQ(look(), "Running init_design (2)");
}

TEST_F(LookForLifeTest, FreeLockProvesNothingOfAStepOnAnotherHost) {
    begin("node7");
    EXPECT_EQ(poll(), "Running init_design (2)");
    EXPECT_EQ(look(), "Unknown in init_design (2)");
    EXPECT_TRUE(tells("it works on node7, which can't be seen from " + HUTEnv::getHostName()));
}

TEST_F(LookForLifeTest, FreeLockProvesNothingOfALaunchFromAnotherHost) {
    launchedFrom("node7");
    m_dir.unmark(".ice40_init.begin.rst");
    EXPECT_EQ(poll(), "Running init_design (2)");
    EXPECT_EQ(look(), "Unknown in init_design (2)");
}

TEST_F(LookForLifeTest, StepOfThisHostIsLostHoweverItWasLaunched) {
    launchedFrom("node7");
    EXPECT_EQ(poll(), "Lost in init_design (5)");
}

TEST_F(LookForLifeTest, DoesNotAskForARunElsewhereThatHasJustWritten) {
    begin("node7");
    writeLog(30);
    EXPECT_EQ(look(), "Running init_design (2)");
    EXPECT_EQ(verdict(), Verdict::kAlive);
    EXPECT_EQ(m_run->getEvidence().lines.size(), 1U);
}

TEST_F(LookForLifeTest, LogOfAHostWhoseClockIsAnHourBehindMakesNoRunLost) {
    begin("node7");
    writeLog(3600);
    EXPECT_EQ(look(), "Unknown in init_design (2)");
}

TEST_F(LookForLifeTest, LogOfAHostWhoseClockIsAnHourAheadMakesNoRunLost) {
    begin("node7");
    writeLog(-3600);
    EXPECT_EQ(look(), "Unknown in init_design (2)");
    EXPECT_TRUE(tells("when it last wrote can't be told"));
}

TEST_F(LookForLifeTest, HoldsUntilTheLogGrows) {
    begin("node7");
    EXPECT_EQ(look(), "Unknown in init_design (2)");
    EXPECT_EQ(poll(), "Unknown in init_design (2)");
    writeLog(1);
    EXPECT_EQ(poll(), "Running init_design (2)");
}

TEST_F(LookForLifeTest, HoldsUntilAMarkerChanges) {
    launchedFrom("node7");
    begin("node7");
    EXPECT_EQ(look(), "Unknown in init_design (2)");
    m_dir.mark(".ice40_init.end.rst", "launch: " + m_lease.id + "\n");
    EXPECT_EQ(poll(), "Running place_design (2)");
}

TEST_F(LookForLifeTest, LeavesARunAloneThatHasFailed) {
    m_dir.mark(".ice40_init.error.rst", "ended with status 3\nlaunch: " + m_lease.id + "\n");
    EXPECT_EQ(look(), "Failed init_design (5)");
    EXPECT_EQ(verdict(), Verdict::kNone);
    EXPECT_TRUE(m_run->getEvidence().lines.empty());
}

TEST_F(LookForLifeTest, LeavesARunAloneWhoseScriptIsAboutToBegin) {
    m_dir.unmark(".ice40_init.begin.rst");
    workbench::writeLease(m_run->queueMarkerPath(), m_lease);
    EXPECT_EQ(look(), "Queued  (1)");
    EXPECT_EQ(verdict(), Verdict::kNone);
}

TEST_F(LookForLifeTest, LeavesARunAloneThatIsNotLaunched) {
    m_run->setRunMode(HAXPExpRun::kNotLaunched);
    EXPECT_EQ(look(), "Not started  (0)");
    EXPECT_EQ(verdict(), Verdict::kNone);
}

TEST_F(LookForLifeTest, IsOnlyForRunsElsewhereAndOnceInAMinuteForThoseWhoPoll) {
    test::FakeClock clock;
    begin("node7");
    clock.sleepMs(1000);
    poll();
    m_run->lookForLifeNowAndThen();
    EXPECT_EQ(status(), "Running init_design (2)");
    clock.sleepMs(59999);
    m_run->lookForLifeNowAndThen();
    EXPECT_EQ(status(), "Running init_design (2)");
    clock.sleepMs(1);
    m_run->lookForLifeNowAndThen();
    EXPECT_EQ(status(), "Unknown in init_design (2)");
}

TEST_F(LookForLifeTest, IsNotNeededForARunThatWasAskedToStopBeforeItsNextStep) {
    launchedFrom("node7");
    m_dir.mark(".stop.rst");
    m_dir.mark(".ice40_init.end.rst");
    EXPECT_EQ(poll(), "Stopped before place_design (5)");
    m_dir.unmark(".ice40_init.begin.rst");
    EXPECT_EQ(poll(), "Stopped before init_design (5)");
    m_dir.unmark(workbench::kRunLockName);
    EXPECT_EQ(poll(), "Not started  (0)");
}

TEST_F(LookForLifeTest, ForgetsTheLastStepWhenItIsRemoved) {
    m_dir.mark(".ice40_init.end.rst", "launch: " + m_lease.id + "\n");
    for (const char* program : {"ice40_place", "ice40_route", "ice40_bitstream"}) {
        m_dir.mark(std::string(".") + program + ".begin.rst");
        m_dir.mark(std::string(".") + program + ".end.rst");
    }
    for (const char* name : {"", "/runme.log"})
        age(name[0] == '\0' ? "." : "runme.log", kLongAgo);
    EXPECT_EQ(poll(), "Done  (3)");
    HAXPExpRunStep* last = m_run->getLatestStep();
    ASSERT_NE(last, nullptr);
    m_run->removeStep(last, true);
    EXPECT_NE(m_run->getLatestStep(), last);
}

/// The same, launched on another host by a remote command, where nothing of it lives.
class LookElsewhereTest : public LookForLifeTest {
protected:
    LookElsewhereTest() {
        m_lease.way = {workbench::LaunchWay::Kind::kHost, "node7", m_host.command(), ""};
        lease();
        begin("far.away");
    }

    test::FarHost m_host;
};

TEST_F(LookElsewhereTest, AsksNobodyForTheCheapStatus) {
    EXPECT_EQ(poll(), "Running init_design (2)");
    EXPECT_EQ(m_host.calls(), "");
}

TEST_F(LookElsewhereTest, FindsARunLostThatIsGoneThereAndLongSilent) {
    EXPECT_EQ(look(), "Lost in init_design (5)");
    EXPECT_EQ(verdict(), Verdict::kLost);
    EXPECT_TRUE(tells("no process of it is on node7"));
    EXPECT_TRUE(tells("it last wrote 15 min ago"));
    EXPECT_EQ(m_host.calls(), "node7\n");
    EXPECT_EQ(poll(), "Lost in init_design (5)");
    EXPECT_EQ(m_host.calls(), "node7\n");
}

TEST_F(LookElsewhereTest, AsksNobodyForAStepThatIsOnThisHost) {
    begin(HUTEnv::getHostName());
    EXPECT_EQ(look(), "Lost in init_design (5)");
    EXPECT_TRUE(tells("no process of it is on " + HUTEnv::getHostName()));
    EXPECT_EQ(m_host.calls(), "");
}

TEST_F(LookElsewhereTest, WaitsForMarkersThatMayBeOnTheirWay) {
    writeLog(30);
    EXPECT_EQ(look(), "Running init_design (2)");
    EXPECT_EQ(m_host.calls(), "");
}

TEST_F(LookElsewhereTest, IsInDoubtWhenTheHostCanNotBeAsked) {
    m_host.script("echo 'no route' >&2; exit 255");
    EXPECT_EQ(look(), "Unknown in init_design (2)");
    EXPECT_EQ(verdict(), Verdict::kUnknown);
}

TEST_F(LookElsewhereTest, TakesAnEndThatComesDuringTheLookForTheTruth) {
    m_host.script("echo 'launch: " + m_lease.id + "' >'" + m_dir.path(".ice40_init.error.rst") +
                  "'; " + test::FarHost::login());
    EXPECT_EQ(look(), "Failed init_design (5)");
    EXPECT_EQ(verdict(), Verdict::kNone);
}

TEST_F(LookElsewhereTest, TakesProgressDuringTheLookForLife) {
    m_host.script("echo more >>'" + m_dir.path("runme.log") + "'; " + test::FarHost::login());
    EXPECT_EQ(look(), "Running init_design (2)");
}

TEST_F(LookElsewhereTest, FindsAQueuedRunLostThatNeverBegan) {
    m_dir.unmark(".ice40_init.begin.rst");
    m_dir.unmark("runme.log");
    EXPECT_EQ(look(), "Stopped before init_design (5)");
    EXPECT_EQ(verdict(), Verdict::kLost);
}

}  // namespace
