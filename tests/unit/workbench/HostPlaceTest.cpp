// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/HostPlace.h"

#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "environment/errors/HEXError.h"
#include "environment/installation/HUTEnv.h"
#include "environment/process/HUTFork.h"
#include "environment/process/HUTProcessHandle.h"
#include "environment/process/HUTSysCall.h"
#include "environment/process/processTable.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/FarHost.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/launchLease.h"
#include "workbench/places/hostCalls.h"
#include "workbench/runProcesses.h"

namespace {

using workbench::Evidence;
using workbench::HostPlace;
using workbench::RunLife;

const char kConnectionRefused[] = "ssh: connect to host node7 port 22: Connection refused";

/// An implementation that is launched on "node7", as far as its launcher's part goes.
/// Nothing that a test starts outlives it.
class HostPlaceTest : public ::testing::Test {
protected:
    HostPlaceTest() : m_run(m_bench.makeRun(test::TestBench::implementation())) {
        m_run->setRunDir(m_dir.path(), false);
        m_run->setRunMode(HAXPExpRun::kLaunched);
        m_run->getInfo().setLaunch(1000, "bitstream");
        m_lease = workbench::makeLease();
        m_lease.way = {workbench::LaunchWay::Kind::kHost, "node7", m_host.command(), ""};
        workbench::writeLease(m_dir.path(workbench::kLeaseName), m_lease);
        workbench::writeLease(m_run->queueMarkerPath(), m_lease);
        runScript("exec 9>>.run.lock; flock 9; rm -f " + m_run->queueMarkerPath());
        EXPECT_EQ(mkfifo(m_dir.path("never").c_str(), 0600), 0);
    }
    ~HostPlaceTest() override {
        for (const long pid : workbench::findRunProcesses(m_dir.path(), m_lease.id))
            kill(static_cast<pid_t>(pid), SIGKILL);
    }

    void runScript(const std::string& commands,
                   const std::string& end = "while :; do read -r x <never; done") const {
        m_dir.mark("runme.sh",
                   "#!/bin/sh\ncd \"${0%/*}\"\n" + commands + "\n: >ready\n" + end + "\n");
        EXPECT_EQ(chmod(m_dir.path("runme.sh").c_str(), 0755), 0);
    }
    void awaitReady() const {
        while (!m_dir.has("ready"))
            HUTSysCall::msSleep(1);
    }
    void start() const { m_place.start(*m_run, m_lease); }
    void begin() const {
        start();
        awaitReady();
    }
    std::string refusal() const {
        return test::thrownText<workbench::HostError>([this] { start(); });
    }
    /// What a look proves, and its only line.
    std::string look() const {
        const Evidence evidence = m_place.look(*m_run, m_lease);
        EXPECT_EQ(evidence.lines.size(), 1U);
        const char* life = "unknown: ";
        if (evidence.life != RunLife::kUnknown)
            life = evidence.life == RunLife::kAlive ? "alive: " : "gone: ";
        return life + evidence.lines.front();
    }
    workbench::StopResult stop() const {
        m_run->updateStatus();
        return m_place.stop(*m_run, m_lease);
    }
    std::string stopRefusal() const {
        return test::thrownText<HEXError>([this] { stop(); });
    }
    /// Says that the launch began on such a host.
    void claim(const std::string& host, const std::string& boot, const std::string& space) const {
        m_dir.mark(workbench::kHostClaimName,
                   m_lease.id + " 4242 " + host + " " + boot + " " + space + "\n");
    }
    static std::string boot() { return process::processTable().bootId(); }
    static std::string space() { return process::processTable().pidNamespace(); }

    test::MessageRecorder m_messages;
    test::TestBench m_bench;
    test::RunDir m_dir;
    test::FarHost m_host;
    std::unique_ptr<HAXPExpRun> m_run;
    workbench::LaunchLease m_lease;
    HostPlace m_place;
};

TEST_F(HostPlaceTest, FillsInTheRemoteCommandThatAsksNothing) {
    m_place.complete(*m_run, m_lease);
    EXPECT_EQ(m_lease.way.command, m_host.command());
    m_lease.way.command.clear();
    m_place.complete(*m_run, m_lease);
    EXPECT_EQ(m_lease.way.command, HUTProcessHandle::getRemoteCommand());
}

TEST_F(HostPlaceTest, IsThePlaceOfALeaseThatNamesAHost) {
    const auto place = workbench::RunPlace::of(m_lease);
    EXPECT_NE(dynamic_cast<HostPlace*>(place.get()), nullptr);
}

TEST_F(HostPlaceTest, BeginsTheRunAndSeesItThere) {
    begin();
    EXPECT_EQ(m_host.calls(), "node7\n");
    const Evidence evidence = m_place.look(*m_run, m_lease);
    EXPECT_EQ(evidence.life, RunLife::kAlive);
    EXPECT_EQ(evidence.lines, (std::vector<std::string>{"1 process of it is on node7",
                                                        "its lock is held on node7"}));
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(HostPlaceTest, TellsAFailedConnectionInItsOwnWords) {
    m_host.script(std::string("echo '") + kConnectionRefused + "' >&2; exit 255");
    EXPECT_EQ(refusal(), "Run run_1 isn't launched on node7: the remote command ended with status "
                         "255 and said: " +
                             std::string(kConnectionRefused) +
                             ". Check that host, or choose another one.");
    EXPECT_FALSE(m_dir.has(workbench::kLeaseName));
    EXPECT_EQ(m_host.calls(), "node7\n");
}

TEST_F(HostPlaceTest, TellsThatNoFileSystemIsShared) {
    const std::string dir = m_dir.path();
    m_host.script("sh -c \"$(printf %s \"$2\" | sed \"s|" + dir + "|" + dir + "/gone|\")\"");
    EXPECT_EQ(refusal(), "Run run_1 isn't launched on node7: it has no folder " + dir +
                             "; a run on another host needs a file system that both share. "
                             "Check that host, or choose another one.");
}

TEST_F(HostPlaceTest, GivesUpAHostThatHangs) {
    const test::FakeClock clock;
    m_host.script("read -r x <'" + m_dir.path("never") + "'");
    EXPECT_EQ(refusal(), "Run run_1 isn't launched on node7: the remote command came to no end. "
                         "Check that host, or choose another one.");
}

TEST_F(HostPlaceTest, RefusesAHostThatIsASwitch) {
    m_lease.way.host = "-oProxyCommand=touch";
    EXPECT_EQ(
        test::thrownText<HEXError>([this] { start(); }),
        "\"-oProxyCommand=touch\" can't be the name of a host. Give one as the remote command "
        "knows it, such as node7 or jane@node7.");
    EXPECT_EQ(m_host.calls(), "");
}

TEST_F(HostPlaceTest, AsksNoHostByALeaseThatXpDidNotWrite) {
    m_lease.way.host = "-oProxyCommand=touch";
    EXPECT_EQ(look(), "unknown: -oProxyCommand=touch can't be asked: its lease is none that xp "
                      "writes");
    m_lease.way.host = "node7";
    m_lease.id = "-f/etc/passwd";
    EXPECT_EQ(look(), "unknown: node7 can't be asked: its lease is none that xp writes");
    EXPECT_EQ(m_host.calls(), "");
}

TEST_F(HostPlaceTest, DoesNotStartTwiceWhenTheConnectionDiesBehindTheStart) {
    m_host.script(
        "case $2 in *began*) sh -c \"$2\" >/dev/null; exit 255 ;; esac; exec sh -c \"$2\"");
    begin();
    EXPECT_EQ(m_host.calls(), "node7\nnode7\n");
    EXPECT_TRUE(m_dir.has(workbench::kLeaseName));
    EXPECT_EQ(workbench::findRunProcesses(m_dir.path(), m_lease.id).size(), 1U);
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(HostPlaceTest, NeverTakesTheLeaseAwayFromARunThatBegan) {
    m_host.script(
        "case $2 in *began*) sh -c \"$2\" >/dev/null; exit 255 ;; esac; exec sh -c \"$2\"");
    const test::FaultyDisk disk;
    begin();
    // Its script would take itself for one of a launch that was taken back.
    EXPECT_EQ(disk.removals(), std::vector<std::string>{workbench::kHostClaimName});
}

TEST_F(HostPlaceTest, LeavesARunInDoubtThatBeganOnAHostThatIsLost) {
    m_host.script("[ -e '" + m_dir.path("ready") + "' ] || sh -c \"$2\" >/dev/null; exit 255");
    runScript("true");
    start();
    awaitReady();
    EXPECT_EQ(m_messages.ids(), std::vector<std::string>{"60-132"});
    EXPECT_TRUE(m_dir.has(workbench::kLeaseName));
}

TEST_F(HostPlaceTest, TakesARunThatIsOverAlreadyForBegun) {
    m_host.script("case $2 in *began*) sh -c \"$2\" >/dev/null; while [ ! -e '" +
                  m_dir.path("ready") + "' ]; do :; done; exit 255 ;; esac; exec sh -c \"$2\"");
    runScript("rm -f " + m_run->queueMarkerPath(), "exit 0");
    start();
    EXPECT_TRUE(m_dir.has(workbench::kLeaseName));
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(HostPlaceTest, RefusesARunThatDiedBeforeItsFirstLine) {
    m_host.script("case $2 in *began*) sh -c \"$2\" >/dev/null; while [ ! -e '" +
                  m_dir.path("ready") + "' ]; do :; done; exit 255 ;; esac; exec sh -c \"$2\"");
    runScript("true", "exit 0");
    EXPECT_EQ(refusal(), "Run run_1 isn't launched on node7: the remote command ended with status "
                         "255 and said nothing. Check that host, or choose another one.");
    EXPECT_FALSE(m_dir.has(workbench::kLeaseName));
}

TEST_F(HostPlaceTest, BeginsNothingThatComesUpBehindItsRefusal) {
    m_host.hurry();
    m_host.script("printf %s \"$2\" >'" + m_dir.path("word") + "'; exit 255");
    refusal();
    HUTFork late;
    late.setCmdLine("sh -c", true);
    late.addArg(m_dir.read("word"));
    late.setOutputFile(m_dir.path("said"), false);
    late.setEnvVar("PATH", m_host.folder().path("bin") + ":/usr/bin:/bin");
    EXPECT_EQ(late.launch(true, false, true, true), 0);
    EXPECT_EQ(m_dir.read("said"), "xp:" + m_lease.id + " start lease\n");
    EXPECT_FALSE(m_dir.has("ready"));
}

/// The host claims the launch at the moment at which it is taken back: its connection was
/// dead, but it wasn't.
class LateClaimTest : public HostPlaceTest {
protected:
    LateClaimTest() {
        // The claim of an earlier launch goes, with its folder's descriptor; this launch's is
        // looked for; the lease goes.
        m_disk.doAt(4, [this] {
            EXPECT_TRUE(m_dir.has(workbench::kLeaseName));
            claim(HUTEnv::getHostName(), boot(), space());
            m_late.addArg(m_dir.path("runme.sh"));
            m_late.setEnvVar(workbench::kLaunchVariable, m_lease.id);
            m_late.launch(false, true, false, true);
            awaitReady();
        });
    }
    bool lives() const { return !workbench::findRunProcesses(m_dir.path(), m_lease.id).empty(); }
    test::FaultyDisk m_disk;
    HUTFork m_late;
};

TEST_F(LateClaimTest, IsStoppedBeforeTheLaunchIsRefused) {
    m_host.script("case $2 in *began*) exit 255 ;; esac; exec sh -c \"$2\"");
    refusal();
    EXPECT_TRUE(m_dir.has("ready"));
    EXPECT_FALSE(lives());
    EXPECT_FALSE(m_dir.has(workbench::kLeaseName));
}

TEST_F(LateClaimTest, LeavesARunInDoubtWhenItCanNotBeStopped) {
    m_host.script("exit 255");
    start();
    EXPECT_TRUE(lives());
    EXPECT_TRUE(m_dir.has(workbench::kLeaseName));
    EXPECT_EQ(m_messages.ids(), std::vector<std::string>{"60-132"});
}

TEST_F(HostPlaceTest, SaysInWhichWordsAHostCanNotBeAsked) {
    m_host.script(std::string("echo '") + kConnectionRefused + "' >&2; exit 255");
    EXPECT_EQ(look(), "unknown: node7 can't be asked: the remote command ended with status 255 and "
                      "said: " +
                          std::string(kConnectionRefused));
}

TEST_F(HostPlaceTest, ProvesThatNothingOfTheRunIsThere) {
    claim(HUTEnv::getHostName(), boot(), space());
    EXPECT_EQ(look(), "gone: no process of it is on node7");
}

TEST_F(HostPlaceTest, TakesARunForGoneWhoseHostWasStartedAnew) {
    claim(HUTEnv::getHostName(), "0000-1111", space());
    EXPECT_EQ(look(), "gone: node7 was started anew since the run began");
}

TEST_F(HostPlaceTest, DoesNotTakeAnotherHostForTheOneOfTheRun) {
    claim("another", "0000-1111", space());
    EXPECT_EQ(look(), "unknown: node7 is another host now: it calls itself " +
                          HUTEnv::getHostName() + ", and the run began on another");
    claim(HUTEnv::getHostName(), boot(), "17");
    EXPECT_EQ(look(), "unknown: node7 answers from another container than the one that the run "
                      "began in");
}

TEST_F(HostPlaceTest, ProvesNothingOnAHostWithoutProgramsToLookWith) {
    m_host.program("grep", "exit 2");
    m_host.program("flock", "exit 66");
    m_dir.mark(workbench::kRunLockName);
    EXPECT_EQ(look(), "unknown: node7 has no programs to look for processes with");
}

TEST_F(HostPlaceTest, LeavesARunAloneThatIsNotAtWork) {
    m_dir.unmark(m_run->queueMarkerPath().substr(m_dir.path().size() + 1));
    m_dir.mark(".ice40_init.begin.rst");
    m_dir.mark(".ice40_init.error.rst");
    EXPECT_TRUE(stop().wasIdle);
    EXPECT_EQ(m_host.calls(), "");
    EXPECT_FALSE(m_dir.has(".stop.rst"));
}

TEST_F(HostPlaceTest, EndsTheRunOnItsHost) {
    begin();
    const workbench::StopResult result = stop();
    EXPECT_FALSE(result.wasIdle);
    EXPECT_EQ(result.asked, 1U);
    EXPECT_EQ(result.killed, 0U);
    EXPECT_TRUE(m_dir.has(".stop.rst"));
    EXPECT_TRUE(workbench::findRunProcesses(m_dir.path(), m_lease.id).empty());
    EXPECT_EQ(m_run->getStatus()->getText(), "Stopped before");
}

TEST_F(HostPlaceTest, ClosesTheStepThatItsKillLeftOpen) {
    m_host.hurry();
    runScript("trap '' TERM; exec 9>>.run.lock; flock 9; rm -f " + m_run->queueMarkerPath());
    begin();
    m_dir.mark(".ice40_init.begin.rst", test::TestBench::handleText());
    const workbench::StopResult result = stop();
    EXPECT_EQ(result.killed, 1U);
    EXPECT_EQ(m_dir.read(".ice40_init.error.rst"),
              "it was stopped on node7\nlaunch: " + m_lease.id + "\n");
    EXPECT_EQ(m_run->getStatus()->getCode(), HDGUIStatus::statusError);
    EXPECT_EQ(m_run->getStatus()->getText(), "Stopped in");
}

TEST_F(HostPlaceTest, TakesTheQueueMarkerOfARunThatHasYetToBegin) {
    EXPECT_EQ(stop().asked, 0U);
    EXPECT_NE(access(m_run->queueMarkerPath().c_str(), F_OK), 0);
}

TEST_F(HostPlaceTest, SaysThatARunIsNotStoppedOnAHostThatCanNotBeAsked) {
    m_host.script(std::string("echo '") + kConnectionRefused + "' >&2; exit 255");
    EXPECT_EQ(stopRefusal(), "Run run_1 isn't stopped: node7 can't be asked: the remote command "
                             "ended with status 255 and said: " +
                                 std::string(kConnectionRefused) +
                                 ". It was asked to stop by a file in its run directory, too; look "
                                 "again with \"xp status\".");
    EXPECT_TRUE(m_dir.has(".stop.rst"));
}

TEST_F(HostPlaceTest, NamesWhatOutlivesAKill) {
    m_host.hurry();
    const test::HeldRunLock lock(m_dir.path());
    EXPECT_EQ(stopRefusal(), "Run run_1 isn't stopped: its lock is held on node7. It was asked to "
                             "stop by a file in its run directory, too; look again with \"xp "
                             "status\".");
}

TEST_F(HostPlaceTest, ProvesNoStopOnAnotherHost) {
    claim("another", "0000-1111", space());
    EXPECT_EQ(stopRefusal(),
              "Run run_1 isn't stopped: node7 is another host now: it calls itself " +
                  HUTEnv::getHostName() +
                  ", and the run began on another. It was asked to stop by a file in "
                  "its run directory, too; look again with \"xp status\".");
}

TEST_F(HostPlaceTest, TakesNamesOfHostsWithOrWithoutAUser) {
    for (const char* good : {"node7", "node7.lab", "10.0.0.7", "jane@node7"})
        EXPECT_NO_THROW(HostPlace::requireHost(good)) << good;
    for (const char* bad : {"", "@node7", "jane@", "a@b@c", "a b", "-x", "jane@-x", "$(x)"})
        EXPECT_THROW(HostPlace::requireHost(bad), HEXUserException) << bad;
}

}  // namespace
