// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/knownWays.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "environment/errors/HEXError.h"
#include "environment/process/processTable.h"
#include "tests/support/RunDir.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/FarHost.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/launchLease.h"
#include "workbench/places/RunPlace.h"
#include "workbench/runStop.h"

namespace {

using workbench::LaunchLease;
using workbench::LaunchWay;

/// A lease that came with a project, from a host or a start of one that isn't this.
class KnownWaysTest : public ::testing::Test {
protected:
    KnownWaysTest() {
        m_lease = workbench::makeLease();
        m_lease.way = {LaunchWay::Kind::kHost, "node7", m_host.command(), ""};
        m_lease.launcher.setBootId("0000-1111");
    }
    static std::string bootId() { return process::processTable().bootId(); }
    bool isKnown() const { return workbench::isKnownWay(m_lease); }

    test::FarHost m_host;
    LaunchLease m_lease;
};

TEST_F(KnownWaysTest, KnowWhatWasLaunchedOnThisHostSinceItsStart) {
    EXPECT_FALSE(isKnown());
    m_lease.launcher.setBootId(bootId());
    EXPECT_TRUE(isKnown());
    m_lease.isOwn = false;
    EXPECT_FALSE(isKnown());
}

TEST_F(KnownWaysTest, KnowNoLeaseWithoutAStartOfAHost) {
    m_lease.launcher.setBootId("");
    EXPECT_FALSE(isKnown());
}

TEST_F(KnownWaysTest, KnowEveryLaunchHere) {
    m_lease.way = LaunchWay();
    EXPECT_TRUE(isKnown());
}

TEST_F(KnownWaysTest, KnowWhatWasKeptAndNothingLikeIt) {
    workbench::rememberWay(m_lease.way);
    workbench::rememberWay(m_lease.way);
    EXPECT_TRUE(isKnown());
    const LaunchWay kept = m_lease.way;
    m_lease.way.host = "node";
    EXPECT_FALSE(isKnown());
    m_lease.way = kept;
    m_lease.way.command += " -x";
    EXPECT_FALSE(isKnown());
    m_lease.way = kept;
    m_lease.way.kind = LaunchWay::Kind::kSge;
    EXPECT_FALSE(isKnown());
}

TEST_F(KnownWaysTest, KeepNoCommandOfSeveralLines) {
    m_lease.way.command += "\n1\tnode7\tevil";
    workbench::rememberWay(m_lease.way);
    EXPECT_FALSE(isKnown());
    m_lease.way.command = "evil";
    EXPECT_FALSE(isKnown());
}

TEST_F(KnownWaysTest, KnowTheLeaseOfAnotherUserForNone) {
    const test::RunDir dir;
    m_lease.launcher.setBootId(bootId());
    workbench::writeLease(dir.path("lease"), m_lease);
    LaunchLease read;
    ASSERT_TRUE(workbench::readLease(dir.path("lease"), read));
    EXPECT_TRUE(read.isOwn);
    EXPECT_TRUE(workbench::isKnownWay(read));
    if (chown(dir.path("lease").c_str(), 4242, 4242) != 0)
        GTEST_SKIP() << "SKIPPED: only root can give a file away";
    ASSERT_TRUE(workbench::readLease(dir.path("lease"), read));
    EXPECT_FALSE(read.isOwn);
    EXPECT_FALSE(workbench::isKnownWay(read));
}

/// A run of a stranger's project that is at work, as its files say.
class StrangeRunTest : public KnownWaysTest {
protected:
    StrangeRunTest() : m_run(m_bench.makeRun(test::TestBench::implementation())) {
        m_lease.launcher.setUser("mallory");
        m_lease.launcher.setHostname("far");
        m_run->setRunDir(m_dir.path(), false);
        m_run->setRunMode(HAXPExpRun::kLaunched);
        m_run->getInfo().setLaunch(1000, "bitstream");
        workbench::writeLease(m_dir.path(workbench::kLeaseName), m_lease);
    }

    test::TestBench m_bench;
    test::RunDir m_dir;
    std::unique_ptr<HAXPExpRun> m_run;
};

TEST_F(StrangeRunTest, IsLookedAtWithoutACallOfWhatItsLeaseNames) {
    const workbench::Evidence evidence = workbench::RunPlace::of(m_lease)->look(*m_run, m_lease);
    EXPECT_EQ(evidence.life, workbench::RunLife::kUnknown);
    ASSERT_EQ(evidence.lines.size(), 1U);
    EXPECT_EQ(evidence.lines.front(), "it was launched " + workbench::leaseText(m_lease) +
                                          " by a way that you never launched by, which isn't "
                                          "asked");
    EXPECT_EQ(m_host.calls(), "");
}

TEST_F(StrangeRunTest, IsNotStoppedByWhatItsLeaseNames) {
    const test::HeldRunLock lock(m_dir.path());
    EXPECT_EQ(test::thrownText<HEXError>([this] { workbench::stopRun(*m_run); }),
              "Run run_1 isn't stopped: it was launched " + workbench::leaseText(m_lease) +
                  " by \"" + m_host.command() +
                  "\", and you never launched by that. Have it stopped by who launched it.");
    EXPECT_EQ(m_host.calls(), "");
    EXPECT_FALSE(m_dir.has(".stop.rst"));
}

TEST_F(StrangeRunTest, IsIdleWhenItIsNotAtWork) {
    m_dir.mark(".ice40_init.begin.rst");
    m_dir.mark(".ice40_init.error.rst");
    EXPECT_TRUE(workbench::stopRun(*m_run).wasIdle);
}

}  // namespace
