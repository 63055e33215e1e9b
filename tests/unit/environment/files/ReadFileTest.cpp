// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/files/HUTFileUtils.h"
#include "environment/files/diskOps.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/RunDir.h"

namespace {

class ReadFileTest : public ::testing::Test {
protected:
    bool read(const std::string& name, std::size_t most = 100) {
        return HUTFileUtils::readFile(m_dir.path(name), most, m_content, m_reason);
    }

    void expectRefused(const std::string& name, const std::string& cause) const {
        EXPECT_EQ(m_reason, m_dir.path(name) + ": " + cause);
        EXPECT_EQ(m_content, "left");
    }

    test::RunDir m_dir;
    std::string m_content = "left";
    std::string m_reason = "none";
};

TEST_F(ReadFileTest, GivesTheWholeContent) {
    m_dir.mark("a", std::string("line\n\0end", 9));
    EXPECT_TRUE(read("a"));
    EXPECT_EQ(m_content, std::string("line\n\0end", 9));
    EXPECT_EQ(m_reason, "none");
}

TEST_F(ReadFileTest, GivesAnEmptyFile) {
    m_dir.mark("a");
    EXPECT_TRUE(read("a"));
    EXPECT_EQ(m_content, "");
}

TEST_F(ReadFileTest, GivesAFileOfTheLargestSize) {
    m_dir.mark("a", std::string(100, 'x'));
    EXPECT_TRUE(read("a"));
    EXPECT_EQ(m_content.size(), 100U);
}

TEST_F(ReadFileTest, RefusesALargerFile) {
    m_dir.mark("a", std::string(101, 'x'));
    EXPECT_FALSE(read("a"));
    expectRefused("a", "Larger than 100 bytes");
}

TEST_F(ReadFileTest, ReadsFilesThatDoNotTellTheirSize) {
    EXPECT_TRUE(HUTFileUtils::readFile("/proc/self/stat", 65536, m_content, m_reason));
    EXPECT_GT(m_content.size(), 20U);
    EXPECT_EQ(m_content.back(), '\n');
}

TEST_F(ReadFileTest, RefusesFilesThatTurnOutLarger) {
    m_content = "left";
    EXPECT_FALSE(HUTFileUtils::readFile("/proc/self/stat", 10, m_content));
    EXPECT_EQ(m_content, "left");
}

TEST_F(ReadFileTest, SaysThatAFileIsMissing) {
    EXPECT_FALSE(read("a"));
    expectRefused("a", "No such file or directory");
}

TEST_F(ReadFileTest, RefusesAPipeWithoutWaiting) {
    ASSERT_EQ(::mkfifo(m_dir.path("a").c_str(), 0600), 0);
    EXPECT_FALSE(read("a"));
    expectRefused("a", "Not a regular file");
}

TEST_F(ReadFileTest, RefusesAFolder) {
    m_dir.folder("a");
    EXPECT_FALSE(read("a"));
    expectRefused("a", "Not a regular file");
}

TEST_F(ReadFileTest, TellsAReadThatFails) {
    m_dir.mark("a", "content");
    test::FaultyDisk disk;
    disk.failAll("read", EIO);
    EXPECT_FALSE(read("a"));
    expectRefused("a", "Input/output error");
}

TEST_F(ReadFileTest, GoesOnAfterShortAndInterruptedReads) {
    m_dir.mark("a", "content");
    test::FaultyDisk disk;
    disk.failOnce(2, EINTR);
    disk.shorten(2);
    EXPECT_TRUE(read("a"));
    EXPECT_TRUE(disk.hasFailed());
    EXPECT_EQ(m_content, "content");
}

TEST_F(ReadFileTest, TellsWhatTheFileThatWasReadIsLike) {
    m_dir.mark("a", "abc");
    ASSERT_EQ(symlink("a", m_dir.path("link").c_str()), 0);
    struct stat info {};
    ASSERT_EQ(stat(m_dir.path("a").c_str(), &info), 0);
    files::Look look;
    EXPECT_TRUE(files::readRegular(m_dir.path("link"), 0, 100, m_content, look));
    EXPECT_EQ(m_content, "abc");
    EXPECT_EQ(look.status.st_ino, info.st_ino);
    EXPECT_EQ(look.status.st_size, 3);
    EXPECT_TRUE(look.isRegular());
}

TEST_F(ReadFileTest, TellsOfAFileThatItDoesNotRead) {
    m_dir.mark("a", "abc");
    ASSERT_EQ(symlink("a", m_dir.path("link").c_str()), 0);
    files::Look look;
    EXPECT_FALSE(files::readRegular(m_dir.path("a"), 0, 2, m_content, look));
    EXPECT_EQ(look.status.st_size, 3);
    EXPECT_EQ(look.error, 0);
    EXPECT_FALSE(files::readRegular(m_dir.path(), 0, 2, m_content, look));
    EXPECT_TRUE(S_ISDIR(look.status.st_mode));
    EXPECT_FALSE(files::readRegular(m_dir.path("link"), O_NOFOLLOW, 100, m_content, look));
    EXPECT_EQ(look.error, ELOOP);
    EXPECT_EQ(look.status.st_ino, 0U);
    EXPECT_FALSE(files::readRegular(m_dir.path("gone"), 0, 100, m_content, look));
    EXPECT_EQ(look.error, ENOENT);
    EXPECT_EQ(m_content, "left");
}

}  // namespace
