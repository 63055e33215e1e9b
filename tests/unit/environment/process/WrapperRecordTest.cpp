// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <csignal>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/files/HUTFile.h"
#include "environment/process/HUTFork.h"
#include "environment/process/HUTProcHandleXMLParser.h"
#include "environment/process/HUTProcessHandle.h"
#include "environment/process/HUTSysCall.h"
#include "environment/process/processTable.h"
#include "tests/support/RunDir.h"

namespace {

/// A step that the shipped wrapper runs in a run directory, and its record.
class WrapperRecordTest : public ::testing::Test {
protected:
    WrapperRecordTest() {
        const HUTFile shipped(XPERIMENT_SCRIPTS "/ZUMWrap.sh");
        EXPECT_TRUE(shipped.copyTo(m_dir.path("ZUMWrap.sh"), HUTFile::kReplaceExisting));
        EXPECT_TRUE(HUTFile(m_dir.path("ZUMWrap.sh")).mkExecutable());
    }

    void TearDown() override {
        int status = 0;
        for (long pid : {m_wrapper, m_handle.getPid()}) {
            if (pid > 1 && !m_fork.hasEnded(status))
                ::kill(static_cast<pid_t>(-pid), SIGKILL);
        }
    }

    /// Starts a step that runs until it is ended, and reads its record.
    void start(const std::string& name) {
        m_dir.mark(name, "#!/bin/sh\nsleep 1000 &\nwait\n");
        ASSERT_EQ(::chmod(m_dir.path(name).c_str(), 0755), 0);
        m_fork.setCmdLine(m_dir.path("ZUMWrap.sh"), false);
        m_fork.addArg("runme.log");
        m_fork.addArg(m_dir.path(name));
        m_fork.setOutputFile(m_dir.path("runme.log"), true);
        m_wrapper = m_fork.launch(false, true, false, false);
        ASSERT_GT(m_wrapper, 0) << m_fork.getError();
        m_begin = m_dir.path("." + name + ".begin.rst");
        int status = 0;
        while (!HUTFile::isFile(m_begin) && !m_fork.hasEnded(status))
            HUTSysCall::msSleep(1);
        EXPECT_TRUE(HUTProcHandleXMLParser().parsePH(m_begin, &m_handle))
            << m_dir.read("runme.log");
    }

    /// Waits until the command leads the group of its record.
    void awaitGroup() const {
        while (process::processTable().members(m_handle.getGroup()).size() < 2)
            HUTSysCall::msSleep(1);
    }

    int awaitWrapper() {
        int status = -2;
        while (!m_fork.hasEnded(status))
            HUTSysCall::msSleep(1);
        return status;
    }

    test::RunDir m_dir;
    HUTFork m_fork;
    HUTProcessHandle m_handle;
    std::string m_begin;
    std::string m_message;
    long m_wrapper = 0;
};

TEST_F(WrapperRecordTest, TellsTheProcessOfTheStep) {
    start("place");
    process::ProcessTable& table = process::processTable();
    EXPECT_TRUE(m_handle.isComplete());
    EXPECT_TRUE(m_handle.isPartialComplete());
    std::string text;
    m_handle.getHostname(text);
    EXPECT_EQ(text, table.hostName());
    m_handle.getBootId(text);
    EXPECT_EQ(text, table.bootId());
    m_handle.getCommand(text);
    EXPECT_EQ(text, m_dir.path("place"));
    process::Entry entry;
    ASSERT_TRUE(table.look(m_handle.getPid(), entry));
    EXPECT_EQ(m_handle.getStartTicks(), entry.startTicks);
    EXPECT_EQ(m_handle.getUid(), entry.user);
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kAlive);
}

TEST_F(WrapperRecordTest, LetsTheStepBeEndedAndItsFailureBeSeen) {
    start("place");
    awaitGroup();
    EXPECT_TRUE(m_handle.killProcess(m_message, true)) << m_message;
    EXPECT_EQ(m_handle.look(), HUTProcessHandle::Life::kGone);
    EXPECT_EQ(awaitWrapper(), 128 + SIGTERM);
    EXPECT_TRUE(m_dir.has(".place.error.rst"));
    EXPECT_FALSE(m_dir.has(".place.end.rst"));
}

TEST_F(WrapperRecordTest, IsReadWithAnOddName) {
    start("a b&<'\"\nc");
    awaitGroup();
    std::string command;
    m_handle.getCommand(command);
    EXPECT_EQ(command, m_dir.path("a b&<'\"\nc"));
    EXPECT_TRUE(m_handle.killProcess(m_message, true)) << m_message;
    awaitWrapper();
}

}  // namespace
