// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/jobArray.h"

#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "environment/errors/HEXUserException.h"
#include "environment/process/HUTFork.h"
#include "tests/support/RunDir.h"

namespace {

/// Two runs, in folders that a shell must not take apart.
class JobArrayTest : public ::testing::Test {
protected:
    JobArrayTest() {
        for (const char* run : {"a", "it's $b"}) {
            m_dir.folder(run);
            m_dir.mark(std::string(run) + "/runme.sh",
                       "echo \"$XPERIMENT_LAUNCH $PWD $*\" >\"$0.out\"\necho said\n");
        }
    }

    /// Starts the array's script as its task of that number; gives its status.
    int start(const std::string& task) {
        m_dir.mark("array.sh",
                   cluster::arrayScript(
                       {{1, m_dir.path("a"), "id-a"}, {3, m_dir.path("it's $b"), "id-b"}}, "TASK"));
        HUTFork shell;
        for (const std::string& word :
             {std::string("env"), "TASK=" + task, std::string("XPERIMENT_LAUNCH=other"),
              std::string("sh"), m_dir.path("array.sh")})
            shell.addArg(word);
        return shell.launch(true, false, true, true);
    }

    test::RunDir m_dir;
};

TEST_F(JobArrayTest, EachTaskBecomesTheScriptOfItsRunWithItsIdentity) {
    EXPECT_EQ(start("1"), 0);
    EXPECT_EQ(m_dir.read("a/runme.sh.out"), "id-a " + m_dir.path("a") + " \n");
    EXPECT_EQ(m_dir.read("a/runme.log"), "said\n");
    EXPECT_FALSE(m_dir.has("it's $b/runme.sh.out"));
    EXPECT_EQ(start("3"), 0);
    EXPECT_EQ(m_dir.read("it's $b/runme.sh.out"), "id-b " + m_dir.path("it's $b") + " \n");
}

TEST_F(JobArrayTest, ANumberOfNobodyDoesNothing) {
    for (const char* task : {"2", "4", "", "undefined", "1; true"}) {
        EXPECT_EQ(start(task), 0) << task;
        EXPECT_FALSE(m_dir.has("a/runme.log")) << task;
    }
}

TEST_F(JobArrayTest, ATaskOfARunThatWasResetLeavesNothingBehind) {
    m_dir.unmark("a/runme.sh");
    EXPECT_EQ(start("1"), 0);
    EXPECT_FALSE(m_dir.has("a/runme.log"));
}

TEST_F(JobArrayTest, ItsScriptCanBeStartedByItself) {
    const std::string path = cluster::writeArrayScript(m_dir.path(), "xp_a", "#!/bin/sh\n");
    EXPECT_EQ(path, m_dir.path(".xperiment/arrays/xp_a.sh"));
    EXPECT_EQ(access(path.c_str(), X_OK), 0);
    EXPECT_EQ(m_dir.read(".xperiment/arrays/xp_a.sh"), "#!/bin/sh\n");
}

TEST_F(JobArrayTest, ItsScriptIsWrittenThroughNoLink) {
    m_dir.folder(".xperiment");
    m_dir.folder("outside");
    ASSERT_EQ(symlink(m_dir.path("outside").c_str(), m_dir.path(".xperiment/arrays").c_str()), 0);
    EXPECT_THROW(cluster::writeArrayScript(m_dir.path(), "xp_a", ""), HEXUserException);
    m_dir.mark("outside/xp_b.sh");
    cluster::dropArrayScripts(m_dir.path(), {});
    EXPECT_TRUE(m_dir.has("outside/xp_b.sh"));
}

TEST_F(JobArrayTest, ScriptsThatNoRunNamesGo) {
    cluster::writeArrayScript(m_dir.path(), "xp_a", "");
    cluster::writeArrayScript(m_dir.path(), "xp_b.1", "");
    cluster::dropArrayScripts(m_dir.path(), {"xp_b.1", "xp_c"});
    EXPECT_FALSE(m_dir.has(".xperiment/arrays/xp_a.sh"));
    EXPECT_TRUE(m_dir.has(".xperiment/arrays/xp_b.1.sh"));
    cluster::dropArrayScripts(m_dir.path("none"), {});
}

}  // namespace
