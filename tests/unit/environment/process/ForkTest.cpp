// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/HUTFork.h"

#include <csignal>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/process/HUTSysCall.h"
#include "environment/process/processTable.h"
#include "tests/support/FakeEnvironment.h"
#include "tests/support/RunDir.h"

namespace {

/// Scripts in a folder of their own, started with output in "out".
class ForkTest : public ::testing::Test {
protected:
    std::string script(const std::string& name, const std::string& body) const {
        m_dir.mark(name, "#!/bin/sh\n" + body + "\n");
        EXPECT_EQ(::chmod(m_dir.path(name).c_str(), 0755), 0);
        return m_dir.path(name);
    }

    /// Runs a script and waits for it.
    int run(const std::string& body, const std::vector<std::string>& args = {}) {
        m_fork.setCmdLine(script("script", body), false);
        for (const std::string& arg : args)
            m_fork.addArg(arg);
        m_fork.setOutputFile(m_dir.path("out"), false);
        return m_fork.launch(true, false, false, true);
    }

    int awaitEnd() {
        int status = -2;
        while (!m_fork.hasEnded(status))
            HUTSysCall::msSleep(1);
        return status;
    }

    std::string out() const { return m_dir.read("out"); }

    test::RunDir m_dir;
    HUTFork m_fork;
};

TEST_F(ForkTest, GivesTheExitStatusWhenItWaits) {
    EXPECT_EQ(run("exit 0"), 0);
    EXPECT_EQ(run("exit 7"), 7);
    EXPECT_EQ(m_fork.getError(), "");
}

TEST_F(ForkTest, GivesTheSignalAsAShellDoes) {
    EXPECT_EQ(run("kill -KILL $$"), 128 + SIGKILL);
}

TEST_F(ForkTest, PassesWordsOnAsTheyAre) {
    EXPECT_EQ(run("printf '<%s>' \"$@\"", {"a b", "", "$HOME", "it's", "\"", "*", "x\ny"}), 0);
    EXPECT_EQ(out(), "<a b><><$HOME><it's><\"><*><x\ny>");
}

TEST_F(ForkTest, TakesALineApartOnlyWhenTold) {
    m_fork.setCmdLine("printf '%s-' \"a b\" c", true);
    m_fork.setOutputFile(m_dir.path("out"), false);
    EXPECT_EQ(m_fork.launch(true, false, true, true), 0);
    EXPECT_EQ(out(), "a b-c-");
    m_fork.setCmdLine(script("a b", "echo whole"), false);
    EXPECT_EQ(m_fork.launch(true, false, false, true), 0);
    EXPECT_EQ(out(), "whole\n");
}

TEST_F(ForkTest, DropsWordsOfAnEarlierCommand) {
    m_fork.setCmdLine("echo old", true);
    m_fork.addArg("arg");
    m_fork.setCmdLine("echo new", true);
    std::string line;
    m_fork.getCmdLineAsStr(line);
    EXPECT_EQ(line, "echo new");
}

TEST_F(ForkTest, ShowsItsCommand) {
    m_fork.setCmdLine("bkill -J", true);
    m_fork.addArg("/a b/runme.sh");
    std::string line;
    m_fork.getCmdLineAsStr(line);
    EXPECT_EQ(line, "bkill -J '/a b/runme.sh'");
}

TEST_F(ForkTest, DoesNotStartWithoutACommand) {
    EXPECT_EQ(m_fork.launch(true, false, true, true), -1);
    EXPECT_EQ(m_fork.getError(), "No command was given");
    m_fork.setCmdLine("", true);
    EXPECT_EQ(m_fork.launch(false, true, true, true), -1);
}

TEST_F(ForkTest, DoesNotStartAProgramThatIsMissing) {
    const std::string program = m_dir.path("missing");
    m_fork.setCmdLine(program, false);
    EXPECT_EQ(m_fork.launch(true, false, true, true), -1);
    EXPECT_EQ(m_fork.getError(), program + ": No such file or directory");
    EXPECT_EQ(m_fork.launch(true, false, false, true), -1);
    EXPECT_EQ(m_fork.launch(false, false, false, true), -1);
    EXPECT_EQ(m_fork.getError(), program + ": No such file or directory");
}

TEST_F(ForkTest, TellsThatAProgramCanNotBeExecutedAlsoWithoutWaiting) {
    m_dir.mark("text", "no program");
    m_fork.setCmdLine(m_dir.path("text"), false);
    EXPECT_EQ(m_fork.launch(false, true, false, true), -1);
    EXPECT_EQ(m_fork.getError(), m_dir.path("text") + ": Permission denied");
    ASSERT_EQ(::chmod(m_dir.path("text").c_str(), 0755), 0);
    EXPECT_EQ(m_fork.launch(false, true, false, true), -1);
    EXPECT_EQ(m_fork.getError(), m_dir.path("text") + ": Exec format error");
}

TEST_F(ForkTest, ForgetsTheErrorOfAnEarlierLaunch) {
    EXPECT_EQ(m_fork.launch(true, false, true, true), -1);
    EXPECT_EQ(run("exit 0"), 0);
    EXPECT_EQ(m_fork.getError(), "");
}

TEST_F(ForkTest, GivesThePidWhenItDoesNotWait) {
    m_fork.setCmdLine(script("script", "echo $$; exit 3"), false);
    m_fork.setOutputFile(m_dir.path("out"), false);
    const int pid = m_fork.launch(false, false, false, true);
    ASSERT_GT(pid, 0);
    EXPECT_EQ(awaitEnd(), 3);
    EXPECT_EQ(out(), std::to_string(pid) + "\n");
    int status = -2;
    EXPECT_TRUE(m_fork.hasEnded(status));
    EXPECT_EQ(status, 3);
}

TEST_F(ForkTest, HasNotEndedWhileItRuns) {
    m_fork.setCmdLine("sleep 1000", true);
    const int pid = m_fork.launch(false, true, true, true);
    ASSERT_GT(pid, 0);
    int status = -2;
    EXPECT_FALSE(m_fork.hasEnded(status));
    EXPECT_EQ(status, -2);
    ASSERT_EQ(::kill(pid, SIGTERM), 0);
    EXPECT_EQ(awaitEnd(), 128 + SIGTERM);
}

TEST_F(ForkTest, WasNeverStartedAndHasNotEnded) {
    int status = -2;
    EXPECT_FALSE(m_fork.hasEnded(status));
}

TEST_F(ForkTest, DetachesIntoAGroupAndSessionOfItsOwn) {
    m_fork.setCmdLine("sleep 1000", true);
    const int pid = m_fork.launch(false, true, true, true);
    ASSERT_GT(pid, 0);
    EXPECT_EQ(::getpgid(pid), pid);
    EXPECT_EQ(::getsid(pid), pid);
    ::kill(pid, SIGKILL);
    awaitEnd();
}

TEST_F(ForkTest, StaysInTheCallersGroupOtherwise) {
    m_fork.setCmdLine("sleep 1000", true);
    const int pid = m_fork.launch(false, false, true, true);
    ASSERT_GT(pid, 0);
    EXPECT_EQ(::getpgid(pid), ::getpgrp());
    ::kill(pid, SIGKILL);
    awaitEnd();
}

TEST_F(ForkTest, ReadsNothing) {
    EXPECT_EQ(run("cat; echo end"), 0);
    EXPECT_EQ(out(), "end\n");
}

TEST_F(ForkTest, WritesOutputAndErrorsToTheFile) {
    EXPECT_EQ(run("echo one; echo two >&2; echo three"), 0);
    EXPECT_EQ(out(), "one\ntwo\nthree\n");
    EXPECT_EQ(run("echo again"), 0);
    EXPECT_EQ(out(), "again\n");
    m_fork.setOutputFile(m_dir.path("out"), true);
    EXPECT_EQ(m_fork.launch(true, false, false, true), 0);
    EXPECT_EQ(out(), "again\nagain\n");
}

TEST_F(ForkTest, DoesNotStartWithoutTheFileForItsOutput) {
    m_fork.setCmdLine("true", true);
    m_fork.setOutputFile(m_dir.path("missing/out"), false);
    EXPECT_EQ(m_fork.launch(true, false, true, true), -1);
    EXPECT_EQ(m_fork.getError(), m_dir.path("missing/out") + ": No such file or directory");
}

/// What `launch` writes to this program's own output.
std::string captured(HUTFork& fork, bool quiet) {
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(fork.launch(true, false, true, quiet), 0);
    return ::testing::internal::GetCapturedStdout();
}

TEST_F(ForkTest, IsHeardUnlessItIsToBeQuiet) {
    m_fork.setCmdLine("echo heard", true);
    EXPECT_EQ(captured(m_fork, false), "heard\n");
    EXPECT_EQ(captured(m_fork, true), "");
}

TEST_F(ForkTest, StartsInTheFolderThatItIsGiven) {
    m_dir.folder("a b");
    m_fork.setWorkingDir(m_dir.path("a b"));
    EXPECT_EQ(run("pwd"), 0);
    EXPECT_EQ(out(), m_dir.path("a b") + "\n");
    m_fork.setWorkingDir(m_dir.path("missing"));
    EXPECT_EQ(m_fork.launch(true, false, false, true), -1);
    EXPECT_EQ(m_fork.getError(), m_dir.path("missing") + ": Not a directory");
}

TEST_F(ForkTest, TakesAProgramRelativeToItsFolder) {
    script("script", "echo here");
    m_fork.setCmdLine("./script", true);
    m_fork.setWorkingDir(m_dir.path());
    m_fork.setOutputFile(m_dir.path("out"), false);
    EXPECT_EQ(m_fork.launch(true, false, false, true), 0);
    EXPECT_EQ(out(), "here\n");
}

TEST_F(ForkTest, AddsVariablesAndReplacesInheritedOnes) {
    m_fork.setEnvVar("HOME", "old");
    m_fork.setEnvVar("HOME", "new home");
    m_fork.setEnvVar("XP_ADDED", "a=b");
    EXPECT_EQ(run("echo \"$HOME $XP_ADDED\"; test -n \"$PATH\"; env | grep -c ^HOME="), 0);
    EXPECT_EQ(out(), "new home a=b\n1\n");
}

TEST_F(ForkTest, KeepsOpenFilesOfTheCallerFromTheProcess) {
    constexpr int kUnusedByShells = 300;
    const int open = ::fcntl(STDERR_FILENO, F_DUPFD, kUnusedByShells);
    ASSERT_GE(open, kUnusedByShells);
    EXPECT_EQ(run("test -e /proc/$$/fd/" + std::to_string(open) + " || echo closed"), 0);
    ::close(open);
    EXPECT_EQ(out(), "closed\n");
}

TEST_F(ForkTest, HandlesSignalsInTheDefaultWay) {
    const auto before = ::signal(SIGTERM, SIG_IGN);
    const int status = run("kill -TERM $$; echo survived");
    ::signal(SIGTERM, before);
    EXPECT_EQ(status, 128 + SIGTERM);
}

TEST_F(ForkTest, LeavesOtherChildrenOfTheProgramAlone) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        ::_exit(9);
    EXPECT_EQ(run("exit 0"), 0);
    {
        HUTFork other;
        other.setCmdLine("true", true);
        EXPECT_GT(other.launch(false, false, true, true), 0);
    }
    EXPECT_EQ(run("exit 0"), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 9);
}

TEST_F(ForkTest, CollectsTheRemainsOfProcessesThatNobodyAskedFor) {
    int pid = 0;
    {
        HUTFork other;
        other.setCmdLine("true", true);
        pid = other.launch(false, false, true, true);
        ASSERT_GT(pid, 0);
    }
    process::Entry entry;
    while (process::processTable().look(pid, entry))
        EXPECT_EQ(run("exit 0"), 0);
}

/// Programs are looked for in "bin" and in the current folder.
class FindInPathTest : public ForkTest {
protected:
    FindInPathTest() {
        m_dir.folder("bin");
        m_dir.folder("empty");
        script("bin/tool", "echo found");
        m_variables.set("PATH", m_dir.path("empty") + ":" + m_dir.path("bin"));
    }

    test::FakeEnvironment m_variables;
    std::string m_found = "left";
};

TEST_F(FindInPathTest, GivesTheFirstThatCanBeExecuted) {
    m_dir.mark("empty/tool", "no program");
    EXPECT_TRUE(HUTFork::findInPath("tool", m_found));
    EXPECT_EQ(m_found, m_dir.path("bin/tool"));
    EXPECT_TRUE(HUTFork::isInPath("tool"));
}

TEST_F(FindInPathTest, PassesOverFolders) {
    m_dir.folder("empty/tool");
    EXPECT_TRUE(HUTFork::findInPath("tool", m_found));
    EXPECT_EQ(m_found, m_dir.path("bin/tool"));
}

TEST_F(FindInPathTest, LeavesThePathAloneWhenThereIsNone) {
    EXPECT_FALSE(HUTFork::findInPath("missing", m_found));
    EXPECT_FALSE(HUTFork::findInPath("", m_found));
    EXPECT_EQ(m_found, "left");
    EXPECT_FALSE(HUTFork::isInPath("missing"));
    EXPECT_FALSE(HUTFork::isInPath(""));
}

TEST_F(FindInPathTest, LooksAtANameWithASeparatorAsItStands) {
    EXPECT_TRUE(HUTFork::findInPath(m_dir.path("bin/tool"), m_found));
    EXPECT_EQ(m_found, m_dir.path("bin/tool"));
    EXPECT_FALSE(HUTFork::findInPath("bin/tool", m_found));
}

TEST_F(FindInPathTest, TakesAnEmptyFolderAsTheCurrentOne) {
    std::vector<char> here(4096);
    ASSERT_NE(::getcwd(here.data(), here.size()), nullptr);
    ASSERT_EQ(::chdir(m_dir.path("bin").c_str()), 0);
    m_variables.set("PATH", m_dir.path("empty") + ":");
    EXPECT_TRUE(HUTFork::findInPath("tool", m_found));
    EXPECT_EQ(m_found, m_dir.path("bin/tool"));
    ASSERT_EQ(::chdir(here.data()), 0);
}

TEST_F(FindInPathTest, IsUsedByALaunchThatIsTold) {
    m_fork.setCmdLine("tool", true);
    m_fork.setOutputFile(m_dir.path("out"), false);
    EXPECT_EQ(m_fork.launch(true, false, true, true), 0);
    EXPECT_EQ(out(), "found\n");
    EXPECT_EQ(m_fork.launch(true, false, false, true), -1);
}

TEST_F(FindInPathTest, KnowsProgramsByTheirMode) {
    EXPECT_TRUE(HUTFork::progExists(m_dir.path("bin/tool")));
    m_dir.mark("text");
    EXPECT_FALSE(HUTFork::progExists(m_dir.path("text")));
    EXPECT_FALSE(HUTFork::progExists(m_dir.path("bin")));
    EXPECT_FALSE(HUTFork::progExists(m_dir.path("missing")));
    EXPECT_FALSE(HUTFork::progExists(""));
}

}  // namespace
