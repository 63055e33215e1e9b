// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <csignal>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/process/HUTFork.h"
#include "environment/process/HUTProcessHandle.h"
#include "environment/process/HUTSysCall.h"
#include "environment/process/processTable.h"
#include "tests/support/FakeClock.h"
#include "tests/support/RunDir.h"

namespace {

/// A script in a process group of its own, and the record of it.
class KillRealProcessTest : public ::testing::Test {
protected:
    void TearDown() override {
        if (m_pid > 1)
            ::kill(-m_pid, SIGKILL);
    }

    /// Starts `body` and waits until it has made the file "ready".
    void start(const std::string& body) {
        m_dir.mark("script", "#!/bin/sh\n" + body + "\n");
        ASSERT_EQ(::chmod(m_dir.path("script").c_str(), 0755), 0);
        m_fork.setCmdLine(m_dir.path("script"), false);
        m_fork.setWorkingDir(m_dir.path());
        m_pid = m_fork.launch(false, true, false, true);
        ASSERT_GT(m_pid, 0);
        while (!m_dir.has("ready"))
            HUTSysCall::msSleep(1);
        record();
    }

    void record() {
        process::ProcessTable& table = process::processTable();
        process::Entry entry;
        ASSERT_TRUE(table.look(m_pid, entry));
        m_handle.setHostname(table.hostName());
        m_handle.setUid(entry.user);
        m_handle.setPid(m_pid);
        m_handle.setGroup(entry.group);
        m_handle.setStartTicks(entry.startTicks);
        m_handle.setBootId(table.bootId());
        m_handle.setPidNamespace(table.pidNamespace());
        m_handle.setFolder(m_dir.path());
    }

    /// Living processes of the script's group.
    int living() const {
        int count = 0;
        for (const process::Entry& entry : process::processTable().members(m_pid))
            count += entry.isZombie() ? 0 : 1;
        return count;
    }

    test::RunDir m_dir;
    HUTFork m_fork;
    HUTProcessHandle m_handle;
    int m_pid = 0;
    std::string m_message;
};

TEST_F(KillRealProcessTest, EndsAProcessWithItsChildren) {
    start("sleep 1000 & sleep 1000 & : >ready; wait");
    EXPECT_EQ(living(), 3);
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kAlive);
    EXPECT_TRUE(m_handle.killProcess(m_message, true)) << m_message;
    EXPECT_EQ(living(), 0);
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kGone);
    EXPECT_TRUE(m_handle.killProcess(m_message, true)) << m_message;
}

TEST_F(KillRealProcessTest, LetsItPutThingsInOrder) {
    start("trap 'touch cleaned; exit 0' TERM; : >ready; while :; do sleep 0.01; done");
    EXPECT_TRUE(m_handle.killProcess(m_message, true)) << m_message;
    EXPECT_TRUE(m_dir.has("cleaned"));
}

TEST_F(KillRealProcessTest, EndsAStoppedProcess) {
    start(": >ready; kill -STOP $$; sleep 1000");
    EXPECT_TRUE(m_handle.killProcess(m_message, true)) << m_message;
    EXPECT_EQ(living(), 0);
}

TEST_F(KillRealProcessTest, KillsWhatIgnoresTheRequest) {
    start("trap '' TERM; sleep 1000 & : >ready; wait");
    test::FakeClock hasty;
    hasty.onSleep([] { ::usleep(100); });
    EXPECT_TRUE(m_handle.killProcess(m_message, true)) << m_message;
    EXPECT_EQ(living(), 0);
}

TEST_F(KillRealProcessTest, LeavesAProcessOfAnotherStartAlone) {
    start("sleep 1000 & : >ready; wait");
    m_handle.setStartTicks(m_handle.getStartTicks() + 1);
    EXPECT_FALSE(m_handle.killProcess(m_message, true));
    EXPECT_EQ(living(), 2);
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kGone);
}

TEST_F(KillRealProcessTest, EndsWhatItsLeaderLeftBehind) {
    start("sleep 1000 & : >ready; wait");
    ASSERT_EQ(::kill(m_pid, SIGKILL), 0);
    int status = 0;
    while (!m_fork.hasEnded(status))
        HUTSysCall::msSleep(1);
    EXPECT_EQ(living(), 1);
    EXPECT_TRUE(m_handle.killProcess(m_message, true)) << m_message;
    EXPECT_EQ(living(), 0);
}

TEST_F(KillRealProcessTest, LeavesAloneWhatWorksElsewhereWithoutItsLeader) {
    start("here=$PWD; (cd / && : >\"$here/ready\" && exec sleep 1000) & wait");
    ASSERT_EQ(::kill(m_pid, SIGKILL), 0);
    int status = 0;
    while (!m_fork.hasEnded(status))
        HUTSysCall::msSleep(1);
    EXPECT_FALSE(m_handle.killProcess(m_message, true));
    EXPECT_EQ(living(), 1);
}

}  // namespace
