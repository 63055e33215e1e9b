// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <csignal>
#include <ostream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/process/HUTProcessHandle.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeProcessTable.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

HUTProcessHandle recorded() {
    HUTProcessHandle handle;
    handle.setHostname("here");
    handle.setUid(1000);
    handle.setPid(42);
    handle.setGroup(42);
    handle.setStartTicks(7);
    handle.setBootId("6d1f0a52-88c4-4b0e-9d1e-0f6c2b7a4e11");
    handle.setPidNamespace("4026531836");
    handle.setFolder("/run");
    return handle;
}

/// The record of process 42, which leads group 42 on the made-up host.
class KillProcessTest : public ::testing::Test {
protected:
    bool kill(bool wait = true) { return m_handle.killProcess(m_message, wait); }

    void expectRefused(const std::string& message) {
        EXPECT_FALSE(kill());
        EXPECT_EQ(m_message, message);
        EXPECT_THAT(m_host.signals(), IsEmpty());
        EXPECT_THAT(m_clock.sleeps(), IsEmpty());
    }

    test::FakeClock m_clock;
    test::FakeProcessTable m_host;
    HUTProcessHandle m_handle = recorded();
    std::string m_message = "left";
};

TEST_F(KillProcessTest, EndsTheWholeGroup) {
    m_host.add(42, 42, 7);
    m_host.add(43, 42, 8);
    m_host.add(44, 42, 9);
    m_host.add(50, 50, 8);
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(42) || m_host.has(43) || m_host.has(44));
    EXPECT_TRUE(m_host.has(50));
    EXPECT_FALSE(m_host.hasSignalled(50));
    EXPECT_EQ(m_message, "left");
}

TEST_F(KillProcessTest, AsksBeforeItKills) {
    m_host.add(42, 42, 7);
    EXPECT_TRUE(kill());
    EXPECT_THAT(m_host.signals(), ElementsAre(Pair(42, SIGTERM)));
}

TEST_F(KillProcessTest, WakesWhoIsStopped) {
    m_host.add(42, 42, 7, test::Nature::kStubborn);
    EXPECT_TRUE(kill());
    EXPECT_THAT(m_host.signals(),
                ElementsAre(Pair(42, SIGTERM), Pair(42, SIGCONT), Pair(42, SIGKILL)));
}

TEST_F(KillProcessTest, KillsWhatDoesNotListenAfterThreeSeconds) {
    m_host.add(42, 42, 7);
    m_host.add(43, 42, 8, test::Nature::kStubborn);
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(43));
    EXPECT_GE(m_clock.nowMs(), 3000);
    EXPECT_LT(m_clock.nowMs(), 4000);
}

TEST_F(KillProcessTest, EndsWhatTheGroupStartsMeanwhile) {
    m_host.add(42, 42, 7, test::Nature::kStubborn);
    bool once = true;
    m_clock.onSleep([&] {
        if (once)
            m_host.add(43, 42, 9);
        once = false;
    });
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(43));
}

TEST_F(KillProcessTest, LeavesTimeToWhatTheToolStartsToPutItsFilesInOrder) {
    m_host.add(42, 42, 7, test::Nature::kStubborn);
    m_clock.onSleep([&] {
        if (m_clock.sleeps().size() == 1)
            m_host.add(43, 42, 9);
        if (m_clock.nowMs() >= 150) {
            m_host.remove(43);
            m_host.remove(42);
        }
    });
    EXPECT_TRUE(kill());
    EXPECT_TRUE(m_host.hasSignalled(42));
    EXPECT_FALSE(m_host.hasSignalled(43));
}

TEST_F(KillProcessTest, AsksANewcomerThatStays) {
    m_host.add(42, 42, 7);
    m_clock.onSleep([&] {
        if (m_clock.sleeps().size() == 1)
            m_host.add(43, 42, 9);
    });
    EXPECT_TRUE(kill());
    EXPECT_THAT(m_host.signals(), ElementsAre(Pair(42, SIGTERM), Pair(43, SIGTERM)));
    EXPECT_LT(m_clock.nowMs(), 1000);
}

TEST_F(KillProcessTest, IsDoneWhenAllIsGone) {
    EXPECT_TRUE(kill());
    EXPECT_THAT(m_host.signals(), IsEmpty());
    EXPECT_EQ(m_message, "left");
}

TEST_F(KillProcessTest, TakesAZombieAsGone) {
    m_host.add(42, 42, 7);
    m_host.makeZombie(42);
    EXPECT_TRUE(kill());
    EXPECT_THAT(m_host.signals(), IsEmpty());
}

TEST_F(KillProcessTest, EndsTheGroupOfAZombie) {
    m_host.add(42, 42, 7);
    m_host.makeZombie(42);
    m_host.add(43, 42, 8);
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(43));
}

TEST_F(KillProcessTest, SendsTheRequestOnlyWhenItDoesNotWait) {
    m_host.add(42, 42, 7, test::Nature::kStubborn);
    EXPECT_TRUE(kill(false));
    EXPECT_THAT(m_host.signals(), ElementsAre(Pair(42, SIGTERM), Pair(42, SIGCONT)));
    EXPECT_THAT(m_clock.sleeps(), IsEmpty());
}

TEST_F(KillProcessTest, NamesWhatSurvives) {
    m_host.add(42, 42, 7);
    m_host.add(43, 42, 8, test::Nature::kImmortal);
    m_host.add(44, 42, 8, test::Nature::kImmortal);
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_message, "Can't end process 42 on host 'here': 43, 44 still runs. End it by hand.");
}

TEST_F(KillProcessTest, TellsThatTheHostRefuses) {
    m_host.add(42, 42, 7, test::Nature::kForeign);
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_message, "Can't end process 42 on host 'here': 42 still runs (Operation not "
                         "permitted). End it by hand.");
}

TEST_F(KillProcessTest, LeavesARecycledPidAlone) {
    m_host.add(42, 42, 8);
    expectRefused("Can't end process 42 on host 'here': it has ended, and its id was given to "
                  "another process, which was left alone.");
}

TEST_F(KillProcessTest, LeavesAProcessOfAnotherUserAlone) {
    m_host.add(42, 42, 7);
    m_host.setUser(42, 1001);
    expectRefused("Can't end process 42 on host 'here': it has ended, and its id was given to "
                  "another process, which was left alone.");
}

TEST_F(KillProcessTest, LeavesAProcessInAnotherGroupAlone) {
    m_host.add(42, 41, 7);
    expectRefused("Can't end process 42 on host 'here': it isn't in the process group of its "
                  "record. Try again in a moment.");
}

TEST_F(KillProcessTest, DoesNotReachAnotherHost) {
    m_host.add(42, 42, 7);
    m_handle.setHostname("there");
    expectRefused("Can't end process 42 on host 'there': this is host 'here'.");
}

TEST_F(KillProcessTest, DoesNotReachAnotherContainer) {
    m_host.add(42, 42, 7);
    m_handle.setPidNamespace("1");
    expectRefused("Can't end process 42 on host 'here': it runs in another container. End it "
                  "from there.");
}

TEST_F(KillProcessTest, DoesNotTrustARecordOfAnEarlierStart) {
    m_host.add(42, 42, 7);
    m_handle.setBootId("00000000-88c4-4b0e-9d1e-0f6c2b7a4e11");
    expectRefused("Can't end process 42 on host 'here': its record is from before this host was "
                  "last started. It is gone, unless another host has the same name.");
}

TEST_F(KillProcessTest, DoesNotTrustARecordWithoutAStart) {
    m_host.add(42, 42, 7);
    const std::string message =
        "Can't end process 42 on host 'here': its record doesn't say when it started, so it may "
        "be another process by now. Look at it, and end it by hand.";
    m_handle.setStartTicks(0);
    expectRefused(message);
    m_handle = recorded();
    m_handle.setBootId("");
    expectRefused(message);
}

TEST_F(KillProcessTest, RefusesAnEmptyRecord) {
    m_handle.reset();
    expectRefused("Can't end the process of the run: no record tells its host and id. Look "
                  "whether it still runs, and end it by hand.");
}

/// A pid that no run can have.
class KillProcessPidTable : public KillProcessTest, public ::testing::WithParamInterface<long> {};

TEST_P(KillProcessPidTable, IsNeverSignalled) {
    m_host.add(GetParam(), GetParam(), 7);
    m_handle.setPid(GetParam());
    m_handle.setGroup(GetParam());
    EXPECT_FALSE(kill());
    EXPECT_THAT(m_host.signals(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Pids, KillProcessPidTable,
                         ::testing::Values(-42, -1, 0, 1, 100, 4294967295));

TEST_F(KillProcessTest, SparesItsOwnGroup) {
    m_host.add(100, 100, 1);
    m_host.add(42, 100, 7);
    m_host.add(43, 100, 8);
    m_handle.setGroup(100);
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(42));
    EXPECT_TRUE(m_host.has(43));
    EXPECT_FALSE(m_host.hasSignalled(100));
}

TEST_F(KillProcessTest, EndsTheProcessAloneWhenTheRecordHasNoGroup) {
    m_host.add(42, 42, 7);
    m_host.add(43, 42, 8);
    m_handle.setGroup(0);
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(42));
    EXPECT_TRUE(m_host.has(43));
}

TEST_F(KillProcessTest, EndsWhatOutlivesItsLeaderInTheFolderOfTheRun) {
    m_host.add(43, 42, 8);
    m_host.letWorkIn(43, "/run");
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(43));
}

/// The leader is gone, and a process is left that is perhaps a stranger.
class KillLeftoverTest : public KillProcessTest {
protected:
    void expectSpared() {
        EXPECT_FALSE(kill());
        EXPECT_EQ(m_message, "Ended process 42 on host 'here', but 43 of its process group still "
                             "runs and doesn't work in the folder of the run. Look at it, and end "
                             "it by hand if it is the run's.");
        EXPECT_FALSE(m_host.hasSignalled(43));
    }
};

TEST_F(KillLeftoverTest, IsSparedElsewhere) {
    m_host.add(43, 42, 8);
    m_host.letWorkIn(43, "/other");
    expectSpared();
}

TEST_F(KillLeftoverTest, IsSparedWhenTheFolderIsUnknown) {
    m_host.add(43, 42, 8);
    m_handle.setFolder("");
    expectSpared();
}

TEST_F(KillLeftoverTest, IsSparedWhenItIsOlder) {
    m_host.add(43, 42, 6);
    m_host.letWorkIn(43, "/run");
    expectSpared();
}

TEST_F(KillLeftoverTest, IsSparedWhenItIsAnotherUsers) {
    m_host.add(43, 42, 8);
    m_host.letWorkIn(43, "/run");
    m_host.setUser(43, 1001);
    expectSpared();
}

TEST_F(KillLeftoverTest, IsSparedAlsoWithoutWaiting) {
    m_host.add(43, 42, 8);
    EXPECT_FALSE(kill(false));
    EXPECT_NE(m_message, "left");
    EXPECT_FALSE(m_host.hasSignalled(43));
}

}  // namespace
