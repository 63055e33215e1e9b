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
#include "tests/support/RunDir.h"

namespace {

/// A process of this host that is said to run on host "node7", which the
/// remote command "remote" stands for: it runs what it is given in a shell, as
/// a login on another host would.
class KillRemoteProcessTest : public ::testing::Test {
protected:
    KillRemoteProcessTest() {
        remote("echo \"$1\" >'" + m_dir.path("host") + "'; shift; exec dash -c \"$*\"");
        HUTProcessHandle::setRemoteCommand(m_dir.path("remote"));
    }

    void TearDown() override {
        HUTProcessHandle::setRemoteCommand(m_command);
        if (m_pid > 1)
            ::kill(-m_pid, SIGKILL);
    }

    void remote(const std::string& body) const {
        m_dir.mark("remote", "#!/bin/sh\n" + body + "\n");
        EXPECT_EQ(::chmod(m_dir.path("remote").c_str(), 0755), 0);
    }

    void start(const std::string& line) {
        m_fork.setCmdLine(line, true);
        m_pid = m_fork.launch(false, true, true, true);
        ASSERT_GT(m_pid, 0);
        process::ProcessTable& table = process::processTable();
        process::Entry entry;
        ASSERT_TRUE(table.look(m_pid, entry));
        m_handle.setHostname("node7");
        m_handle.setPid(m_pid);
        m_handle.setGroup(m_pid);
        m_handle.setStartTicks(entry.startTicks);
        m_handle.setBootId(table.bootId());
        m_handle.setPidNamespace(table.pidNamespace());
    }

    bool kill() { return m_handle.killRemoteProcess(m_message); }

    bool lives() const {
        process::Entry entry;
        return process::processTable().look(m_pid, entry) && !entry.isZombie();
    }

    std::string refusal(const std::string& why) const {
        return "Can't end process " + std::to_string(m_pid) + " on host 'node7' from here: " + why;
    }

    test::RunDir m_dir;
    HUTFork m_fork;
    HUTProcessHandle m_handle;
    std::string m_command = HUTProcessHandle::getRemoteCommand();
    std::string m_message = "left";
    int m_pid = 0;
};

TEST_F(KillRemoteProcessTest, EndsTheProcessThroughTheCommand) {
    start("sleep 1000");
    EXPECT_TRUE(kill()) << m_message;
    EXPECT_FALSE(lives());
    EXPECT_EQ(m_dir.read("host"), "node7\n");
    EXPECT_EQ(m_message, "left");
    EXPECT_TRUE(kill()) << m_message;
}

TEST_F(KillRemoteProcessTest, KillsWhatIgnoresTheRequest) {
    m_dir.mark("stubborn", "trap '' TERM; : > '" + m_dir.path("ready") + "'; sleep 1000");
    m_dir.folder("hasty");
    m_dir.mark("hasty/sleep", "#!/bin/sh\nexec /bin/sleep 0.01\n");
    ASSERT_EQ(::chmod(m_dir.path("hasty/sleep").c_str(), 0755), 0);
    remote("shift; PATH='" + m_dir.path("hasty") + "':$PATH exec dash -c \"$*\"");
    start("sh " + m_dir.path("stubborn"));
    while (!m_dir.has("ready"))
        HUTSysCall::msSleep(1);
    EXPECT_TRUE(kill()) << m_message;
    EXPECT_FALSE(lives());
}

TEST_F(KillRemoteProcessTest, LeavesARecycledPidAlone) {
    start("sleep 1000");
    m_handle.setStartTicks(m_handle.getStartTicks() + 1);
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_message, refusal("it has ended, and its id was given to another process, which "
                                 "was left alone."));
    EXPECT_TRUE(lives());
}

TEST_F(KillRemoteProcessTest, LeavesAnotherStartOfTheHostAlone) {
    start("sleep 1000");
    m_handle.setBootId("00000000-88c4-4b0e-9d1e-0f6c2b7a4e11");
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_message, refusal("the host was started anew since, or it runs in a container."));
    EXPECT_TRUE(lives());
}

TEST_F(KillRemoteProcessTest, LeavesAnotherContainerAlone) {
    start("sleep 1000");
    m_handle.setPidNamespace("1");
    EXPECT_FALSE(kill());
    EXPECT_TRUE(lives());
}

TEST_F(KillRemoteProcessTest, LeavesAGroupWithoutItsLeaderAlone) {
    m_dir.mark("parent", "sleep 1000 & : > '" + m_dir.path("ready") + "'; wait");
    start("sh " + m_dir.path("parent"));
    while (!m_dir.has("ready"))
        HUTSysCall::msSleep(1);
    ASSERT_EQ(::kill(m_pid, SIGKILL), 0);
    int status = 0;
    while (!m_fork.hasEnded(status))
        HUTSysCall::msSleep(1);
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_message,
              refusal("it has ended, but others of its process group still run, and nothing tells "
                      "that they are the run's. Look at it there, and end it by hand."));
    EXPECT_EQ(process::processTable().members(m_pid).size(), 1U);
}

TEST_F(KillRemoteProcessTest, TellsWhatTheCommandSaidWhenItFails) {
    start("sleep 1000");
    remote("echo noise; echo 'node7: Connection refused' >&2; exit 255");
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_message, refusal("the command ended with status 255. It said: node7: Connection "
                                 "refused"));
}

TEST_F(KillRemoteProcessTest, TellsThatTheCommandIsMissing) {
    start("sleep 1000");
    HUTProcessHandle::setRemoteCommand(m_dir.path("missing"));
    EXPECT_FALSE(kill());
    EXPECT_EQ(m_message, refusal(m_dir.path("missing") + ": No such file or directory."));
}

TEST_F(KillRemoteProcessTest, RefusesWhatCanNotGoIntoACommand) {
    start("sleep 1000");
    const HUTProcessHandle good = m_handle;
    const std::string hosts[] = {"", "-oProxyCommand=x", "a b", "a;b", "$(x)", "a\nb"};
    for (const std::string& host : hosts) {
        m_handle.setHostname(host);
        EXPECT_FALSE(kill()) << host;
    }
    m_handle = good;
    m_handle.setBootId("'; reboot; '");
    EXPECT_FALSE(kill());
    m_handle = good;
    m_handle.setPidNamespace("1; reboot");
    EXPECT_FALSE(kill());
    m_handle = good;
    m_handle.setGroup(0);
    EXPECT_FALSE(kill());
    m_handle = good;
    m_handle.setPid(1);
    EXPECT_FALSE(kill());
    EXPECT_FALSE(m_dir.has("host"));
    EXPECT_TRUE(lives());
}

TEST_F(KillRemoteProcessTest, AsksNoQuestionsByDefault) {
    EXPECT_EQ(m_command, "ssh -n -o BatchMode=yes -o ConnectTimeout=10 -o ServerAliveInterval=5");
}

}  // namespace
