// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPUtilsBase.h"

#include <ostream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/FakeClock.h"
#include "tests/support/FakeEnvironment.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/support/TestParam.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr char kTestFile[] = "lsf_config_test.txt";

TEST(ClusterDefaultTest, GivesTheCommandsOfAnLsfCluster) {
    std::string command = "old";
    HAXPUtilsBase::getDefaultLSFCmd(command);
    EXPECT_EQ(command, "bsub -R select[type=X86_64] -N -q medium");
    HAXPUtilsBase::getDefaultClusterKillCmd(command);
    EXPECT_EQ(command, "bkill -J");
}

TEST(TemplatizedFlowTest, FollowsItsParameter) {
    EXPECT_FALSE(HAXPUtilsBase::isTemplatizedFlowEnabled());
    {
        const test::TestParam on("runs.enableTemplatizedFlow", true);
        EXPECT_TRUE(HAXPUtilsBase::isTemplatizedFlowEnabled());
    }
    const test::TestParam off("runs.enableTemplatizedFlow", false);
    EXPECT_FALSE(HAXPUtilsBase::isTemplatizedFlowEnabled());
}

/// Submit programs in "bin", the only folder of the path, and a clock that doesn't wait.
/// No message is expected, and no error when a test begins.
class ClusterCommandTest : public ::testing::Test {
protected:
    ClusterCommandTest() {
        m_dir.folder("bin");
        m_dir.folder("project");
        m_variables.set("PATH", m_dir.path("bin"));
    }
    void TearDown() override { EXPECT_THAT(m_messages.summaries(), IsEmpty()); }

    void program(const std::string& name, const std::string& content) const {
        m_dir.mark("bin/" + name, content);
        ASSERT_EQ(::chmod(m_dir.path("bin/" + name).c_str(), 0755), 0);
    }
    /// A program that can be found but not started: a message tells who tries.
    void unstartable(const std::string& name) const { program(name, "no program"); }

    bool validLsf(const std::string& command, const std::string& dir = "") {
        return HAXPUtilsBase::validateLSF(command, m_errors, dir);
    }
    bool validSge(const std::string& command, const std::string& dir = "") {
        return HAXPUtilsBase::validateSGE(command, m_errors, dir);
    }
    void expectError(const std::string& text) {
        EXPECT_THAT(m_errors, ElementsAre(text));
        m_errors.clear();
    }
    std::string testFile() const { return std::string("project/") + kTestFile; }

    test::RunDir m_dir;
    test::FakeEnvironment m_variables;
    test::FakeClock m_clock;
    test::MessageRecorder m_messages;
    HSTVector<std::string> m_errors;
};

constexpr char kInteractive[] =
    "Interactive mode switches -I,-Ip,-Is,-IS,-ISp,-IX cannot be used when launching runs with "
    "LSF.";

std::string notFound(const std::string& name, const std::string& expected) {
    return name + " could not be found. Please make sure '" + expected +
           "' is in path or provide the correct full path.";
}

// --- LSF ----------------------------------------------------------------------------

TEST_F(ClusterCommandTest, TakesTheDefaultLsfCommandAndStartsNothing) {
    unstartable("bsub");
    std::string command;
    HAXPUtilsBase::getDefaultLSFCmd(command);
    EXPECT_TRUE(validLsf(command));
    EXPECT_THAT(m_errors, IsEmpty());
    EXPECT_THAT(m_clock.sleeps(), IsEmpty());
}

TEST_F(ClusterCommandTest, TakesAnyLsfProgramThatCanBeFound) {
    unstartable("my_submit");
    EXPECT_TRUE(validLsf("my_submit -q medium"));
    EXPECT_TRUE(validLsf("  my_submit  "));
    EXPECT_TRUE(validLsf(m_dir.path("bin/my_submit") + " -q medium"));
    EXPECT_THAT(m_errors, IsEmpty());
}

TEST_F(ClusterCommandTest, RefusesAnLsfProgramThatCantBeFound) {
    EXPECT_FALSE(validLsf("bsub -q medium"));
    expectError(notFound("bsub", "bsub"));
    EXPECT_FALSE(validLsf("/no/such/submit -I", m_dir.path("project")));
    expectError(notFound("/no/such/submit", "bsub"));
    EXPECT_THAT(m_clock.sleeps(), IsEmpty());
}

TEST_F(ClusterCommandTest, RefusesAnLsfCommandWithoutAProgram) {
    unstartable("bsub");
    for (const char* command : {"", " ", "    "}) {
        EXPECT_FALSE(validLsf(command));
        expectError(notFound("", "bsub"));
    }
}

TEST_F(ClusterCommandTest, TakesWordsApartAtBlanksAlone) {
    unstartable("bsub");
    EXPECT_FALSE(validLsf("bsub\t-q medium"));
    expectError(notFound("bsub\t-q", "bsub"));
    EXPECT_TRUE(validLsf("bsub -q\t-I"));
}

class InteractiveSwitchTest : public ClusterCommandTest,
                              public ::testing::WithParamInterface<const char*> {};

TEST_P(InteractiveSwitchTest, IsRefusedWhereverItStands) {
    unstartable("bsub");
    const std::string word = GetParam();
    for (const std::string& command :
         {"bsub " + word, "bsub -q medium " + word, "bsub -J " + word + " -q medium",
          "bsub  " + word + "  -Is"}) {
        EXPECT_FALSE(validLsf(command, m_dir.path("project"))) << command;
        expectError(kInteractive);
    }
    EXPECT_THAT(m_clock.sleeps(), IsEmpty());
}

TEST_P(InteractiveSwitchTest, IsKnownAsAWholeWordAlone) {
    unstartable("bsub");
    const std::string word = GetParam();
    for (const std::string& near : {word + "xyz", "-" + word, "'" + word + "'", word.substr(1)})
        EXPECT_TRUE(validLsf("bsub " + near)) << near;
}

INSTANTIATE_TEST_SUITE_P(Each, InteractiveSwitchTest,
                         ::testing::Values("-I", "-Ip", "-Is", "-IS", "-ISp", "-IX"));

TEST_F(ClusterCommandTest, TakesSwitchesThatOnlyLookInteractive) {
    unstartable("bsub");
    for (const char* word : {"-i", "-Ixyz", "-IP", "-Ix", "-ISP", "-ip"})
        EXPECT_TRUE(validLsf(std::string("bsub ") + word)) << word;
}

TEST_F(ClusterCommandTest, KeepsErrorsThatWereThereBefore) {
    m_errors.emplace_back("before");
    EXPECT_FALSE(validLsf("bsub"));
    EXPECT_FALSE(validSge("qsub"));
    EXPECT_THAT(m_errors,
                ElementsAre("before", notFound("bsub", "bsub"), notFound("qsub", "qsub")));
}

// --- the test job of an LSF cluster -------------------------------------------------

TEST_F(ClusterCommandTest, JudgesByTheCommandAndNotByEarlierErrors) {
    unstartable("bsub");
    unstartable("qsub");
    m_errors.emplace_back("before");
    EXPECT_TRUE(validLsf("bsub"));
    EXPECT_TRUE(validSge("qsub"));
    EXPECT_THAT(m_errors, ElementsAre("before"));
}

/// A program "bsub" that says through a pipe when it has done its work.
class LsfTestJobTest : public ClusterCommandTest {
protected:
    LsfTestJobTest() {
        EXPECT_EQ(::mkfifo(m_dir.path("said").c_str(), 0600), 0);
        // Open both ways: whoever writes doesn't wait for a reader.
        m_pipe = ::open(m_dir.path("said").c_str(), O_RDWR | O_CLOEXEC);
        EXPECT_GE(m_pipe, 0);
    }
    void TearDown() override {
        ::close(m_pipe);
        ClusterCommandTest::TearDown();
    }

    void bsub(const std::string& work) const {
        program("bsub", "#!/bin/sh\n" + work + "\necho done > '" + m_dir.path("said") + "'\n");
    }
    /// A "bsub" that keeps its words and touches the file as a cluster would.
    void touchingBsub() const {
        bsub("printf '<%s>' \"$@\" > '" + m_dir.path("words") +
             "'\nfor file; do :; done\n: > \"$file\"");
    }
    void awaitJob() const {
        char byte = 0;
        do
            ASSERT_EQ(::read(m_pipe, &byte, 1), 1);
        while (byte != '\n');
    }
    bool check() { return validLsf("bsub -q medium", m_dir.path("project")); }
    std::string noAccess() const {
        return "bsub could not access " + m_dir.path("project") +
               ". Please make sure project directory is accessible to LSF.";
    }

private:
    int m_pipe = -1;
};

TEST_F(LsfTestJobTest, TouchesAFileThroughTheCommand) {
    touchingBsub();
    const std::string file = m_dir.path("project/a b");
    HAXPUtilsBase::touchFileWithLSF("bsub -R 'x y' -N", file);
    awaitJob();
    EXPECT_EQ(m_dir.read("words"), "<-R><x y><-N><touch><" + file + ">");
    EXPECT_TRUE(m_dir.has("project/a b"));
    EXPECT_THAT(m_clock.sleeps(), IsEmpty());
}

TEST_F(LsfTestJobTest, RunsTheCommandApartFromTheCaller) {
    bsub("read -r all </proc/$$/stat\nset -- $all\necho \"$1 $5 $6\" > '" + m_dir.path("words") +
         "'");
    HAXPUtilsBase::touchFileWithLSF("bsub", m_dir.path("file"));
    awaitJob();
    const std::string line = m_dir.read("words");
    const std::string pid = line.substr(0, line.find(' '));
    EXPECT_EQ(line, pid + " " + pid + " " + pid + "\n") << "with group and session of its own";
}

TEST_F(LsfTestJobTest, DropsWhatTheCommandPrints) {
    bsub("echo out\necho err >&2");
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    HAXPUtilsBase::touchFileWithLSF("bsub", m_dir.path("file"));
    awaitJob();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(LsfTestJobTest, DoesntWaitForTheCommand) {
    program("bsub", "#!/bin/sh\nread -r go < '" + m_dir.path("go") + "'\necho done > '" +
                        m_dir.path("said") + "'\n");
    ASSERT_EQ(::mkfifo(m_dir.path("go").c_str(), 0600), 0);
    HAXPUtilsBase::touchFileWithLSF("bsub", m_dir.path("file"));
    const int go = ::open(m_dir.path("go").c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(go, 0);
    EXPECT_EQ(::write(go, "\n", 1), 1);
    ::close(go);
    awaitJob();
}

TEST_F(LsfTestJobTest, TellsOfACommandThatCantBeStarted) {
    unstartable("bsub");
    HAXPUtilsBase::touchFileWithLSF("bsub -q medium", m_dir.path("file"));
    EXPECT_THAT(m_messages.summaries(), ElementsAre("runs WARNING 36-343(bsub -q medium)"));
    m_messages.clear();
    HAXPUtilsBase::touchFileWithLSF("", m_dir.path("file"));
    EXPECT_THAT(m_messages.summaries(), ElementsAre("runs WARNING 36-343()"));
    m_messages.clear();
}

TEST_F(LsfTestJobTest, ShowsThatTheClusterSeesTheDirectory) {
    touchingBsub();
    bool waited = false;
    m_clock.onSleep([&] {
        if (!waited)
            awaitJob();
        waited = true;
    });
    EXPECT_TRUE(check());
    if (!waited)
        awaitJob();
    EXPECT_THAT(m_errors, IsEmpty());
    EXPECT_FALSE(m_dir.has(testFile()));
    EXPECT_EQ(m_dir.read("words"), "<-q><medium><touch><" + m_dir.path(testFile()) + ">");
}

TEST_F(LsfTestJobTest, MayTakeItsTime) {
    bsub(":");
    m_clock.onSleep([this] {
        if (m_clock.sleeps().size() == 30)
            m_dir.mark(testFile());
    });
    EXPECT_TRUE(check());
    awaitJob();
    EXPECT_THAT(m_errors, IsEmpty());
    EXPECT_THAT(m_clock.sleeps(), SizeIs(30));
    EXPECT_FALSE(m_dir.has(testFile()));
}

TEST_F(LsfTestJobTest, IsGivenUpAfterTwoMinutes) {
    bsub(":");
    EXPECT_FALSE(check());
    awaitJob();
    expectError(noAccess());
    EXPECT_THAT(m_clock.sleeps(), SizeIs(120));
    EXPECT_THAT(m_clock.sleeps(), Each(1000));
}

TEST_F(LsfTestJobTest, IsLookedForAHundredAndTwentyTimes) {
    bsub(":");
    std::size_t comesAt = 119;
    m_clock.onSleep([&] {
        if (m_clock.sleeps().size() == comesAt)
            m_dir.mark(testFile());
    });
    EXPECT_TRUE(check());
    awaitJob();
    comesAt = 119 + 120;
    EXPECT_FALSE(check());
    awaitJob();
    expectError(noAccess());
    EXPECT_TRUE(m_dir.has(testFile())) << "it came in the last wait, and nobody looked again";
}

TEST_F(LsfTestJobTest, IsNotTakenForAnEarlierOne) {
    bsub(":");
    m_dir.mark(testFile());
    EXPECT_FALSE(check());
    awaitJob();
    expectError(noAccess());
    EXPECT_FALSE(m_dir.has(testFile()));
}

TEST_F(LsfTestJobTest, IsWaitedForThoughItCouldntBeStarted) {
    unstartable("bsub");
    EXPECT_FALSE(check());
    expectError(noAccess());
    EXPECT_THAT(m_clock.sleeps(), SizeIs(120));
    EXPECT_THAT(m_messages.summaries(), ElementsAre("runs WARNING 36-343(bsub -q medium)"));
    m_messages.clear();
}

// --- SGE ----------------------------------------------------------------------------

TEST_F(ClusterCommandTest, TakesAnSgeCommandAndStartsNothing) {
    unstartable("qsub");
    EXPECT_TRUE(validSge("qsub -q all.q"));
    EXPECT_TRUE(validSge("  qsub"));
    EXPECT_TRUE(validSge("qsub -now yes -I", "/no/such/folder"));
    EXPECT_THAT(m_errors, IsEmpty());
    EXPECT_THAT(m_clock.sleeps(), IsEmpty());
}

TEST_F(ClusterCommandTest, TakesTheSgeProgramOfWindows) {
    unstartable("qsub.exe");
    EXPECT_TRUE(validSge("qsub.exe -q all.q"));
    EXPECT_THAT(m_errors, IsEmpty());
}

TEST_F(ClusterCommandTest, RefusesAnSgeProgramThatCantBeFound) {
    EXPECT_FALSE(validSge("qsub -q all.q"));
    expectError(notFound("qsub", "qsub"));
    EXPECT_FALSE(validSge("qsub.exe"));
    expectError(notFound("qsub.exe", "qsub"));
}

class SgeProgramTest : public ClusterCommandTest,
                       public ::testing::WithParamInterface<const char*> {};

TEST_P(SgeProgramTest, IsRefusedByItsName) {
    unstartable("qsub");
    unstartable("bsub");
    unstartable("QSUB");
    const std::string name = GetParam();
    EXPECT_FALSE(validSge(name + " -q all.q"));
    expectError(name + " is not a valid SGE executable. 'qsub' is the only SGE executable "
                       "supported by launch_runs");
}

INSTANTIATE_TEST_SUITE_P(Each, SgeProgramTest,
                         ::testing::Values("bsub", "QSUB", "qsub2", "/opt/sge/bin/qsub", "./qsub",
                                           "qsub.EXE", "'qsub'"));

TEST_F(ClusterCommandTest, RefusesAnSgeProgramWithItsPath) {
    unstartable("qsub");
    const std::string path = m_dir.path("bin/qsub");
    EXPECT_FALSE(validSge(path));
    expectError(path + " is not a valid SGE executable. 'qsub' is the only SGE executable "
                       "supported by launch_runs");
}

TEST_F(ClusterCommandTest, RefusesAnSgeCommandWithoutAProgram) {
    for (const char* command : {"", "   "}) {
        EXPECT_FALSE(validSge(command));
        expectError(" is not a valid SGE executable. 'qsub' is the only SGE executable supported "
                    "by launch_runs");
    }
}

}  // namespace
