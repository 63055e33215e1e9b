// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/processTable.h"

#include <cerrno>
#include <string>

#include <unistd.h>

#include <gtest/gtest.h>

namespace {

const std::string kTail =
    " 1 42 42 0 -1 4194560 1 2 3 4 5 6 7 8 20 0 1 0 918273 8372224 18446744073";

TEST(ProcessStatTest, GivesGroupStateAndStart) {
    process::Entry entry;
    ASSERT_TRUE(process::parseStat("41 (place) S" + kTail, entry));
    EXPECT_EQ(entry.pid, 41);
    EXPECT_EQ(entry.state, 'S');
    EXPECT_EQ(entry.group, 42);
    EXPECT_EQ(entry.startTicks, 918273U);
    EXPECT_FALSE(entry.isZombie());
}

TEST(ProcessStatTest, IsNotMisledByTheNameOfTheProgram) {
    process::Entry entry;
    ASSERT_TRUE(process::parseStat("41 (a) R 9 9 (b\nc) Z" + kTail, entry));
    EXPECT_EQ(entry.group, 42);
    EXPECT_TRUE(entry.isZombie());
}

TEST(ProcessStatTest, RefusesWhatIsCutShort) {
    const std::string whole = "41 (place) S 1 42 42 0 -1 4194560 1 2 3 4 5 6 7 8 20 0 1 0";
    process::Entry entry;
    for (std::string::size_type size = 0; size <= whole.size(); ++size)
        EXPECT_FALSE(process::parseStat(whole.substr(0, size), entry)) << size;
    EXPECT_EQ(entry.pid, 0);
}

TEST(ProcessTableTest, KnowsThisProcess) {
    process::ProcessTable& table = process::processTable();
    process::Entry entry;
    ASSERT_TRUE(table.look(::getpid(), entry));
    EXPECT_EQ(entry.pid, ::getpid());
    EXPECT_EQ(entry.pid, table.ownPid());
    EXPECT_EQ(entry.group, ::getpgrp());
    EXPECT_EQ(entry.group, table.ownGroup());
    EXPECT_EQ(entry.user, static_cast<long>(::getuid()));
    EXPECT_GT(entry.startTicks, 0U);
}

TEST(ProcessTableTest, KnowsNoProcessOfAPidThatIsFree) {
    process::Entry entry;
    EXPECT_FALSE(process::processTable().look(2147483647, entry));
    EXPECT_FALSE(process::processTable().look(-1, entry));
}

TEST(ProcessTableTest, KnowsThisHost) {
    process::ProcessTable& table = process::processTable();
    EXPECT_NE(table.hostName(), "");
    EXPECT_EQ(table.bootId().size(), 36U);
    EXPECT_EQ(table.pidNamespace().find_first_not_of("0123456789"), std::string::npos);
}

TEST(ProcessTableTest, SignalsOnlyTheProcessThatWasLookedAt) {
    process::ProcessTable& table = process::processTable();
    process::Entry entry;
    ASSERT_TRUE(table.look(::getpid(), entry));
    EXPECT_EQ(table.signal(entry, 0), 0);
    ++entry.startTicks;
    EXPECT_EQ(table.signal(entry, 0), ESRCH);
    entry.pid = 2147483647;
    EXPECT_NE(table.signal(entry, 0), 0);
}

}  // namespace
