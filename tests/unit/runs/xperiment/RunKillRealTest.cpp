// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <csignal>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/files/HUTFile.h"
#include "environment/process/HUTFork.h"
#include "environment/process/HUTProcessHandle.h"
#include "environment/process/HUTSysCall.h"
#include "environment/process/processTable.h"
#include "tests/support/FakeClock.h"
#include "tests/unit/runs/xperiment/resetFixture.h"

namespace {

using test::Ids;
using test::RunResetFixture;
using test::Texts;

/// A run whose step "a" is a script, in a process group of its own and in the run
/// directory, as a wrapper starts it.
class RunKillRealTest : public RunResetFixture {
protected:
    void TearDown() override {
        for (const long group : {static_cast<long>(m_pid), m_group}) {
            if (group > 1)
                ::kill(static_cast<pid_t>(-group), SIGKILL);
        }
    }

    void executable(const std::string& name, const std::string& body) const {
        m_dir.mark(name, "#!/bin/sh\n" + body + "\n");
        ASSERT_EQ(::chmod(m_dir.path(name).c_str(), 0755), 0);
    }

    /// Starts `body`, waits until it has made the file "ready", and records its process.
    void start(const std::string& body) {
        executable("script", body);
        m_fork.setCmdLine(m_dir.path("script"), false);
        m_fork.setWorkingDir(runDir());
        m_pid = m_fork.launch(false, true, false, true);
        ASSERT_GT(m_pid, 0) << m_fork.getError();
        while (!has("ready"))
            HUTSysCall::msSleep(1);
        markRunning("a", record());
    }
    std::string record() const {
        process::ProcessTable& table = process::processTable();
        process::Entry entry;
        EXPECT_TRUE(table.look(m_pid, entry));
        const std::string pid = std::to_string(m_pid);
        return "<ProcessHandle Version=\"1\" Minor=\"0\"><Process Host=\"" + table.hostName() +
               "\" Owner=\"me\" Uid=\"" + std::to_string(entry.user) + "\" Pid=\"" + pid +
               "\" Pgid=\"" + pid + "\" StartTicks=\"" + std::to_string(entry.startTicks) +
               "\" BootId=\"" + table.bootId() + "\" PidNamespace=\"" + table.pidNamespace() +
               "\"/><Command>script</Command></ProcessHandle>\n";
    }
    /// Living processes of the script's group, or of another one.
    int living() const { return living(m_pid); }
    static int living(long group) {
        int count = 0;
        for (const process::Entry& entry : process::processTable().members(group))
            count += entry.isZombie() ? 0 : 1;
        return count;
    }
    /// Has the shipped wrapper run `body` as step "a", until it has made the file "ready".
    void startWrapped(const std::string& body) {
        executable("run/a", body);
        const std::string wrapper = m_dir.path("run/ZUMWrap.sh");
        ASSERT_TRUE(
            HUTFile(XPERIMENT_SCRIPTS "/ZUMWrap.sh").copyTo(wrapper, HUTFile::kKeepExisting));
        ASSERT_TRUE(HUTFile(wrapper).mkExecutable());
        m_fork.setCmdLine(wrapper, false);
        m_fork.addArg("runme.log");
        m_fork.addArg(m_dir.path("run/a"));
        m_pid = m_fork.launch(false, true, false, true);
        ASSERT_GT(m_pid, 0) << m_fork.getError();
        while (!has("ready"))
            HUTSysCall::msSleep(1);
        m_run->updateStatus();
        m_group = step("a")->getProcInfo()->getGroup();
        ASSERT_GT(m_group, 1);
    }
    void awaitEnd() {
        int status = 0;
        while (!m_fork.hasEnded(status))
            ::usleep(1000);
    }
    void expectGone() const {
        EXPECT_EQ(living(), 0);
        EXPECT_EQ(m_errors, (Texts{}));
        EXPECT_EQ(entries(), (Ids{"ready"}));
    }
    bool kill() { return reset(true, true); }

    HUTFork m_fork;
    int m_pid = 0;
    /// The group of a wrapped step.
    long m_group = 0;
};

/// A child and a grandchild, all of which ignore the request to end.
constexpr const char* kStubbornFamily = "trap '' TERM\n"
                                        "sh -c 'sleep 1000 & sleep 1000 & : >ready; wait' &\n"
                                        "while :; do wait; sleep 1; done";

TEST_F(RunKillRealTest, EndsAToolWithItsGrandchildren) {
    start("sh -c 'sleep 1000 & sleep 1000 & : >ready; wait' & wait");
    EXPECT_EQ(living(), 4);
    EXPECT_TRUE(kill());
    expectGone();
}

TEST_F(RunKillRealTest, EndsAToolThatIgnoresTheRequestWithItsGrandchildren) {
    start(kStubbornFamily);
    EXPECT_GE(living(), 4);
    test::FakeClock hasty;
    hasty.onSleep([] { ::usleep(100); });
    EXPECT_TRUE(kill());
    expectGone();
}

TEST_F(RunKillRealTest, EndsWhatTheToolLeftBehind) {
    start("sleep 1000 & : >ready; wait");
    ASSERT_EQ(::kill(m_pid, SIGKILL), 0);
    awaitEnd();
    EXPECT_EQ(living(), 1);
    EXPECT_TRUE(kill());
    expectGone();
}

TEST_F(RunKillRealTest, LetsAToolPutItsFilesInOrder) {
    start("trap 'touch saved.v; exit 0' TERM; : >ready; while :; do sleep 0.01; done");
    EXPECT_TRUE(kill());
    EXPECT_EQ(living(), 0);
    EXPECT_EQ(entries(), (Ids{"ready", "saved.v"}));
}

TEST_F(RunKillRealTest, LeavesNoResultOfAStepThatItsWrapperOutlives) {
    startWrapped("cd \"${0%/*}\"; trap '' TERM; sh -c 'sleep 1000 & : >ready; wait' & "
                 "while :; do wait; sleep 1; done");
    EXPECT_GE(living(m_group), 3);
    test::FakeClock hasty;
    hasty.onSleep([] { ::usleep(100); });
    EXPECT_TRUE(kill());
    EXPECT_EQ(living(m_group), 0);
    awaitEnd();
    m_run->updateStatus();
    EXPECT_EQ(step("a")->getStatus()->getCode(), test::kNotStarted);
    EXPECT_EQ(m_run->getLatestStep(), nullptr);
    EXPECT_FALSE(has(".a.begin.rst"));
}

TEST_F(RunKillRealTest, SparesAProcessThatHasThePidNow) {
    start("sleep 1000 & : >ready; wait");
    std::string stale = record();
    const std::string label = "StartTicks=\"";
    stale.insert(stale.find(label) + label.size(), "1");
    markRunning("a", stale);
    test::FakeClock hasty;
    EXPECT_FALSE(kill());
    EXPECT_EQ(living(), 2);
    EXPECT_EQ(m_errors.size(), 1U);
    EXPECT_FALSE(isEmptied());
}

}  // namespace
