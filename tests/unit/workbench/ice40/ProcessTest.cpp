// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/process.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/RunDir.h"
#include "tests/unit/workbench/ice40/reportData.h"
#include "workbench/ice40/stepFailure.h"

using namespace ice40;

namespace {

using Lines = std::vector<std::string>;

/// Runs small scripts in a folder of their own, with PATH as it was.
class ProcessTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* path = std::getenv("PATH");
        m_path = path != nullptr ? path : "";
    }
    void TearDown() override { ::setenv("PATH", m_path.c_str(), 1); }

    ToolEnd shell(const std::string& script) {
        ToolCommand command;
        command.words = {"/bin/sh", "-c", script};
        command.files = m_files;
        return runTool(
            command, [this](const std::string& line) { m_output.push_back(line); },
            [this](const std::string& line) { m_errors.push_back(line); });
    }

    test::RunDir m_dir;
    Lines m_output;
    Lines m_errors;
    Lines m_files;
    std::string m_path;
};

TEST_F(ProcessTest, HandsOnBothStreamsLineByLine) {
    EXPECT_TRUE(shell("echo one; echo; echo bad >&2; printf two").good());
    EXPECT_EQ(m_output, (Lines{"one", "", "two"}));
    EXPECT_EQ(m_errors, (Lines{"bad"}));
}

TEST_F(ProcessTest, EndsALineAtACarriageReturnToo) {
    shell("printf '10%%\\r20%%\\r\\nend\\r\\n'");
    EXPECT_EQ(m_output, (Lines{"10%", "20%", "end"}));
}

TEST_F(ProcessTest, GivesTheExitStatus) {
    const ToolEnd end = shell("exit 7");
    EXPECT_FALSE(end.good());
    EXPECT_EQ(end.shown(), "ended with status 7");
}

TEST_F(ProcessTest, GivesTheSignal) {
    const ToolEnd end = shell("kill -KILL $$");
    EXPECT_FALSE(end.good());
    EXPECT_EQ(end.shown(), "was killed by signal 9");
}

TEST_F(ProcessTest, GivesTheToolAnEmptyInput) {
    EXPECT_TRUE(shell("cat").good());
    EXPECT_EQ(m_output, Lines());
}

TEST_F(ProcessTest, OpensFilesForTheTool) {
    m_files = {m_dir.path("a"), m_dir.path("b")};
    shell("echo first >/dev/fd/10; echo second >/dev/fd/11");
    EXPECT_EQ(m_dir.read("a"), "first\n");
    EXPECT_EQ(m_dir.read("b"), "second\n");
}

TEST_F(ProcessTest, GivesTheToolNoOtherDescriptor) {
    shell("ls /proc/$$/fd | sort -n | tr '\\n' ' '; echo");
    ASSERT_EQ(m_output.size(), 1u);
    EXPECT_EQ(m_output[0].find("64"), std::string::npos) << m_output[0];
}

TEST_F(ProcessTest, PassesWordsWithoutAShell) {
    ToolCommand command;
    command.words = {"/bin/echo", "a b", "$HOME", "'\"", "*"};
    runTool(
        command, [this](const std::string& line) { m_output.push_back(line); },
        [](const std::string&) {});
    EXPECT_EQ(m_output, (Lines{"a b $HOME '\" *"}));
    EXPECT_EQ(command.shown(), "/bin/echo 'a b' '$HOME' ''\"' '*'");
}

TEST_F(ProcessTest, NamesThePackageOfAMissingTool) {
    ::setenv("PATH", m_dir.path().c_str(), 1);
    ToolCommand command;
    for (const std::string tool : {"yosys", "nextpnr-ice40"}) {
        command.words = {tool};
        EXPECT_EQ(test::failureOf<StepFailure>([&] { runTool(command, {}, {}); }),
                  tool + " not found in PATH. Install package " + tool +
                      ", for example with 'sudo apt-get install " + tool +
                      "', or add its folder to PATH.");
    }
    command.words = {"icepack"};
    EXPECT_EQ(test::failureOf<StepFailure>([&] { runTool(command, {}, {}); }),
              "icepack not found in PATH. Install package fpga-icestorm, for example with 'sudo "
              "apt-get install fpga-icestorm', or add its folder to PATH.");
}

TEST_F(ProcessTest, MissesAToolWithItsOwnExitStatus) {
    ::setenv("PATH", "", 1);
    ToolCommand command;
    command.words = {"yosys"};
    try {
        runTool(command, {}, {});
        FAIL() << "nothing was thrown";
    } catch (const StepFailure& failure) {
        EXPECT_EQ(failure.status(), kExitNotInstalled);
    }
}

TEST_F(ProcessTest, FindsAProgramInTheFirstFolderThatHasIt) {
    m_dir.folder("one");
    m_dir.folder("two");
    m_dir.mark("one/tool", "");
    m_dir.mark("two/tool", "#!/bin/sh\n");
    ::chmod(m_dir.path("two/tool").c_str(), 0755);
    ::setenv("PATH", (m_dir.path("one") + ":" + m_dir.path("two")).c_str(), 1);
    EXPECT_EQ(findInPath("tool"), m_dir.path("two/tool"));
    EXPECT_EQ(findInPath("other"), "");
    EXPECT_EQ(findInPath(m_dir.path("two/tool")), m_dir.path("two/tool"));
    ::unsetenv("PATH");
    EXPECT_EQ(findInPath("tool"), "");
}

TEST_F(ProcessTest, HandsOnAVeryLongLineInPieces) {
    shell("head -c 2500000 /dev/zero | tr '\\0' x");
    std::size_t sum = 0;
    for (const std::string& line : m_output)
        sum += line.size();
    EXPECT_EQ(sum, 2500000u);
    EXPECT_EQ(m_output.size(), 3u);
}

}  // namespace
