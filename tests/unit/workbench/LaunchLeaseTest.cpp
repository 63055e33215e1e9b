// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/launchLease.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "environment/errors/HXMLException.h"
#include "environment/files/HUTFile.h"
#include "environment/process/userName.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/RunDir.h"
#include "tests/unit/runs/xpreport/schemaFile.h"
#include "workbench/links.h"

namespace {

using workbench::LaunchLease;

class LaunchLeaseTest : public ::testing::Test {
protected:
    std::string path() const { return m_dir.path(workbench::kLeaseName); }

    bool reads(const std::string& content) const {
        m_dir.mark(workbench::kLeaseName, content);
        LaunchLease lease;
        lease.id = "before";
        const bool read = workbench::readLease(path(), lease);
        EXPECT_TRUE(read || lease.id == "before");
        return read;
    }

    test::RunDir m_dir;
};

TEST_F(LaunchLeaseTest, IsReadAsItWasWritten) {
    LaunchLease written = workbench::makeLease();
    written.launcher.setUser("a \"user\" & <more>");
    workbench::writeLease(path(), written);
    LaunchLease read;
    ASSERT_TRUE(workbench::readLease(path(), read));
    EXPECT_EQ(read.id, written.id);
    EXPECT_EQ(read.time, written.time);
    EXPECT_EQ(read.launcher.getPid(), written.launcher.getPid());
    EXPECT_EQ(read.launcher.getUid(), written.launcher.getUid());
    EXPECT_EQ(read.launcher.getGroup(), written.launcher.getGroup());
    EXPECT_EQ(read.launcher.getStartTicks(), written.launcher.getStartTicks());
    std::string text;
    read.launcher.getUser(text);
    EXPECT_EQ(text, "a \"user\" & <more>");
}

TEST_F(LaunchLeaseTest, KeepsTheWay) {
    using Kind = workbench::LaunchWay::Kind;
    for (const Kind kind : {Kind::kHere, Kind::kHost, Kind::kLsf, Kind::kSge}) {
        LaunchLease written = workbench::makeLease();
        written.way.kind = kind;
        if (kind != Kind::kHere) {
            written.way.host = "node7";
            written.way.command = "qsub -l \"a b\" <x>";
            written.way.jobName = "/runs/impl 1/runme.sh";
        }
        workbench::writeLease(path(), written);
        LaunchLease read;
        ASSERT_TRUE(workbench::readLease(path(), read));
        EXPECT_TRUE(
            test::reports::isValidBySchema("launch-lease.xsd", m_dir.read(workbench::kLeaseName)));
        EXPECT_EQ(read.way.kind, kind);
        EXPECT_EQ(read.way.host, written.way.host);
        EXPECT_EQ(read.way.command, written.way.command);
        EXPECT_EQ(read.way.jobName, written.way.jobName);
    }
}

TEST_F(LaunchLeaseTest, PassesOverAWayThatItDoesNotKnow) {
    EXPECT_TRUE(reads("<Launch Version='1' Id='x'><Launcher/><Way Kind='sge'/></Launch>"));
    EXPECT_FALSE(reads("<Launch Version='1' Id='x'><Launcher/><Way Kind='cloud'/></Launch>"));
    EXPECT_FALSE(reads("<Launch Version='1' Id='x'><Launcher/><Way/></Launch>"));
}

TEST_F(LaunchLeaseTest, NamesItsUserWhateverTheEnvironmentSays) {
    setenv("USER", "somebody else", 1);
    std::string user;
    workbench::makeLease().launcher.getUser(user);
    unsetenv("USER");
    EXPECT_EQ(user, process::userName(geteuid()));
    EXPECT_FALSE(user.empty());
    EXPECT_EQ(process::userName(-1), "");
    EXPECT_EQ(process::userName(4123456789), "");
}

TEST_F(LaunchLeaseTest, TakesThePlaceOfALinkAndLeavesWhatThatLeadsTo) {
    m_dir.mark("precious", "precious");
    ASSERT_EQ(symlink(m_dir.path("precious").c_str(), m_dir.path("lease").c_str()), 0);
    const workbench::LaunchLease lease = workbench::makeLease();
    workbench::writeLease(m_dir.path("lease"), lease);
    workbench::LaunchLease read;
    EXPECT_TRUE(workbench::readLease(m_dir.path("lease"), read));
    EXPECT_EQ(read.id, lease.id);
    EXPECT_FALSE(workbench::readLease(m_dir.path("precious"), read));
    EXPECT_FALSE(workbench::isLink(m_dir.path("lease")));
}

TEST_F(LaunchLeaseTest, IsItsUsersUnlessALinkStandsForIt) {
    workbench::writeLease(path(), workbench::makeLease());
    ASSERT_EQ(symlink(path().c_str(), m_dir.path("link").c_str()), 0);
    LaunchLease read;
    ASSERT_TRUE(workbench::readLease(path(), read));
    EXPECT_TRUE(read.isOwn);
    ASSERT_TRUE(workbench::readLease(m_dir.path("link"), read));
    EXPECT_FALSE(read.isOwn);
}

TEST_F(LaunchLeaseTest, KnowsThisProcessAsAlive) {
    workbench::writeLease(path(), workbench::makeLease());
    LaunchLease read;
    ASSERT_TRUE(workbench::readLease(path(), read));
    EXPECT_EQ(workbench::lookAtLauncher(read), HUTProcessHandle::Life::kAlive);
}

TEST_F(LaunchLeaseTest, KnowsAProcessOfOtherStartAsGone) {
    LaunchLease lease = workbench::makeLease();
    lease.launcher.setStartTicks(lease.launcher.getStartTicks() + 1);
    EXPECT_EQ(workbench::lookAtLauncher(lease), HUTProcessHandle::Life::kGone);
}

TEST_F(LaunchLeaseTest, IsSyncedUnlessItWaits) {
    LaunchLease lease = workbench::makeLease();
    const auto syncs = [&lease, this] {
        test::FaultyDisk disk;
        workbench::writeLease(path(), lease);
        return std::count(disk.names().begin(), disk.names().end(), "sync");
    };
    EXPECT_EQ(syncs(), 2);
    lease.isWaiting = true;
    EXPECT_EQ(syncs(), 0);
}

TEST_F(LaunchLeaseTest, OneThatWaitsAndCanNotBeWrittenLeavesNothing) {
    LaunchLease lease = workbench::makeLease();
    lease.isWaiting = true;
    test::FaultyDisk disk;
    disk.failAll("write", ENOSPC);
    EXPECT_THROW(workbench::writeLease(path(), lease), HXMLException);
    EXPECT_FALSE(HUTFile::exists(path()));
}

TEST_F(LaunchLeaseTest, HasAnIdentityOfItsOwn) {
    EXPECT_NE(workbench::makeLease().id, workbench::makeLease().id);
    EXPECT_EQ(workbench::makeLease().id.size(), 36U);
}

TEST_F(LaunchLeaseTest, IsNotReadFromAFileCutShort) {
    workbench::writeLease(path(), workbench::makeLease());
    const std::string whole = m_dir.read(workbench::kLeaseName);
    const std::string::size_type end = whole.find("</Launch>") + std::string("</Launch>").size();
    ASSERT_NE(end, std::string::npos);
    for (std::string::size_type size = 0; size < end; ++size)
        EXPECT_FALSE(reads(whole.substr(0, size))) << size;
    EXPECT_TRUE(reads(whole));
}

TEST_F(LaunchLeaseTest, IsNotReadFromAnythingElse) {
    LaunchLease lease;
    EXPECT_FALSE(workbench::readLease(path(), lease));
    EXPECT_FALSE(reads("<ProcessHandle Version=\"1\"/>"));
    EXPECT_FALSE(reads("<Launch Version=\"2\" Id=\"a\"><Launcher/></Launch>"));
    EXPECT_FALSE(reads("<Launch Version=\"1\"><Launcher/></Launch>"));
    EXPECT_FALSE(reads("<Launch Version=\"1\" Id=\"a\"/>"));
    EXPECT_TRUE(reads("<Launch Version=\"1\" Id=\"a\"><Launcher/></Launch>"));
}

TEST_F(LaunchLeaseTest, WithoutALauncherSaysNothingOfOne) {
    m_dir.mark(workbench::kLeaseName, "<Launch Version=\"1\" Id=\"a\"><Launcher/></Launch>");
    LaunchLease lease;
    ASSERT_TRUE(workbench::readLease(path(), lease));
    EXPECT_EQ(workbench::lookAtLauncher(lease), HUTProcessHandle::Life::kUnknown);
}

TEST_F(LaunchLeaseTest, KeepsWhichStepsItKept) {
    LaunchLease written = workbench::makeLease();
    workbench::writeLease(path(), written);
    LaunchLease read;
    ASSERT_TRUE(workbench::readLease(path(), read));
    EXPECT_FALSE(read.keptSteps.has_value());
    for (const std::vector<std::string>& kept :
         {std::vector<std::string>{}, std::vector<std::string>{"ice40_init", "ice40_place"}}) {
        written.keptSteps = kept;
        workbench::writeLease(path(), written);
        ASSERT_TRUE(workbench::readLease(path(), read));
        ASSERT_TRUE(read.keptSteps.has_value());
        EXPECT_EQ(*read.keptSteps, kept);
    }
}

TEST_F(LaunchLeaseTest, FollowsItsSchema) {
    LaunchLease lease = workbench::makeLease();
    lease.isWaiting = true;
    lease.keptSteps = std::vector<std::string>{"ice40_init", "ice40_place"};
    using Kind = workbench::LaunchWay::Kind;
    for (const Kind kind : {Kind::kHere, Kind::kHost, Kind::kLsf, Kind::kSge}) {
        lease.way = {kind, "node7", "qsub -q \"all\" & <more>", "xp-1"};
        workbench::writeLease(path(), lease);
        EXPECT_TRUE(
            test::reports::isValidBySchema("launch-lease.xsd", m_dir.read(workbench::kLeaseName)));
    }
    EXPECT_FALSE(test::reports::isValidBySchema("launch-lease.xsd", "<Launch Version=\"1\"/>"));
}

}  // namespace
