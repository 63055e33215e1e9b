// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/hostCalls.h"

#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "environment/installation/HUTEnv.h"
#include "environment/process/HUTSysCall.h"
#include "environment/process/processTable.h"
#include "tests/support/FakeClock.h"
#include "tests/support/RunDir.h"
#include "tests/unit/workbench/FarHost.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/launchLease.h"
#include "workbench/runProcesses.h"

namespace {

using workbench::HostCalls;
using workbench::HostIdentity;
using workbench::HostLook;
using workbench::HostStart;
using workbench::HostStop;
using workbench::RunLife;

/// A run directory with the lease of a launch, that "node7" shares. Nothing that a test
/// starts outlives it.
class HostCallsTest : public ::testing::Test {
protected:
    HostCallsTest() { makeRun(m_dir.path()); }
    ~HostCallsTest() override {
        for (const long pid : workbench::findRunProcesses(m_runDir, m_id))
            kill(static_cast<pid_t>(pid), SIGKILL);
    }

    void makeRun(const std::string& dir) {
        m_runDir = dir;
        workbench::LaunchLease lease = workbench::makeLease();
        lease.id = m_id;
        workbench::writeLease(dir + "/" + workbench::kLeaseName, lease);
        EXPECT_EQ(mkfifo((m_runDir + "/never").c_str(), 0600), 0);
    }
    /// The script of the run: `commands`, then a pause that ends when it is killed.
    void runScript(const std::string& commands) const {
        const test::RunDir& dir = m_dir;
        const std::string name = m_runDir.substr(dir.path().size());
        dir.mark(name + "/runme.sh", "#!/bin/sh\ncd \"${0%/*}\"\n" + commands +
                                         "\n: >ready\nwhile :; do read -r x <never; done\n");
        EXPECT_EQ(chmod((m_runDir + "/runme.sh").c_str(), 0755), 0);
    }
    HostCalls host() const { return {m_host.command(), "node7", m_runDir, m_id}; }

    /// Starts the script and waits until its commands are done.
    long begin(const std::string& commands) const {
        runScript(commands);
        const HostStart start = host().start();
        EXPECT_EQ(start.kind, HostStart::Kind::kBegan) << start.words;
        while (access((m_runDir + "/ready").c_str(), F_OK) != 0)
            HUTSysCall::msSleep(1);
        const std::vector<long> pids = workbench::findRunProcesses(m_runDir, m_id);
        return pids.empty() ? 0 : pids.front();
    }
    std::string refusal() const {
        const HostStart start = host().start();
        EXPECT_EQ(start.kind, HostStart::Kind::kRefused);
        return start.words;
    }
    std::string silence() const {
        const HostStart start = host().start();
        EXPECT_EQ(start.kind, HostStart::Kind::kUntold);
        return start.words;
    }
    bool hasBegun() const { return access((m_runDir + "/ready").c_str(), F_OK) == 0; }

    const std::string m_id = workbench::makeLease().id;
    test::RunDir m_dir;
    std::string m_runDir;
    test::FarHost m_host;
};

const std::string kTakeLock = "exec 9>>.run.lock; flock 9";

TEST_F(HostCallsTest, StartsTheScriptInASessionOfItsOwn) {
    const long pid = begin(kTakeLock);
    ASSERT_GT(pid, 1);
    EXPECT_EQ(getsid(static_cast<pid_t>(pid)), static_cast<pid_t>(pid));
    EXPECT_EQ(m_host.calls(), "node7\n");
}

TEST_F(HostCallsTest, LeavesTheRunNothingOfTheConnection) {
    begin("ls -l /proc/$$/fd >fds; trap >traps");
    const std::string fds = m_dir.read("fds");
    EXPECT_EQ(fds.find("pipe:"), std::string::npos) << fds;
    EXPECT_EQ(fds.find("xp-remote"), std::string::npos) << fds;
    EXPECT_EQ(m_dir.read("traps"), "");
}

TEST_F(HostCallsTest, ClaimsTheLaunchForTheHostBeforeTheScriptBegins) {
    begin("cp .launch.host seen");
    HostIdentity host;
    ASSERT_TRUE(workbench::readHostClaim(m_runDir, m_id, host));
    EXPECT_EQ(m_dir.read("seen"), m_dir.read(workbench::kHostClaimName));
    EXPECT_EQ(host.name, HUTEnv::getHostName());
    EXPECT_EQ(host.bootId, process::processTable().bootId());
    EXPECT_EQ(host.pidNamespace, process::processTable().pidNamespace());
    EXPECT_FALSE(workbench::readHostClaim(m_runDir, m_id + "0", host));
    EXPECT_FALSE(workbench::readHostClaim(m_runDir, "", host));
}

TEST_F(HostCallsTest, TakesEveryPathAsItIs) {
    const std::string odd = "a b;c&d|e<f>(g)#~!{h}%^=it's\"$x`y`\\z*?[\xC3\xA4";
    m_dir.folder(odd);
    makeRun(m_dir.path(odd));
    EXPECT_GT(begin("true"), 1);
    EXPECT_EQ(host().look().pids.size(), 1U);
    EXPECT_EQ(host().stop().asked, 1U);
}

TEST_F(HostCallsTest, RefusesAFolderThatIsNotThere) {
    m_runDir = m_dir.path("gone");
    EXPECT_EQ(refusal(), "it has no folder " + m_runDir +
                             "; a run on another host needs a file system that both share");
}

TEST_F(HostCallsTest, RefusesAFolderThatIsNotShared) {
    m_host.hurry();
    runScript("true");
    m_dir.unmark(workbench::kLeaseName);
    EXPECT_EQ(refusal(), "its folder " + m_runDir +
                             " isn't the one of this host; a run on another host needs a file "
                             "system that both share");
    EXPECT_FALSE(hasBegun());
}

TEST_F(HostCallsTest, WaitsForALeaseThatShowsLate) {
    const std::string lease = m_runDir + "/" + workbench::kLeaseName;
    runScript("true");
    ASSERT_EQ(rename(lease.c_str(), (lease + ".late").c_str()), 0);
    m_host.program("sleep", "mv '" + lease + ".late' '" + lease + "'");
    EXPECT_EQ(host().start().kind, HostStart::Kind::kBegan);
}

TEST_F(HostCallsTest, RefusesAScriptThatCanNotBeExecuted) {
    runScript("true");
    ASSERT_EQ(chmod((m_runDir + "/runme.sh").c_str(), 0644), 0);
    EXPECT_EQ(refusal(), "it may not execute runme.sh in " + m_runDir);
}

TEST_F(HostCallsTest, BeginsNothingOnceTheLaunchIsTakenBack) {
    runScript("true");
    m_host.program("mv", "/bin/mv \"$@\"; rm -f '" + m_runDir + "/" + workbench::kLeaseName + "'");
    EXPECT_EQ(refusal(), "the launch was taken back");
    EXPECT_FALSE(hasBegun());
    EXPECT_TRUE(workbench::findRunProcesses(m_runDir, m_id).empty());
}

TEST_F(HostCallsTest, TellsWhatKeptTheHostFromClaimingTheLaunch) {
    runScript("true");
    m_host.program("mv", "echo \"mv: no room left\" >&2; exit 1");
    EXPECT_EQ(refusal(), "mv: no room left");
    EXPECT_FALSE(hasBegun());
}

TEST_F(HostCallsTest, TellsAFailedConnectionInTheWordsOfTheCommand) {
    m_host.script("echo banner; echo 'ssh: connect to host node7 port 22: Connection refused' >&2; "
                  "exit 255");
    EXPECT_EQ(silence(), "the remote command ended with status 255 and said: ssh: connect to host "
                         "node7 port 22: Connection refused");
}

TEST_F(HostCallsTest, TellsOfACommandThatSaysNothing) {
    m_host.script("exit 1");
    EXPECT_EQ(silence(), "the remote command ended with status 1 and said nothing");
}

TEST_F(HostCallsTest, TellsOfACommandThatIsNotThere) {
    const HostStart start = HostCalls("no/such command", "node7", m_runDir, m_id).start();
    EXPECT_EQ(start.kind, HostStart::Kind::kUntold);
    EXPECT_EQ(start.words, "no/such: No such file or directory");
}

TEST_F(HostCallsTest, TakesRubbishForNoAnswer) {
    m_host.script("echo xp:other start began 1 h b n; echo 'xp:" + m_id + " look'; echo 'start'");
    EXPECT_EQ(silence(), "the remote command ended with status 0 and said: start");
}

TEST_F(HostCallsTest, HearsTheAnswerAmongWhatTheHostSays) {
    m_host.script("echo Welcome; sh -c \"$2\"; printf 'bye'; exit 3");
    runScript("true");
    EXPECT_EQ(host().start().kind, HostStart::Kind::kBegan);
}

TEST_F(HostCallsTest, GivesUpACommandThatHangs) {
    const test::FakeClock clock;
    m_host.script("trap '' TERM; read -r x <'" + m_runDir + "/never'");
    EXPECT_EQ(silence(), "the remote command came to no end");
}

TEST_F(HostCallsTest, LeavesAClaimWhenTheConnectionDiesBehindTheStart) {
    runScript("true");
    m_host.script("sh -c \"$2\" >/dev/null; echo 'Connection closed by node7' >&2; exit 255");
    EXPECT_EQ(silence(), "the remote command ended with status 255 and said: Connection closed by "
                         "node7");
    HostIdentity host;
    EXPECT_TRUE(workbench::readHostClaim(m_runDir, m_id, host));
}

TEST_F(HostCallsTest, GoesOnWhenTheConnectionDiesRightAtTheStart) {
    runScript("true");
    // Whoever would read the answer is gone before the script says that it began.
    m_host.program("setsid", "exec >/dev/full 2>&1; exec /usr/bin/setsid \"$@\"");
    EXPECT_NE(host().start().kind, HostStart::Kind::kBegan);
    while (!hasBegun())
        HUTSysCall::msSleep(1);
    EXPECT_EQ(host().look().pids.size(), 1U);
}

TEST_F(HostCallsTest, SeesNothingWhereNothingBegan) {
    const HostLook look = host().look();
    EXPECT_TRUE(look.isTold);
    EXPECT_TRUE(look.seesDirectory);
    EXPECT_TRUE(look.seesProcesses);
    EXPECT_EQ(look.lock, RunLife::kUnknown);
    EXPECT_TRUE(look.pids.empty());
    EXPECT_EQ(look.host.name, HUTEnv::getHostName());
}

TEST_F(HostCallsTest, SeesWhoCarriesTheIdentityAndWhoHoldsTheLock) {
    const long pid = begin(kTakeLock);
    const HostLook look = host().look();
    EXPECT_EQ(look.lock, RunLife::kAlive);
    EXPECT_EQ(look.pids, std::vector<long>{pid});
}

TEST_F(HostCallsTest, SeesWhoHoldsTheLockWithoutTheIdentity) {
    begin(kTakeLock + "; env -i sh -c ': >late; while :; do read -r x <never; done' & "
                      "while [ ! -e late ]; do :; done; exec 9>&-");
    EXPECT_EQ(host().look().pids.size(), 2U);
    EXPECT_EQ(host().stop().asked, 2U);
}

TEST_F(HostCallsTest, SeesAFreeLock) {
    m_dir.mark(workbench::kRunLockName);
    EXPECT_EQ(host().look().lock, RunLife::kGone);
}

TEST_F(HostCallsTest, DoesNotTakeTheLockOfAnotherLaunchForItsOwn) {
    const long pid = begin(kTakeLock);
    const HostCalls other(m_host.command(), "node7", m_runDir, workbench::makeLease().id);
    const HostLook look = other.look();
    EXPECT_FALSE(look.seesDirectory);
    EXPECT_TRUE(look.pids.empty());
    EXPECT_EQ(other.stop().asked, 0U);
    EXPECT_EQ(kill(static_cast<pid_t>(pid), 0), 0);
    EXPECT_FALSE(m_dir.has(".stop.rst"));
}

TEST_F(HostCallsTest, SaysWhenTheHostCanNotLook) {
    m_host.program("grep", "exit 2");
    m_host.program("flock", "exit 66");
    m_dir.mark(workbench::kRunLockName);
    const HostLook look = host().look();
    EXPECT_TRUE(look.isTold);
    EXPECT_FALSE(look.seesProcesses);
    EXPECT_EQ(look.lock, RunLife::kUnknown);
}

TEST_F(HostCallsTest, TellsThatItCanNotAsk) {
    m_host.script("echo 'Permission denied (publickey).' >&2; exit 255");
    EXPECT_FALSE(host().look().isTold);
    EXPECT_EQ(host().look().words, "the remote command ended with status 255 and said: Permission "
                                   "denied (publickey)");
    EXPECT_FALSE(host().stop().isTold);
}

TEST_F(HostCallsTest, EndsEveryProcessOfTheRun) {
    begin(kTakeLock + "; (cd /; exec 9>&-; while :; do read -r x <'" + m_runDir +
          "/never'; done) &");
    const HostStop stop = host().stop();
    EXPECT_EQ(stop.asked, 2U);
    EXPECT_EQ(stop.killed, 0U);
    EXPECT_TRUE(stop.pids.empty());
    EXPECT_EQ(stop.lock, RunLife::kGone);
    EXPECT_TRUE(m_dir.has(".stop.rst"));
    EXPECT_TRUE(workbench::findRunProcesses(m_runDir, m_id).empty());
}

TEST_F(HostCallsTest, KillsWhoDoesNotListen) {
    m_host.hurry();
    begin("trap '' TERM; " + kTakeLock);
    const HostStop stop = host().stop();
    EXPECT_EQ(stop.asked, 1U);
    EXPECT_EQ(stop.killed, 1U);
    EXPECT_TRUE(stop.pids.empty());
}

TEST_F(HostCallsTest, TellsOfALockThatStaysHeld) {
    m_host.hurry();
    const test::HeldRunLock lock(m_runDir);
    const HostStop stop = host().stop();
    EXPECT_TRUE(stop.isTold);
    EXPECT_EQ(stop.lock, RunLife::kAlive);
    EXPECT_EQ(stop.asked, 0U);
}

TEST_F(HostCallsTest, TellsAnotherHostNameAsTheHostGivesIt) {
    if (geteuid() != 0) {
        std::cout << "SKIPPED LOUDLY: only root can give a host another name\n";
        GTEST_SKIP() << "needs root";
    }
    m_host.script(
        "export word=\"$2\"; exec unshare -u sh -c 'hostname far.away && exec sh -c \"$word\"'");
    begin("true");
    HostIdentity claim;
    ASSERT_TRUE(workbench::readHostClaim(m_runDir, m_id, claim));
    EXPECT_EQ(claim.name, "far.away");
    EXPECT_EQ(host().look().host.name, "far.away");
}

}  // namespace
