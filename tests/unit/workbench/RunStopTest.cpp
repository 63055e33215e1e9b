// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/runStop.h"

#include <cerrno>
#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "environment/errors/HEXError.h"
#include "environment/errors/HEXUserException.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HDDASrcFile.h"
#include "environment/installation/HUTEnv.h"
#include "environment/process/HUTFork.h"
#include "environment/process/HUTSysCall.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/RunDir.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/launchLease.h"
#include "workbench/openFlows.h"
#include "workbench/runLock.h"
#include "workbench/runProcesses.h"
#include "workbench/runReset.h"

namespace {

/// A launch of this process alone: tests beside it find no process of it.
const std::string kId = workbench::makeLease().id;

bool exists(long pid) {
    return kill(static_cast<pid_t>(pid), 0) == 0;
}

/// A run directory and shells that work in it. Nothing outlives the test.
class RunProcessTest : public ::testing::Test {
protected:
    ~RunProcessTest() override {
        for (const auto& shell : m_shells)
            kill(static_cast<pid_t>(shell.pid), SIGKILL);
        // The next test is to find none of them.
        for (std::size_t index = 0; index < m_shells.size(); ++index)
            hasEnded(index);
    }

    /// Starts a shell, in a session of its own, with the commands and a pause that ends
    /// when it is killed. Returns when the commands are done.
    long start(const std::string& commands, const std::string& launchId = "") {
        Shell shell;
        shell.fork = std::make_unique<HUTFork>();
        const std::string ready = "ready" + std::to_string(m_shells.size());
        shell.fork->addArg("sh");
        shell.fork->addArg("-c");
        shell.fork->addArg(commands + "\n: >" + m_dir.path(ready) + "\nwhile :; do read -r x <" +
                           m_dir.path("never") + "; done");
        shell.fork->setWorkingDir(m_dir.path());
        if (!launchId.empty())
            shell.fork->setEnvVar(workbench::kLaunchVariable, launchId);
        if (m_shells.empty()) {
            EXPECT_EQ(mkfifo(m_dir.path("never").c_str(), 0600), 0);
        }
        shell.pid = shell.fork->launch(false, true, true, true);
        m_shells.push_back(std::move(shell));
        // A busy disk may take its time.
        while (access(m_dir.path(ready).c_str(), F_OK) != 0)
            HUTSysCall::msSleep(1);
        return m_shells.back().pid;
    }
    std::vector<long> found(const std::string& launchId = "") const {
        return workbench::findRunProcesses(m_dir.path(), launchId);
    }
    bool hasEnded(std::size_t index) {
        int status = 0;
        while (!m_shells[index].fork->hasEnded(status))
            HUTSysCall::msSleep(1);
        return !exists(m_shells[index].pid);
    }

    struct Shell {
        std::unique_ptr<HUTFork> fork;
        long pid = 0;
    };
    test::RunDir m_dir;
    std::vector<Shell> m_shells;
};

const std::string kHoldLock = std::string("exec 9>>") + workbench::kRunLockName;

TEST_F(RunProcessTest, IsFoundByTheLockThatItHolds) {
    const long pid = start(kHoldLock);
    EXPECT_EQ(found(), std::vector<long>{pid});
}

TEST_F(RunProcessTest, IsFoundByTheIdentityThatItCarries) {
    start("cd /");
    const long other = start("exec 9>&-", kId);
    EXPECT_EQ(found(kId), std::vector<long>{other});
}

TEST_F(RunProcessTest, OfAnotherLaunchIsNone) {
    start("true", kId + "0");
    start("true", kId.substr(1));
    EXPECT_TRUE(found(kId).empty());
}

TEST_F(RunProcessTest, IsFoundByItsLockWhenTheRunDirectoryIsGone) {
    const long pid = start("mkdir run; cd run; " + kHoldLock + "; cd ..; rm -r run");
    start("mkdir other; cd other; " + kHoldLock + "; cd ..; rm -r other");
    EXPECT_EQ(workbench::findRunProcesses(m_dir.path("run"), ""), std::vector<long>{pid});
}

TEST_F(RunProcessTest, ThatOnlyAsksForTheLockIsNone) {
    m_dir.mark(workbench::kRunLockName);
    start(std::string("exec 9<") + workbench::kRunLockName);
    EXPECT_TRUE(found().empty());
}

TEST_F(RunProcessTest, IsNeverThisOne) {
    const int fd = open(m_dir.path(workbench::kRunLockName).c_str(), O_WRONLY | O_CREAT, 0600);
    EXPECT_TRUE(found().empty());
    close(fd);
}

TEST_F(RunProcessTest, ThatCarriesTheLaunchKeepsItFromBeingAbandoned) {
    workbench::LaunchLease lease = workbench::makeLease();
    EXPECT_FALSE(workbench::isAbandoned(m_dir.path(), lease));
    lease.launcher.setStartTicks(lease.launcher.getStartTicks() + 1);
    EXPECT_TRUE(workbench::isAbandoned(m_dir.path(), lease));
    lease.way.kind = workbench::LaunchWay::Kind::kHost;
    EXPECT_FALSE(workbench::isAbandoned(m_dir.path(), lease));
    lease.way.kind = workbench::LaunchWay::Kind::kHere;
    start("", lease.id);
    EXPECT_FALSE(workbench::isAbandoned(m_dir.path(), lease));
}

TEST_F(RunProcessTest, IsSignalledOnlyWhenItBelongsToTheRun) {
    const long own = start("true", kId);
    const long other = start("true");
    workbench::signalRunProcess(other, SIGKILL, m_dir.path(), kId);
    workbench::signalRunProcess(own, SIGKILL, m_dir.path(), kId);
    EXPECT_TRUE(hasEnded(0));
    EXPECT_TRUE(exists(other));
}

/// A launched implementation in that directory.
class RunStopTest : public RunProcessTest {
protected:
    RunStopTest() : m_run(m_bench.makeRun(test::TestBench::implementation())) {
        m_run->setRunDir(m_dir.path(), false);
        m_run->setRunMode(HAXPExpRun::kLaunched);
        m_run->getInfo().setLaunch(1000, "bitstream");
        lease(HUTEnv::getHostName());
    }
    void lease(const std::string& host) const {
        workbench::LaunchLease lease = workbench::makeLease();
        lease.id = kId;
        lease.launcher.setHostname(host);
        workbench::writeLease(m_dir.path(workbench::kLeaseName), lease);
    }
    std::string status() const {
        m_run->updateStatus();
        return m_run->getStatus()->getText() + " " + m_run->getStatus()->getDetailText();
    }

    test::TestBench m_bench;
    std::unique_ptr<HAXPExpRun> m_run;
};

/// Makes the lock as the run's script does.
const std::string kTakeRunLock = kHoldLock + "; flock 9";

TEST_F(RunStopTest, LeavesARunAloneThatIsNotAtWork) {
    EXPECT_TRUE(workbench::stopRun(*m_run).wasIdle);
    EXPECT_FALSE(m_dir.has(".stop.rst"));
}

TEST_F(RunStopTest, EndsEveryProcessAndSaysWhereTheRunStopped) {
    start(kTakeRunLock, kId);
    start("cd /", kId);
    const workbench::StopResult result = workbench::stopRun(*m_run);
    EXPECT_FALSE(result.wasIdle);
    EXPECT_EQ(result.asked, 2U);
    EXPECT_EQ(result.killed, 0U);
    EXPECT_TRUE(hasEnded(0));
    EXPECT_TRUE(hasEnded(1));
    EXPECT_EQ(status(), "Stopped before init_design");
}

TEST_F(RunStopTest, KillsWhoDoesNotListen) {
    start("trap '' TERM; " + kTakeRunLock, kId);
    const workbench::StopResult result = workbench::stopRun(*m_run);
    EXPECT_EQ(result.killed, 1U);
    EXPECT_TRUE(hasEnded(0));
}

TEST_F(RunStopTest, TellsOfALockThatItCanNotFreeAndOfNothingElse) {
    const test::HeldRunLock lock(m_dir.path());
    test::FakeClock clock;
    EXPECT_EQ(test::thrownText<HEXError>([this] { workbench::stopRun(*m_run); }),
              "Run run_1 isn't stopped: a process that can't be seen from here still runs. End "
              "it by hand, then look with \"xp status\".");
}

TEST_F(RunStopTest, IsRefusedForARunOnAnotherHost) {
    lease("a.host");
    const test::HeldRunLock lock(m_dir.path());
    EXPECT_EQ(test::thrownText<HEXError>([this] { workbench::stopRun(*m_run); }),
              "Run run_1 isn't stopped: it is at work on a.host, and this is " +
                  HUTEnv::getHostName() + ". Stop it there, with \"xp kill\".");
    EXPECT_FALSE(m_dir.has(".stop.rst"));
}

TEST_F(RunStopTest, TakesTheQueueMarkerOfARunThatHasYetToBegin) {
    const std::string marker = "." + test::TestBench::implementation().getQueStr() + ".queue.rst";
    m_dir.mark(marker);
    EXPECT_FALSE(workbench::stopRun(*m_run).wasIdle);
    EXPECT_FALSE(m_dir.has(marker));
}

/// A project with a synthesis whose step is done.
class RunResetTest : public ::testing::Test {
protected:
    RunResetTest()
        : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())),
          m_run(m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "")) {
        m_bench.folder().folder("proj/runs/synth_1");
        m_run.setRunDir(m_bench.path("proj/runs/synth_1"), false);
        m_run.setRunMode(HAXPExpRun::kLaunched);
        m_run.getInfo().setLaunch(1000, "synth");
        mark(".ice40_synth.begin.rst");
        mark(".ice40_synth.end.rst");
        for (const char* name : {"blinky.json", "synth_design.metrics.json", ".blinky.json.part",
                                 "synth_design.stat.json", "runme.log", "mine.v"})
            mark(name);
    }
    void mark(const std::string& name) const {
        m_bench.folder().mark("proj/runs/synth_1/" + name, "text");
    }
    bool has(const std::string& name) const {
        return m_bench.folder().has("proj/runs/synth_1/" + name);
    }
    bool reset(const std::string& from, bool emptyDir) {
        return workbench::resetRun(*m_project, m_run, from, emptyDir, m_errors);
    }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    HAXPExpRun& m_run;
    HSTVector<std::string> m_errors;
};

TEST_F(RunResetTest, TakesMarkersAndOutputsAndLeavesTheUsersFiles) {
    EXPECT_TRUE(reset("", true));
    EXPECT_TRUE(m_errors.empty());
    for (const char* name :
         {".ice40_synth.begin.rst", ".ice40_synth.end.rst", "blinky.json",
          "synth_design.metrics.json", ".blinky.json.part", "synth_design.stat.json", "runme.log"})
        EXPECT_FALSE(has(name)) << name;
    EXPECT_TRUE(has("mine.v"));
}

TEST_F(RunResetTest, ForgetsBlockDesignsThatWereAddedSinceTheLaunch) {
    HADAFileSet sources("sources", HDDATypes::FST_DESIGN_SRCS);
    HADAFileSetChangeSummary added(&sources);
    added.addFiles(
        HADAFileSetChangeSummary::FSCS_ADDED,
        sources.addSrcFile(m_bench.folder().path("soc.bd"), HDDATypes::SFT_BLOCK_DESIGN));
    m_run.updateStatus();
    ASSERT_TRUE(m_run.getFirstStep()->hasOnlyBDAdded(&added));
    EXPECT_TRUE(reset("", true));
    EXPECT_FALSE(m_run.getFirstStep()->updateStaleReasonsPostGraphUpdate(nullptr));
    EXPECT_FALSE(m_run.getFirstStep()->isStale());
}

TEST_F(RunResetTest, MakesARunThatIsNotLaunchedAndKnowsItsFiles) {
    EXPECT_TRUE(reset("SYNTH", true));
    EXPECT_EQ(m_run.getRunMode(), HAXPExpRun::kNotLaunched);
    EXPECT_EQ(m_run.getStatus()->getCode(), HDGUIStatus::statusNotStarted);
    EXPECT_EQ(m_run.getInfo().getLaunchTime(), 0);
    EXPECT_EQ(m_run.getInfo().getFile(HAXPTypes::FILE_KDS_DCP), "blinky.json");
}

TEST_F(RunResetTest, TakesWhatAKilledProgramLeftOfALaunch) {
    const std::vector<std::string> left = {"..launch.xml.abcdefghij", ".runme.sh.2345672345",
                                           "..iCE40_Synthesis.queue.rst.abcdefghij"};
    const std::vector<std::string> mine = {".mine.v.abcdefghij", ".runme.sh.ABCDEFGHIJ",
                                           ".runme.sh.abcdefghi", "runme.sh.abcdefghij"};
    for (const std::string& name : left)
        mark(name);
    for (const std::string& name : mine)
        mark(name);
    EXPECT_TRUE(reset("", true));
    for (const std::string& name : left)
        EXPECT_FALSE(has(name)) << name;
    for (const std::string& name : mine)
        EXPECT_TRUE(has(name)) << name;
}

TEST_F(RunResetTest, CanLeaveTheFiles) {
    EXPECT_TRUE(reset("", false));
    EXPECT_FALSE(has(".ice40_synth.end.rst"));
    EXPECT_TRUE(has("blinky.json"));
    EXPECT_TRUE(has("runme.log"));
}

TEST_F(RunResetTest, TellsOfAMarkerThatStaysAndKeepsTheStatus) {
    // It can't be moved aside, either.
    m_bench.folder().mark("proj/.xperiment");
    {
        test::FaultyDisk disk;
        disk.failAll("unlinkAt", EROFS);
        EXPECT_FALSE(reset("", false));
        EXPECT_TRUE(disk.hasFailed());
    }
    EXPECT_EQ(m_errors, HSTVector<std::string>({"Failed to reset run step "}));
    EXPECT_EQ(m_run.getRunMode(), HAXPExpRun::kLaunched);
    m_run.updateStatus();
    EXPECT_EQ(m_run.getStatus()->getCode(), HDGUIStatus::statusDone);
    EXPECT_EQ(m_run.getInfo().getLaunchTime(), 1000);
    // Whoever opens the project next sees the same.
    m_project.reset();
    const auto again = Project::open(m_bench.path("proj"), Project::kRead);
    HAXPExpRun& run = again->getRun("synth_1");
    run.updateStatus();
    EXPECT_EQ(run.getStatus()->getCode(), HDGUIStatus::statusDone);
}

TEST_F(RunResetTest, RefusesAStepThatIsNotThere) {
    EXPECT_EQ(test::thrownText<HEXError>([this] { reset("place", true); }),
              "Run synth_1 has no step \"place\" to reset from. Its steps are: synth.");
    EXPECT_TRUE(has("blinky.json"));
}

TEST_F(RunResetTest, RefusesARunAtWork) {
    m_bench.folder().unmark("proj/runs/synth_1/.ice40_synth.end.rst");
    const test::HeldRunLock lock(m_bench.path("proj/runs/synth_1"));
    EXPECT_EQ(test::thrownText<HEXError>([this] { reset("", true); }),
              "Run synth_1 isn't reset: it is running. Stop it with \"xp kill\" first, or reset "
              "it with --kill.");
    EXPECT_TRUE(has("blinky.json"));
}

TEST_F(RunResetTest, IsDoneForADirectoryThatIsGone) {
    m_run.setRunDir(m_bench.path("proj/runs/gone"), false);
    EXPECT_TRUE(reset("", true));
    EXPECT_EQ(m_run.getRunMode(), HAXPExpRun::kNotLaunched);
    EXPECT_FALSE(m_bench.folder().has("proj/runs/gone"));
}

/// A synthesis in the midst of its only step on a host that can't be seen from here.
class RunInDoubtTest : public RunResetTest {
protected:
    RunInDoubtTest() {
        m_lease.launcher.setHostname("node7");
        m_lease.keptSteps = std::vector<std::string>();
        workbench::writeLease(m_run.pathOf(workbench::kLeaseName), m_lease);
        m_bench.folder().unmark("proj/runs/synth_1/.ice40_synth.end.rst");
        m_bench.folder().touch("proj/runs/synth_1/.ice40_synth.begin.rst", 1000);
        m_bench.folder().touch("proj/runs/synth_1/runme.log", 1000);
        m_bench.folder().touch("proj/runs/synth_1/.launch.xml", 1000);
    }
    workbench::LaunchLease m_lease = workbench::makeLease();
};

TEST_F(RunInDoubtTest, IsNotResetWithTheReasonAndTheWayOut) {
    const std::string text = test::thrownText<HEXUserException>([&] { reset("", true); });
    EXPECT_EQ(text.find("Run synth_1 isn't reset: it may be at work or lost: it works on node7"),
              0U)
        << text;
    EXPECT_NE(text.find("--force"), std::string::npos) << text;
    EXPECT_TRUE(has(".ice40_synth.begin.rst"));
}

TEST_F(RunInDoubtTest, IsResetOnRequest) {
    EXPECT_TRUE(workbench::resetRun(*m_project, m_run, "", true, m_errors, true));
    EXPECT_EQ(m_run.getRunMode(), HAXPExpRun::kNotLaunched);
    EXPECT_FALSE(has(".ice40_synth.begin.rst"));
}

TEST_F(RunInDoubtTest, IsNotResetOnRequestWhileItIsAtWork) {
    m_bench.folder().mark("proj/runs/synth_1/runme.log", "just now");
    EXPECT_THROW(workbench::resetRun(*m_project, m_run, "", true, m_errors, true),
                 HEXUserException);
    EXPECT_TRUE(has(".ice40_synth.begin.rst"));
}

}  // namespace
