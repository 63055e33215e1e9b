// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/RunDir.h"

namespace {

class CreateFileTest : public ::testing::Test {
protected:
    bool create(const std::string& content = "new") const {
        return HUTFileUtils::createFile(m_dir.path("a"), content);
    }

    int entries() const { return HUTFile(m_dir.path()).fileCount(); }

    test::RunDir m_dir;
};

TEST_F(CreateFileTest, TakesANewName) {
    EXPECT_TRUE(create());
    EXPECT_EQ(m_dir.read("a"), "new");
    EXPECT_EQ(entries(), 1);
}

TEST_F(CreateFileTest, LeavesWhatHasTheNameAlready) {
    m_dir.mark("a", "old");
    EXPECT_FALSE(create());
    EXPECT_EQ(m_dir.read("a"), "old");
    EXPECT_EQ(entries(), 1);
}

TEST_F(CreateFileTest, TakesALinkThatLeadsNowhereAsAName) {
    ASSERT_EQ(::symlink("nowhere", m_dir.path("a").c_str()), 0);
    EXPECT_FALSE(create());
    EXPECT_EQ(entries(), 1);
}

TEST_F(CreateFileTest, WorksWhereRenamesAlwaysReplace) {
    test::FaultyDisk disk;
    disk.failAll("renameToNew", EINVAL);
    EXPECT_TRUE(create());
    EXPECT_FALSE(create("other"));
    EXPECT_EQ(m_dir.read("a"), "new");
    EXPECT_EQ(entries(), 1);
}

TEST_F(CreateFileTest, IsWonByOneOfMany) {
    std::atomic<int> winners{0};
    std::vector<std::thread> threads;
    constexpr int kThreads = 8;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([this, &winners] { winners += create() ? 1 : 0; });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(winners, 1);
    EXPECT_EQ(entries(), 1);
}

TEST_F(CreateFileTest, ThrowsWhereNoFolderIs) {
    EXPECT_THROW(HUTFileUtils::createFile(m_dir.path("missing/a"), ""), HEXUserException);
    EXPECT_THROW(HUTFileUtils::createFile(m_dir.path(""), ""), HEXUserException);
}

TEST_F(CreateFileTest, LeavesNothingOrTheWholeFileWhateverFails) {
    int failures = 0;
    for (int number = 1;; ++number) {
        m_dir.unmark("a");
        std::string said;
        test::FaultyDisk disk;
        disk.failOnce(number, EIO);
        try {
            EXPECT_TRUE(create());
        } catch (const HEXUserException& failure) {
            said = failure.what();
        }
        if (!disk.hasFailed())
            break;
        ++failures;
        const bool stands = said.empty() || said.rfind("Saved ", 0) == 0;
        EXPECT_EQ(m_dir.has("a"), stands) << "call " << number;
        EXPECT_EQ(entries(), stands ? 1 : 0) << "call " << number;
    }
    EXPECT_GE(failures, 6);
}

}  // namespace
