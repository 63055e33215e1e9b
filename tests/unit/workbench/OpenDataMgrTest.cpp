// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/OpenDataMgr.h"

#include <fstream>
#include <memory>
#include <ostream>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "environment/files/HUTFile.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/process/HUTFork.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/RunDir.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/launchLease.h"
#include "workbench/runLock.h"

namespace {

/// The commands before and behind the steps of an implementation, run by sh.
class PreCommandsTest : public ::testing::Test {
protected:
    PreCommandsTest() : m_run(m_bench.makeRun(test::TestBench::implementation())) { ask(); }

    void ask() {
        HAXPDataMgr* manager = test::TestBench::implementation().getDataMgr();
        manager->scriptPreCmds(m_run.get(), m_js, m_sh, m_htr);
    }

    /// The status of sh over `before`, the commands and `behind`, in the run directory.
    int run(const std::string& before, const std::string& behind) {
        const std::string script = "cd '" + m_dir.path() + "'; MQ_LOG=runme.log\n" + before + "\n" +
                                   m_sh + "\n" + behind + "\n";
        HUTFork shell;
        shell.addArg("/bin/sh");
        shell.addArg("-c");
        shell.addArg(script);
        shell.setOutputFile(m_bench.path("output"), false);
        return shell.launch(true, false, false, false);
    }
    /// Writes a lease, and gives its identity.
    std::string lease() const {
        const workbench::LaunchLease lease = workbench::makeLease();
        workbench::writeLease(m_dir.path(workbench::kLeaseName), lease);
        return lease.id;
    }
    std::string output() const { return m_bench.folder().read("output"); }

    /// A flock in the folder `bin` that doesn't wait.
    void addImpatientLock() const {
        m_dir.folder("bin");
        m_dir.mark("bin/flock", "#!/bin/sh\nshift 2\nexec /usr/bin/flock -n \"$@\"\n");
        chmod(m_dir.path("bin/flock").c_str(), 0755);
    }

    test::TestBench m_bench;
    test::RunDir m_dir;
    std::unique_ptr<HAXPExpRun> m_run;
    std::string m_js;
    std::string m_sh;
    std::string m_htr;
};

TEST_F(PreCommandsTest, RemoveTheQueueMarkerAndLeaveTheLockFile) {
    const std::string marker = "." + test::TestBench::implementation().getQueStr() + ".queue.rst";
    m_dir.mark(marker);
    EXPECT_EQ(run("", ""), 0);
    EXPECT_FALSE(m_dir.has(marker));
    EXPECT_TRUE(m_dir.has(workbench::kRunLockName));
    EXPECT_EQ(output(), "");
}

TEST_F(PreCommandsTest, HoldTheLockUntilTheScriptIsGone) {
    EXPECT_EQ(run("", "/usr/bin/flock -n .run.lock true || echo held"), 0);
    EXPECT_EQ(output(), "held\n");
    EXPECT_EQ(workbench::probeRunLock(m_dir.path()), workbench::RunLife::kGone);
}

TEST_F(PreCommandsTest, EndTheScriptWhileTheLockIsHeld) {
    addImpatientLock();
    const test::HeldRunLock lock(m_dir.path());
    EXPECT_EQ(run("PATH=" + m_dir.path("bin") + ":/usr/bin:/bin", "echo went on"), 1);
    EXPECT_EQ(output(), "");
    EXPECT_EQ(m_dir.read("runme.log"), "another launch of this run is at work\n");
}

TEST_F(PreCommandsTest, EndTheScriptOfALaunchThatAnotherHasFollowed) {
    const std::string marker = "." + test::TestBench::implementation().getQueStr() + ".queue.rst";
    m_dir.mark(marker);
    const std::string id = lease();
    EXPECT_EQ(run("XPERIMENT_LAUNCH=earlier", "echo went on"), 1);
    EXPECT_EQ(output(), "");
    EXPECT_TRUE(m_dir.has(marker));
    EXPECT_EQ(m_dir.read("runme.log"),
              "launch earlier of this run ends: the run was launched anew, "
              "or reset, since\n");
    m_dir.unmark("runme.log");
    EXPECT_EQ(run("XPERIMENT_LAUNCH=" + id, "echo went on"), 0);
    EXPECT_EQ(output(), "went on\n");
    EXPECT_FALSE(m_dir.has("runme.log"));
}

TEST_F(PreCommandsTest, EndTheScriptOfALaunchThatWasReset) {
    EXPECT_EQ(run("XPERIMENT_LAUNCH=earlier", "echo went on"), 1);
    EXPECT_EQ(output(), "");
}

TEST_F(PreCommandsTest, GiveAScriptThatIsStartedByHandTheLaunchOfTheLease) {
    const std::string id = lease();
    const std::string tell = "env | grep '^XPERIMENT_LAUNCH=' || echo none";
    EXPECT_EQ(run("unset XPERIMENT_LAUNCH", tell), 0);
    EXPECT_EQ(output(), "XPERIMENT_LAUNCH=" + id + "\n");
    EXPECT_EQ(run("export XPERIMENT_LAUNCH=", tell), 0);
    EXPECT_EQ(output(), "XPERIMENT_LAUNCH=" + id + "\n");
    m_dir.unmark(workbench::kLeaseName);
    EXPECT_EQ(run("unset XPERIMENT_LAUNCH", tell), 0);
    EXPECT_EQ(output(), "none\n");
}

TEST_F(PreCommandsTest, NameNoStepToPassOverWhenAllAreEnabled) {
    EXPECT_EQ(run("", "env | grep '^XPERIMENT_SKIP_STEPS='"), 0);
    EXPECT_EQ(output(), "XPERIMENT_SKIP_STEPS=\n");
    EXPECT_EQ(m_js, "ProcEnv(\"XPERIMENT_SKIP_STEPS\") = \"\";");
    EXPECT_EQ(m_htr, "");
}

TEST_F(PreCommandsTest, NameTheDisabledStepsToTheWrapper) {
    HATOptGroup* attrs = m_run->getStrategy()->getRunStepOptions("write_bitstream")->getAttrs();
    attrs->setBoolVal(attrs->getAttrSpecForDbId("EnableStepBool"), false, true);
    ask();
    EXPECT_EQ(run("", "env | grep '^XPERIMENT_SKIP_STEPS='"), 0);
    EXPECT_EQ(output(), "XPERIMENT_SKIP_STEPS=ice40_bitstream\n");
    EXPECT_EQ(m_js, "ProcEnv(\"XPERIMENT_SKIP_STEPS\") = \"ice40_bitstream\";");
    EXPECT_EQ(m_htr, "# disabled steps, to be left out: ice40_bitstream\n");
}

TEST_F(PreCommandsTest, EndWithALineThatTellsAWholeScript) {
    std::string js;
    std::string sh;
    test::TestBench::implementation().getDataMgr()->scriptPostCmds(m_run.get(), js, sh);
    EXPECT_EQ(sh, OpenDataMgr::getLastLine());
    EXPECT_EQ(sh.front(), '#');
    EXPECT_EQ(js, "");
}

TEST_F(PreCommandsTest, ExportsNothingAndSaysSo) {
    HDGUIStatus status;
    test::TestBench::implementation().getDataMgr()->exportData(m_run.get(), nullptr, status);
    EXPECT_EQ(status.getCode(), HDGUIStatus::statusError);
    EXPECT_EQ(status.getText(), "Not exported");
}

/// A search path as it comes, and as the steps get it.
struct PathCase {
    const char* name;
    const char* before;
    const char* after;
};

std::ostream& operator<<(std::ostream& os, const PathCase& row) {
    return os << row.name;
}

class SearchPathTable : public PreCommandsTest, public ::testing::WithParamInterface<PathCase> {};

TEST_P(SearchPathTable, BeginsWithTheProductAndLosesItsEmptyElements) {
    run("PATH='" + std::string(GetParam().before) + "'", "printf '\\n<%s>' \"$PATH\"");
    // Without a folder of programs in the path, sh says first that it finds none.
    const std::string text = output();
    std::string expected = XPERIMENT_BIN_DIR;
    if (*GetParam().after != '\0')
        expected += ":" + std::string(GetParam().after);
    EXPECT_EQ(text.substr(text.rfind('\n') + 1), "<" + expected + ">");
}

TEST_P(SearchPathTable, SoDoesThatOfLibraries) {
    run("LD_LIBRARY_PATH='" + std::string(GetParam().before) + "'",
        "printf %s \"${LD_LIBRARY_PATH-unset}\"");
    const std::string after = GetParam().after;
    EXPECT_EQ(output(), after.empty() ? "unset" : after);
}

INSTANTIATE_TEST_SUITE_P(
    PreCommands, SearchPathTable,
    ::testing::Values(PathCase{"Plain", "/usr/bin:/bin", "/usr/bin:/bin"},
                      PathCase{"EmptyFirst", ":/usr/bin:/bin", "/usr/bin:/bin"},
                      PathCase{"TwoEmptyFirst", "::/usr/bin:/bin", "/usr/bin:/bin"},
                      PathCase{"EmptyLast", "/usr/bin:/bin:", "/usr/bin:/bin"},
                      PathCase{"ManyEmptyLast", "/usr/bin:/bin::::", "/usr/bin:/bin"},
                      PathCase{"EmptyBetween", "/usr/bin::/bin", "/usr/bin:/bin"},
                      PathCase{"ManyEmptyBetween", "/usr/bin::::/bin:::/sbin",
                               "/usr/bin:/bin:/sbin"},
                      PathCase{"WithBlanks", "/usr/bin:/my tools::/bin", "/usr/bin:/my tools:/bin"},
                      PathCase{"OnlyEmpty", "::", ""}, PathCase{"Empty", "", ""}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
