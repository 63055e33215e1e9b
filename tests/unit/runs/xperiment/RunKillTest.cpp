// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <csignal>
#include <cstdlib>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/cluster/HCClusterConf.h"
#include "environment/cluster/HCClusterConfMgr.h"
#include "environment/installation/HUTEnv.h"
#include "environment/process/HUTProcessHandle.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeEnvironment.h"
#include "tests/support/FakeProcessTable.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/TestParam.h"
#include "tests/unit/runs/xperiment/resetFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using test::Ids;
using test::kNotStarted;
using test::Nature;
using test::RunResetFixture;
using test::TestParam;
using test::Texts;

/// The record of process `pid`, which leads a group of its own.
std::string record(const std::string& host, long pid = 42) {
    const std::string number = std::to_string(pid);
    return "<ProcessHandle Version=\"1\" Minor=\"0\"><Process Host=\"" + host +
           "\" Owner=\"jane\" Uid=\"1000\" Pid=\"" + number + "\" Pgid=\"" + number +
           "\" StartTicks=\"7\" BootId=\"6d1f0a52-88c4-4b0e-9d1e-0f6c2b7a4e11\" "
           "PidNamespace=\"4026531836\"/><Command>/bin/tool</Command></ProcessHandle>\n";
}

/// The programs of a cluster, in a folder that is the only one of the path. Each notes how
/// it was called.
class ClusterPrograms {
public:
    ClusterPrograms() { m_variables.set("PATH", m_dir.path()); }

    /// A program that ends with `status`.
    void add(const std::string& name, int status) const {
        m_dir.mark(name, "#!/bin/sh\nprintf '[%s]' \"$@\" >>'" + m_dir.path(name + ".calls") +
                             "'\nexit " + std::to_string(status) + "\n");
        ASSERT_EQ(::chmod(path(name).c_str(), 0755), 0);
    }
    std::string path(const std::string& name) const { return m_dir.path(name); }
    /// The arguments that it was called with, each in brackets; empty when it wasn't.
    std::string calls(const std::string& name) const {
        return m_dir.has(name + ".calls") ? m_dir.read(name + ".calls") : "";
    }

private:
    test::RunDir m_dir;
    test::FakeEnvironment m_variables;
};

/// A run whose step "a" is running, with a made-up process 42 on the made-up host "here".
class RunKillTest : public RunResetFixture {
protected:
    RunKillTest() {
        m_host.add(42, 42, 7);
        markRunning("a", record("here"));
    }
    void TearDown() override {
        m_run.reset();
        EXPECT_EQ(m_messages.summaries(), m_expectedMessages);
    }

    /// Stops the run and takes it back to its start.
    bool kill(bool emptyDir = true) { return reset(emptyDir, true); }
    /// The host refuses to end process 42.
    void protect() { m_host.add(42, 42, 7, Nature::kForeign); }
    void expectStepsReset() const {
        EXPECT_FALSE(has(".a.begin.rst"));
        EXPECT_EQ(step("a")->getStatus()->getCode(), kNotStarted);
    }
    void expectOutputsKept() const {
        EXPECT_TRUE(hasOutput());
        EXPECT_FALSE(isEmptied());
    }
    void expectEmptied() const { EXPECT_EQ(entries(), (Ids{})); }
    /// Why process 42 stays.
    static std::string refused(const std::string& host = "here") {
        return "Can't end process 42 on host '" + host +
               "': 42 still runs (Operation not permitted). End it by hand.";
    }

    test::FakeClock m_clock;
    test::FakeProcessTable m_host;
    test::MessageRecorder m_messages;
    Ids m_expectedMessages;
};

// Whether anything is stopped ------------------------------------------------

TEST_F(RunKillTest, StopsNothingUnlessToldTo) {
    EXPECT_TRUE(resetFrom("at_b", false, false));
    EXPECT_TRUE(m_host.has(42));
    EXPECT_FALSE(has(".stop.rst"));
}

TEST_F(RunKillTest, StopsNothingOfARunThatIsntLaunched) {
    m_run->updateStatus();
    for (const auto mode : {HAXPExpRunBase::kNotLaunched, HAXPExpRunBase::kUnknown}) {
        m_run->setRunMode(mode);
        EXPECT_TRUE(kill());
        EXPECT_TRUE(m_host.has(42));
        EXPECT_FALSE(has(".stop.rst"));
    }
}

TEST_F(RunKillTest, OnlyAsksToStopWhenNoStepRuns) {
    markDone("a");
    EXPECT_TRUE(kill(false));
    EXPECT_TRUE(has(".stop.rst"));
    EXPECT_EQ(m_dir.read("run/.stop.rst"), "");
    EXPECT_THAT(m_host.signals(), IsEmpty());
    EXPECT_THAT(m_clock.sleeps(), IsEmpty());
    EXPECT_EQ(m_errors, (Texts{}));
}

TEST_F(RunKillTest, OnlyAsksToStopWhenNothingHasBegun) {
    m_dir.unmark("run/.a.begin.rst");
    EXPECT_TRUE(kill(false));
    EXPECT_TRUE(has(".stop.rst"));
    EXPECT_EQ(m_run->getLatestStep(), nullptr);
}

TEST_F(RunKillTest, LooksAnewBeforeItDecides) {
    m_run->updateStatus();
    markDone("a");
    EXPECT_TRUE(kill());
    EXPECT_TRUE(m_host.has(42)) << "the step is done meanwhile";
}

TEST_F(RunKillTest, LooksForNoFileOfARunWithoutADirectory) {
    const TestParam beyond("project.enableLSFforRuns", true);
    m_run->updateStatus();
    m_run->setRunDir("", false);
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(42)) << "its record is known";
    expectOutputsKept();
}

TEST_F(RunKillTest, EmptiesAnOlderRequestToStop) {
    mark(".stop.rst", "old");
    EXPECT_TRUE(kill(false));
    EXPECT_EQ(m_dir.read("run/.stop.rst"), "");
}

TEST_F(RunKillTest, WritesTheRequestToStopThroughNoLink) {
    m_dir.mark("precious", "content");
    ASSERT_EQ(::symlink("../precious", m_dir.path("run/.stop.rst").c_str()), 0);
    EXPECT_TRUE(kill(false));
    EXPECT_EQ(m_dir.read("precious"), "content");
    EXPECT_TRUE(boost::filesystem::is_regular_file(
        boost::filesystem::symlink_status(m_dir.path("run/.stop.rst"))));
}

TEST_F(RunKillTest, StopsARunWhoseDirectoryVanished) {
    m_run->updateStatus();
    m_run->onUpdateStatus = [this] { m_run->setRunDir("", false); };
    removeRunDir();
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(42)) << "what it was told before is known";
    EXPECT_FALSE(m_dir.has("run"));
}

// On this host ---------------------------------------------------------------

TEST_F(RunKillTest, EndsTheProcessWithItsGroup) {
    m_host.add(43, 42, 8);
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(42) || m_host.has(43));
    EXPECT_EQ(m_errors, (Texts{}));
    expectStepsReset();
    expectEmptied();
}

TEST_F(RunKillTest, EndsTheProcessOfALaterStepOnly) {
    markDone("a");
    markRunning("b", record("here", 50));
    m_host.add(50, 50, 7);
    EXPECT_TRUE(resetFrom("at_b", true, true));
    EXPECT_FALSE(m_host.has(50));
    EXPECT_TRUE(m_host.has(42));
    EXPECT_TRUE(has(".stop.rst"));
    EXPECT_FALSE(isEmptied());
}

TEST_F(RunKillTest, KeepsFilesWhenItIsOnlyToStop) {
    EXPECT_TRUE(kill(false));
    EXPECT_FALSE(m_host.has(42));
    expectOutputsKept();
    expectStepsReset();
}

TEST_F(RunKillTest, ReadsTheProcessOfTheWholeRunWhenTheStepTellsOfNone) {
    markRunning("a");
    mark(".tarnel.begin.rst", record("here", 60));
    m_host.add(60, 60, 7);
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(60));
    EXPECT_TRUE(m_host.has(42));
}

TEST_F(RunKillTest, TrustsTheStepBeforeTheProcessOfTheWholeRun) {
    mark(".tarnel.begin.rst", record("here", 60));
    m_host.add(60, 60, 7);
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(42));
    EXPECT_TRUE(m_host.has(60));
}

TEST_F(RunKillTest, FailsWithoutAnyRecord) {
    markRunning("a");
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_errors,
              (Texts{"Can't end the process of the run: no record tells its host and id. Look "
                     "whether it still runs, and end it by hand."}));
    expectOutputsKept();
}

TEST_F(RunKillTest, LeavesARecycledPidAlone) {
    m_host.add(42, 42, 8);
    EXPECT_FALSE(kill());
    EXPECT_THAT(m_host.signals(), IsEmpty());
    EXPECT_THAT(m_errors,
                ElementsAre("Can't end process 42 on host 'here': it has ended, and its id was "
                            "given to another process, which was left alone."));
    expectOutputsKept();
}

// What fails -----------------------------------------------------------------

TEST_F(RunKillTest, KeepsOutputsOfWhatStillRuns) {
    protect();
    m_errors = {"before"};
    EXPECT_FALSE(m_run->resetRun(m_errors, true, true, true));
    EXPECT_EQ(m_errors, (Texts{"before", refused()}));
    EXPECT_THAT(m_clock.sleeps(), ElementsAre(500));
    EXPECT_TRUE(has(".stop.rst"));
    expectStepsReset();
    expectOutputsKept();
    EXPECT_FALSE(m_run->isActivated());
    EXPECT_EQ(m_run->info().getFile(HAXPTypes::FILE_PLACE_UTIL), "");
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(RunKillTest, TellsWhatTheSecondAttemptSays) {
    protect();
    m_clock.onSleep([this] { m_host.add(42, 42, 9); });
    EXPECT_FALSE(kill());
    EXPECT_THAT(m_errors,
                ElementsAre("Can't end process 42 on host 'here': it has ended, and its id was "
                            "given to another process, which was left alone."));
}

TEST_F(RunKillTest, WaitsForWhatHangsInTheHostAndGivesUp) {
    m_host.add(42, 42, 7, Nature::kImmortal);
    EXPECT_FALSE(kill());
    EXPECT_THAT(m_errors, ElementsAre("Can't end process 42 on host 'here': 42 still runs. End it "
                                      "by hand."));
    expectOutputsKept();
}

TEST_F(RunKillTest, TellsAFailedKillBeforeAFailedStep) {
    protect();
    EXPECT_FALSE(resetFrom("at_z", true, true));
    EXPECT_EQ(m_errors, (Texts{refused(), "Failed to reset run step at_z"}));
    EXPECT_TRUE(has(".a.begin.rst"));
}

// Gone between two looks -----------------------------------------------------

TEST_F(RunKillTest, SucceedsWhenTheProcessIsGoneAtTheFirstLook) {
    m_host.remove(42);
    EXPECT_TRUE(kill());
    EXPECT_THAT(m_host.signals(), IsEmpty());
    EXPECT_THAT(m_clock.sleeps(), IsEmpty());
    expectEmptied();
}

TEST_F(RunKillTest, SucceedsWhenTheProcessWaitsForItsParent) {
    m_host.makeZombie(42);
    EXPECT_TRUE(kill());
    expectEmptied();
}

TEST_F(RunKillTest, SucceedsWhenTheStepEndsAfterTheFirstAttempt) {
    protect();
    m_clock.onSleep([this] { markDone("a"); });
    EXPECT_TRUE(kill());
    EXPECT_EQ(m_errors, (Texts{}));
    EXPECT_THAT(m_clock.sleeps(), ElementsAre(500));
    expectEmptied();
}

TEST_F(RunKillTest, SucceedsWhenTheStepFailsAfterTheFirstAttempt) {
    protect();
    m_clock.onSleep([this] { mark(".a.error.rst"); });
    EXPECT_TRUE(kill());
    EXPECT_EQ(m_errors, (Texts{}));
    expectEmptied();
}

TEST_F(RunKillTest, SucceedsWhenTheProcessDiesSilentlyAfterTheFirstAttempt) {
    protect();
    m_clock.onSleep([this] { m_host.remove(42); });
    EXPECT_TRUE(kill());
    EXPECT_EQ(m_errors, (Texts{}));
    expectEmptied();
}

TEST_F(RunKillTest, SucceedsWhenTheRunForgetsItsStepAfterTheFirstAttempt) {
    protect();
    m_clock.onSleep([this] { removeRunDir(); });
    EXPECT_TRUE(kill());
    EXPECT_EQ(m_run->getLatestStep(), nullptr);
    EXPECT_EQ(m_errors, (Texts{}));
    EXPECT_FALSE(m_dir.has("run"));
}

TEST_F(RunKillTest, EndsTheStepThatBeganAfterTheFirstAttempt) {
    protect();
    m_host.add(50, 50, 7);
    m_clock.onSleep([this] {
        markDone("a");
        markRunning("b", record("here", 50));
    });
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(50));
    expectEmptied();
}

TEST_F(RunKillTest, EndsTheProcessWhoseRecordCameAfterTheFirstAttempt) {
    markRunning("a");
    m_clock.onSleep([this] { markRunning("a", record("here")); });
    EXPECT_TRUE(kill());
    EXPECT_FALSE(m_host.has(42));
    EXPECT_EQ(m_errors, (Texts{}));
    expectEmptied();
}

TEST_F(RunKillTest, LeavesTheRunToOthersWhileItWaits) {
    protect();
    int looks = 0;
    m_clock.onSleep([&] {
        std::thread other(
            [&] { looks += m_run->getRunMode() == HAXPExpRunBase::kLaunched ? 1 : 0; });
        other.join();
    });
    EXPECT_FALSE(kill());
    EXPECT_EQ(looks, 1);
}

// Beyond this host -----------------------------------------------------------

/// The run's process is out of reach from here, and other ways are allowed. A remote
/// command "remote" and the programs of a cluster are at hand.
class RunKillElsewhereTest : public RunKillTest {
protected:
    RunKillElsewhereTest() {
        markRunning("a", record("node7"));
        HUTProcessHandle::setRemoteCommand(m_programs.path("remote"));
    }
    void TearDown() override {
        HUTProcessHandle::setRemoteCommand(m_remoteBefore);
        HCClusterConfMgr::getInstance()->removeClusterConf("sge");
        RunKillTest::TearDown();
    }

    void program(const std::string& name, int status) { m_programs.add(name, status); }
    /// The run is a job of the cluster.
    void submit(const std::string& id) { mark("job.id", id); }
    /// Names the configuration "sge" in the run, and registers it with this kill command.
    void configure(const std::string& killCommand) {
        m_run->info().setClusterConfigurationName("sge", false);
        auto conf = std::make_unique<HCClusterConf>("sge");
        conf->setKillCmd(killCommand);
        HCClusterConfMgr::getInstance()->addClusterConf(conf.release());
    }
    void expectJobEnd(const std::string& id) {
        m_expectedMessages.push_back("runs INFO 36-557(" + id + ")");
    }
    static std::string outOfReach() {
        return "Can't end process 42 on host 'node7': this is host 'here'.";
    }

    ClusterPrograms m_programs;
    std::optional<TestParam> m_beyond{std::in_place, "project.enableLSFforRuns", true};
    std::string m_remoteBefore = HUTProcessHandle::getRemoteCommand();
};

TEST_F(RunKillElsewhereTest, IsLeftAloneUnlessAllowed) {
    m_beyond.reset();
    program("remote", 0);
    program("bkill", 0);
    submit("4711");
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_errors, (Texts{outOfReach()}));
    EXPECT_EQ(m_programs.calls("remote") + m_programs.calls("bkill"), "");
    expectStepsReset();
    expectOutputsKept();
}

TEST_F(RunKillElsewhereTest, IsLeftAloneWhenItRanHere) {
    m_host.setHostName(HUTEnv::getHostName());
    protect();
    markRunning("a", record(HUTEnv::getHostName()));
    program("remote", 0);
    program("bkill", 0);
    submit("4711");
    m_errors = {"before"};
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_errors, (Texts{"before", refused(HUTEnv::getHostName())}));
    EXPECT_EQ(m_programs.calls("remote") + m_programs.calls("bkill"), "");
    expectOutputsKept();
}

TEST_F(RunKillElsewhereTest, IsntTriedWhenTheFirstAttemptsDo) {
    markRunning("a", record("here"));
    program("bkill", 0);
    submit("4711");
    EXPECT_TRUE(kill());
    EXPECT_EQ(m_programs.calls("bkill"), "");
}

TEST_F(RunKillElsewhereTest, IsDoneOnTheHostOfARunWithoutAJob) {
    program("remote", 0);
    m_errors = {"before"};
    EXPECT_TRUE(kill());
    EXPECT_THAT(m_programs.calls("remote"), ::testing::StartsWith("[node7]"));
    EXPECT_EQ(m_errors, (Texts{})) << "what was there before too";
    expectStepsReset();
    expectEmptied();
}

TEST_F(RunKillElsewhereTest, EmptiesTheDirectoryWhateverWasAskedOnceItWorked) {
    program("remote", 0);
    EXPECT_TRUE(kill(false));
    expectEmptied();
}

TEST_F(RunKillElsewhereTest, KeepsOutputsWhenTheHostRefuses) {
    program("remote", 255);
    m_errors = {"before"};
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_errors, (Texts{"Can't end process 42 on host 'node7' from here: the command ended "
                               "with status 255."}));
    expectStepsReset();
    expectOutputsKept();
}

TEST_F(RunKillElsewhereTest, FailsForAJobWithoutAnIdentifier) {
    submit("");
    program("bkill", 0);
    m_errors = {"before"};
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_errors, (Texts{"before", outOfReach(),
                               "Failed to kill the run 'impl_1' job. Could not find the job id."}));
    EXPECT_EQ(m_programs.calls("bkill"), "");
    expectStepsReset();
    expectOutputsKept();
}

TEST_F(RunKillElsewhereTest, FailsWhenTheIdentifierCantBeRead) {
    // It is there at the first look, and no file at the second.
    ASSERT_EQ(::mkfifo(m_dir.path("run/job.id").c_str(), 0600), 0);
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_errors, (Texts{outOfReach(), "Failed to kill the run 'impl_1' job. Could not find "
                                             "the job id."}));
    expectOutputsKept();
}

// By LSF ---------------------------------------------------------------------

TEST_F(RunKillElsewhereTest, CallsTheJobOfLsfByTheRunScript) {
    submit("4711");
    program("bkill", 0);
    m_errors = {"before"};
    EXPECT_TRUE(kill());
    EXPECT_EQ(m_programs.calls("bkill"), "[-J][" + runDir() + "/runme.sh]");
    expectJobEnd("4711");
    EXPECT_EQ(m_errors, (Texts{}));
    expectStepsReset();
    expectEmptied();
}

TEST_F(RunKillElsewhereTest, EmptiesTheDirectoryOfAJobWhateverWasAsked) {
    submit("4711");
    program("bkill", 0);
    EXPECT_TRUE(kill(false));
    expectJobEnd("4711");
    expectEmptied();
}

TEST_F(RunKillElsewhereTest, KeepsOutputsWhenLsfRefuses) {
    submit("4711");
    program("bkill", 1);
    m_errors = {"before"};
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_errors, (Texts{"before", outOfReach()}));
    expectStepsReset();
    expectOutputsKept();
}

TEST_F(RunKillElsewhereTest, KeepsOutputsWithoutLsf) {
    submit("4711");
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_errors, (Texts{outOfReach()}));
    expectOutputsKept();
}

TEST_F(RunKillElsewhereTest, TriesLsfForAConfigurationThatNobodyKnows) {
    const TestParam byConfiguration("runs.enableClusterConf", true);
    m_run->info().setClusterConfigurationName("sge", false);
    submit("4711");
    program("bkill", 0);
    EXPECT_TRUE(kill());
    expectJobEnd("4711");
}

TEST_F(RunKillElsewhereTest, FailsForAConfigurationThatNobodyKnowsWithoutLsf) {
    const TestParam byConfiguration("runs.enableClusterConf", true);
    m_run->info().setClusterConfigurationName("sge", false);
    submit("4711");
    program("bkill", 1);
    EXPECT_FALSE(kill());
    expectOutputsKept();
}

// By a configuration ---------------------------------------------------------

TEST_F(RunKillElsewhereTest, KillsThroughTheConfigurationOfTheRun) {
    const TestParam byConfiguration("runs.enableClusterConf", true);
    configure("qdel -f  now");
    submit("4711");
    program("qdel", 0);
    program("bkill", 0);
    m_errors = {"before"};
    EXPECT_TRUE(kill());
    EXPECT_EQ(m_programs.calls("qdel"), "[-f][now][4711]");
    EXPECT_EQ(m_programs.calls("bkill"), "");
    expectJobEnd("4711");
    EXPECT_EQ(m_errors, (Texts{}));
    expectEmptied();
}

TEST_F(RunKillElsewhereTest, TakesTheIdentifierAsItStands) {
    const TestParam byConfiguration("runs.enableClusterConf", true);
    configure("qdel");
    submit(" 4711 a\n");
    program("qdel", 0);
    EXPECT_TRUE(kill());
    EXPECT_EQ(m_programs.calls("qdel"), "[ 4711 a\n]");
    expectJobEnd(" 4711 a\n");
}

TEST_F(RunKillElsewhereTest, KeepsOutputsWhenTheConfigurationsCommandFails) {
    const TestParam byConfiguration("runs.enableClusterConf", true);
    configure("qdel");
    submit("4711");
    program("qdel", 1);
    program("bkill", 0);
    m_errors = {"before"};
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_errors, (Texts{"before", outOfReach()}));
    EXPECT_EQ(m_programs.calls("bkill"), "");
    expectStepsReset();
    expectOutputsKept();
}

TEST_F(RunKillElsewhereTest, NeedsLeaveToKillThroughAConfiguration) {
    configure("qdel");
    submit("4711");
    program("qdel", 0);
    program("bkill", 0);
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_errors, (Texts{outOfReach()}));
    EXPECT_EQ(m_programs.calls("qdel") + m_programs.calls("bkill"), "");
    expectOutputsKept();
}

TEST_F(RunKillElsewhereTest, FailsForAConfigurationWithoutAKillCommand) {
    const TestParam debug("runs.debug", true);
    const TestParam byConfiguration("runs.enableClusterConf", true);
    configure("");
    submit("4711");
    program("bkill", 0);
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_errors, (Texts{outOfReach()}));
    EXPECT_EQ(m_programs.calls("bkill"), "");
    m_expectedMessages = {"runs INFO 36-555(4711)"};
    expectOutputsKept();
}

TEST_F(RunKillElsewhereTest, SurvivesAHugeIdentifier) {
    const TestParam byConfiguration("runs.enableClusterConf", true);
    configure("qdel");
    submit(std::string(std::size_t{4} << 20, '7'));
    program("qdel", 0);
    EXPECT_FALSE(kill()) << "no command takes it";
    EXPECT_EQ(m_errors, (Texts{outOfReach()}));
    expectOutputsKept();
}

// What is thrown on the way --------------------------------------------------

/// The variable TMPDIR of this process, which others than the library's seam read.
class NoTemporaryFolder {
public:
    NoTemporaryFolder() {
        if (const char* const value = std::getenv("TMPDIR"))
            m_before = value;
        ::setenv("TMPDIR", "/nonexistent/folder", 1);
    }
    ~NoTemporaryFolder() {
        if (m_before)
            ::setenv("TMPDIR", m_before->c_str(), 1);
        else
            ::unsetenv("TMPDIR");
    }
    NoTemporaryFolder(const NoTemporaryFolder&) = delete;
    NoTemporaryFolder& operator=(const NoTemporaryFolder&) = delete;

private:
    std::optional<std::string> m_before;
};

TEST_F(RunKillElsewhereTest, TellsThatAnAttemptBrokeOff) {
    program("remote", 0);
    m_errors = {"before"};
    const NoTemporaryFolder broken;
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_errors, (Texts{"Failed to kill the run 'impl_1' job."}));
    expectStepsReset();
    expectEmptied();
}

// The parts ------------------------------------------------------------------

/// Kill commands and job identifiers, on their own.
class KillCommandTest : public ::testing::Test {
protected:
    KillCommandTest()
        : m_flow(test::makeFlow({"a"})),
          m_run(std::make_unique<test::TestRun>("impl_1", m_flow.get())) {
        m_run->setRunDir(m_dir.path(), false);
    }
    void TearDown() override { EXPECT_EQ(m_messages.summaries(), m_expectedMessages); }

    test::RunDir m_dir;
    ClusterPrograms m_programs;
    test::MessageRecorder m_messages;
    Ids m_expectedMessages;
    std::unique_ptr<HAXPFlow> m_flow;
    std::unique_ptr<test::TestRun> m_run;
};

TEST_F(KillCommandTest, PutsTheArgumentLast) {
    m_programs.add("end", 0);
    EXPECT_TRUE(m_run->killRun("end -J  --now", "a b;c", false));
    EXPECT_EQ(m_programs.calls("end"), "[-J][--now][a b;c]");
}

TEST_F(KillCommandTest, ReadsNotItsLastArgument) {
    m_programs.add("end", 0);
    m_programs.add("fail", 1);
    for (const bool either : {false, true}) {
        EXPECT_TRUE(m_run->killRun("end", "1", either));
        EXPECT_FALSE(m_run->killRun("fail", "1", either));
    }
}

TEST_F(KillCommandTest, FailsWithItsProgram) {
    m_programs.add("fail", 255);
    EXPECT_FALSE(m_run->killRun("fail", "1", false));
    EXPECT_EQ(m_programs.calls("fail"), "[1]");
}

TEST_F(KillCommandTest, FailsForAProgramThatIsntFound) {
    EXPECT_FALSE(m_run->killRun("missing -J", "1", false));
    EXPECT_FALSE(m_run->killRun("", "1", false));
    EXPECT_FALSE(m_run->killRun("  ", "1", false));
}

TEST_F(KillCommandTest, TakesAPathForItsProgram) {
    m_programs.add("end", 0);
    EXPECT_TRUE(m_run->killRun(m_programs.path("end") + " -J", "1", false));
    EXPECT_FALSE(m_run->killRun(m_programs.path("missing"), "1", false));
}

TEST_F(KillCommandTest, FailsWhenTheProgramDiesOfASignal) {
    m_dir.mark("dying", "#!/bin/sh\nkill -9 $$\n");
    ASSERT_EQ(::chmod(m_dir.path("dying").c_str(), 0755), 0);
    EXPECT_FALSE(m_run->killRun(m_dir.path("dying"), "1", false));
}

TEST_F(KillCommandTest, RunsTheCommandInTheGroupOfTheCaller) {
    m_dir.mark("grouped", "#!/bin/sh\ngroup=$1\nread -r all </proc/$$/stat\nset -- $all\n"
                          "[ \"$5\" = \"$group\" ]\n");
    ASSERT_EQ(::chmod(m_dir.path("grouped").c_str(), 0755), 0);
    EXPECT_TRUE(m_run->killRun(m_dir.path("grouped"), std::to_string(::getpgrp()), false))
        << "what ends the caller from its terminal ends it too";
    EXPECT_FALSE(m_run->killRun(m_dir.path("grouped"), "1", false));
}

TEST_F(KillCommandTest, DropsWhatTheCommandPrints) {
    m_dir.mark("chatty", "#!/bin/sh\necho out\necho err >&2\n");
    ASSERT_EQ(::chmod(m_dir.path("chatty").c_str(), 0755), 0);
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    EXPECT_TRUE(m_run->killRun(m_dir.path("chatty"), "1", false));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(KillCommandTest, TakesNoArgumentThatACommandWouldSeeCut) {
    m_programs.add("end", 0);
    EXPECT_FALSE(m_run->killRun("end",
                                std::string("47\0"
                                            "11",
                                            5),
                                false));
    EXPECT_EQ(m_programs.calls("end"), "");
}

TEST_F(KillCommandTest, TellsItsArgumentWhenDebugging) {
    const TestParam debug("runs.debug", true);
    EXPECT_FALSE(m_run->killRun("missing", "4711", false));
    m_expectedMessages = {"runs INFO 36-556(4711)"};
}

TEST_F(KillCommandTest, ReadsTheWholeJobIdentifier) {
    for (const std::string& id :
         {std::string("4711"), std::string("4711\n"), std::string(" a\r\nb "),
          std::string("a\0b", 3), std::string(1 << 20, '7')}) {
        m_dir.mark("job.id", id);
        EXPECT_EQ(m_run->readClusterJobIdentifier_(), id);
    }
}

TEST_F(KillCommandTest, ReadsNoJobIdentifierWithoutItsFile) {
    EXPECT_EQ(m_run->readClusterJobIdentifier_(), "");
    m_dir.mark("job.id", "");
    EXPECT_EQ(m_run->readClusterJobIdentifier_(), "");
    m_dir.unmark("job.id");
    m_dir.folder("job.id");
    EXPECT_EQ(m_run->readClusterJobIdentifier_(), "");
}

TEST_F(KillCommandTest, ReadsNoJobIdentifierWithoutADirectory) {
    m_run->setRunDir("", false);
    EXPECT_EQ(m_run->readClusterJobIdentifier_(), "");
}

TEST_F(KillCommandTest, TellsTheJobIdentifierWhenDebugging) {
    const TestParam debug("runs.debug", true);
    EXPECT_EQ(m_run->readClusterJobIdentifier_(), "") << "and says nothing without one";
    m_dir.mark("job.id", "4711");
    EXPECT_EQ(m_run->readClusterJobIdentifier_(), "4711");
    m_expectedMessages = {"runs INFO 36-555(4711)"};
}

TEST_F(RunKillElsewhereTest, TellsEachStepWhenDebugging) {
    const TestParam debug("runs.debug", true);
    submit("4711");
    program("bkill", 0);
    EXPECT_TRUE(kill());
    m_expectedMessages = {"runs INFO 36-555(4711)", "runs INFO 36-556(" + runDir() + "/runme.sh)",
                          "runs INFO 36-557(4711)"};
}

}  // namespace
