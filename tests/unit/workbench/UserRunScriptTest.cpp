// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/userRunScript.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "environment/errors/HEXError.h"
#include "environment/process/HUTFork.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPScriptWriter.h"
#include "tests/support/RunDir.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenDataMgr.h"
#include "workbench/runLock.h"

namespace {

/// An implementation with its generated scripts, and a script "mine.sh" of the user.
class UserRunScriptTest : public ::testing::Test {
protected:
    UserRunScriptTest() : m_run(m_bench.makeRun(test::TestBench::implementation())) {
        m_run->setRunDir(m_dir.path(), false);
        HAXPScriptWriter(m_run.get()).writeScript();
    }
    std::string mine() const { return m_bench.path("mine.sh"); }
    void use(const std::string& text) const {
        m_bench.folder().mark("mine.sh", text);
        workbench::useRunScript(*m_run, mine());
    }
    int launch() const {
        HUTFork script;
        script.addArg(m_dir.path("runme.sh"));
        return script.launch(true, false, false, true);
    }
    std::string refusal() const {
        return test::thrownText<HEXError>([this] { workbench::useRunScript(*m_run, mine()); });
    }

    test::TestBench m_bench;
    test::RunDir m_dir;
    std::unique_ptr<HAXPExpRun> m_run;
};

TEST_F(UserRunScriptTest, RunsInTheRunDirectoryInThePlaceOfTheSteps) {
    use("pwd; echo \"$MQ_LOG\"; exit 7\n");
    EXPECT_EQ(launch(), 7);
    EXPECT_EQ(m_dir.read("runme.log"), m_dir.path() + "\nrunme.log\n");
    EXPECT_EQ(m_dir.read("runme.sh").find("EAStep ice40"), std::string::npos);
}

TEST_F(UserRunScriptTest, HoldsTheLockOfTheRun) {
    use("/usr/bin/flock -n .run.lock true || echo held\n");
    EXPECT_EQ(launch(), 0);
    EXPECT_EQ(m_dir.read("runme.log"), "held\n");
    EXPECT_EQ(workbench::probeRunLock(m_dir.path()), workbench::RunLife::kGone);
}

TEST_F(UserRunScriptTest, WaitsForTheLockAsTheGeneratedOneDoes) {
    m_dir.folder("bin");
    use("echo ran\n");
    const test::HeldRunLock lock(m_dir.path());
    HUTFork script;
    m_dir.mark("bin/flock", "#!/bin/sh\nshift 2\nexec /usr/bin/flock -n \"$@\"\n");
    script.setCmdLine("sh -c 'chmod +x bin/flock; exec ./runme.sh'", true);
    script.setWorkingDir(m_dir.path());
    script.setEnvVar("PATH", m_dir.path("bin") + ":/usr/bin:/bin");
    EXPECT_EQ(script.launch(true, false, true, true), 1);
    EXPECT_EQ(m_dir.read("runme.log"), "another launch of this run is at work\n");
}

TEST_F(UserRunScriptTest, CallsTheWrapperItself) {
    use("#!/bin/sh\n./ZUMWrap.sh runme.log true && echo done\n");
    EXPECT_EQ(launch(), 0);
    EXPECT_TRUE(m_dir.has(".true.end.rst"));
}

TEST_F(UserRunScriptTest, MayBeMadeFromAGeneratedOne) {
    std::string text = m_dir.read("runme.sh");
    text = text.substr(0, text.find("EAStep ice40"));
    use(text + "EAStep true\n");
    EXPECT_EQ(launch(), 0);
    EXPECT_TRUE(m_dir.has(".true.end.rst"));
    EXPECT_EQ(m_dir.read("runme.log").find("another launch"), std::string::npos);
}

TEST_F(UserRunScriptTest, RemovesTheQueueMarkerFirst) {
    m_dir.mark("." + test::TestBench::implementation().getQueStr() + ".queue.rst");
    use("ls -a\n");
    EXPECT_EQ(launch(), 0);
    EXPECT_EQ(m_dir.read("runme.log").find("queue.rst"), std::string::npos);
}

TEST_F(UserRunScriptTest, IsACopyThatGoesByWithTheNextLaunch) {
    use("echo old\n");
    m_bench.folder().mark("mine.sh", "echo new\n");
    EXPECT_EQ(launch(), 0);
    EXPECT_EQ(m_dir.read("runme.log"), "old\n");
    workbench::dropRunScript(*m_run);
    EXPECT_FALSE(m_dir.has(workbench::kUserScriptName));
}

TEST_F(UserRunScriptTest, LeavesAScriptThatIsWhole) {
    use("true\n");
    const std::string text = m_dir.read("runme.sh");
    const std::string end = OpenDataMgr::getLastLine() + "\n\n\n";
    EXPECT_EQ(text.substr(text.size() - end.size()), end);
}

TEST_F(UserRunScriptTest, IsRefusedWhenItIsMissingOrEmpty) {
    EXPECT_EQ(refusal(), "Run run_1 isn't launched: the run script " + mine() +
                             " can't be used: " + mine() +
                             ": No such file or directory. Correct "
                             "it, or leave it out.");
    m_bench.folder().mark("mine.sh");
    EXPECT_EQ(refusal(), "Run run_1 isn't launched: the run script " + mine() +
                             " can't be used: it is empty. Correct it, or leave it out.");
}

TEST_F(UserRunScriptTest, FollowsNoLinkOutOfTheRunDirectory) {
    m_bench.folder().mark("precious", "text");
    ASSERT_EQ(symlink(m_bench.path("precious").c_str(), m_dir.path("runme.user.sh").c_str()), 0);
    use("true\n");
    EXPECT_EQ(m_bench.folder().read("precious"), "text");
}

}  // namespace
