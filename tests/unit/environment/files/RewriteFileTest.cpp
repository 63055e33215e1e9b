// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <cerrno>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/RunDir.h"

namespace {

/// The generated file "runme.sh".
class RewriteFileTest : public ::testing::Test {
protected:
    bool write(const std::string& content, bool executable = false) const {
        return HUTFileUtils::rewriteFile(m_dir.path("runme.sh"), content, executable);
    }

    std::string content() const { return m_dir.read("runme.sh"); }

    struct stat look(const std::string& name = "runme.sh") const {
        struct stat status = {};
        EXPECT_EQ(::lstat(m_dir.path(name).c_str(), &status), 0);
        return status;
    }

    unsigned mode() const { return look().st_mode & 07777U; }

    void setMode(unsigned mode) const {
        ASSERT_EQ(::chmod(m_dir.path("runme.sh").c_str(), mode), 0);
    }

    test::RunDir m_dir;
};

TEST_F(RewriteFileTest, MakesANewFile) {
    m_dir.mark("other");
    EXPECT_TRUE(write("new"));
    EXPECT_EQ(content(), "new");
    EXPECT_EQ(mode(), look("other").st_mode & 07777U);
}

TEST_F(RewriteFileTest, MakesANewFileExecutableForThoseWhoMayReadIt) {
    m_dir.mark("other");
    EXPECT_TRUE(write("new", true));
    const unsigned plain = look("other").st_mode & 07777U;
    EXPECT_EQ(mode(), plain | ((plain & 0444U) >> 2U));
}

TEST_F(RewriteFileTest, KeepsTheModeThatIsThere) {
    m_dir.mark("runme.sh", "old");
    setMode(0606);
    EXPECT_TRUE(write("new"));
    EXPECT_EQ(mode(), 0606U);
}

TEST_F(RewriteFileTest, MakesAFileExecutableThatIsThere) {
    m_dir.mark("runme.sh", "same");
    setMode(0640);
    EXPECT_TRUE(write("same", true));
    EXPECT_EQ(mode(), 0750U);
}

TEST_F(RewriteFileTest, LeavesNothingOfALongerContent) {
    m_dir.mark("runme.sh", "a longer content");
    EXPECT_TRUE(write("short"));
    EXPECT_EQ(content(), "short");
}

TEST_F(RewriteFileTest, GrowsAShorterContent) {
    m_dir.mark("runme.sh", "short");
    EXPECT_TRUE(write("a longer content"));
    EXPECT_EQ(content(), "a longer content");
}

TEST_F(RewriteFileTest, ReplacesContentOfEqualSize) {
    m_dir.mark("runme.sh", "old");
    EXPECT_TRUE(write("new"));
    EXPECT_EQ(content(), "new");
}

TEST_F(RewriteFileTest, EmptiesTheFile) {
    m_dir.mark("runme.sh", "old");
    EXPECT_TRUE(write(""));
    EXPECT_EQ(content(), "");
}

TEST_F(RewriteFileTest, DoesNotWriteWhatIsThereAlready) {
    m_dir.mark("runme.sh", "same");
    m_dir.touch("runme.sh", 1000000001);
    EXPECT_TRUE(write("same"));
    EXPECT_EQ(look().st_mtime, 1000000001);
}

TEST_F(RewriteFileTest, NeverEmptiesAFileThatItFills) {
    m_dir.mark("runme.sh", "a longer content");
    const test::FaultyDisk disk;
    EXPECT_TRUE(write("short"));
    const auto& calls = disk.names();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "sync"), 0);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "rename"), 0);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "unlinkAt"), 0);
}

TEST_F(RewriteFileTest, ReplacesALinkAndNotWhatItLeadsTo) {
    m_dir.mark("other", "old");
    ASSERT_EQ(::symlink("other", m_dir.path("runme.sh").c_str()), 0);
    EXPECT_TRUE(write("new"));
    EXPECT_EQ(m_dir.read("other"), "old");
    EXPECT_TRUE(S_ISREG(look().st_mode));
    EXPECT_EQ(content(), "new");
}

TEST_F(RewriteFileTest, LeavesOtherNamesOfTheFileAlone) {
    m_dir.mark("other", "old");
    ASSERT_EQ(::link(m_dir.path("other").c_str(), m_dir.path("runme.sh").c_str()), 0);
    setMode(0606);
    EXPECT_TRUE(write("new"));
    EXPECT_EQ(m_dir.read("other"), "old");
    EXPECT_EQ(content(), "new");
    EXPECT_EQ(mode(), 0606U);
}

TEST_F(RewriteFileTest, ReplacesAPipeWithoutWaiting) {
    ASSERT_EQ(::mkfifo(m_dir.path("runme.sh").c_str(), 0600), 0);
    EXPECT_TRUE(write("new"));
    EXPECT_TRUE(S_ISREG(look().st_mode));
    EXPECT_EQ(content(), "new");
}

TEST_F(RewriteFileTest, FailsQuietlyWhereItCanNotWrite) {
    m_dir.folder("runme.sh");
    EXPECT_FALSE(write("new"));
    EXPECT_FALSE(HUTFileUtils::rewriteFile(m_dir.path("missing/a"), "new", false));
    EXPECT_FALSE(HUTFileUtils::rewriteFile(m_dir.path(""), "new", false));
    EXPECT_FALSE(HUTFileUtils::rewriteFile("", "new", false));
}

TEST_F(RewriteFileTest, WritesTheContentOfAFileWhoseModeCanNotBeChanged) {
    m_dir.mark("runme.sh", "old");
    setMode(0664);
    test::FaultyDisk disk;
    disk.failAll("setMode", EPERM);
    EXPECT_FALSE(write("new", true));
    EXPECT_EQ(content(), "new");
}

TEST_F(RewriteFileTest, WritesAllHoweverShortTheWrites) {
    test::FaultyDisk disk;
    disk.shorten(1);
    EXPECT_TRUE(write("a longer content"));
    EXPECT_EQ(content(), "a longer content");
}

TEST_F(RewriteFileTest, LeavesABeginningOfTheNewContentOnAFullDisk) {
    m_dir.mark("runme.sh", "the old content of it");
    test::FaultyDisk disk;
    disk.shorten(4);
    ASSERT_TRUE(write("THE NEW CONTENT"));
    const auto& calls = disk.names();
    const auto write1 = std::find(calls.begin(), calls.end(), "write") - calls.begin();
    m_dir.mark("runme.sh", "the old content of it");
    disk.failOnce(static_cast<int>(write1) + 2, ENOSPC);
    EXPECT_FALSE(write("THE NEW CONTENT"));
    EXPECT_EQ(content(), "THE ");
}

TEST_F(RewriteFileTest, NeverMixesOldAndNewWhateverFails) {
    const std::string oldContent = "the old content of it";
    const std::string newContent = "THE NEW CONTENT";
    int failures = 0;
    for (int number = 1;; ++number) {
        m_dir.mark("runme.sh", oldContent);
        test::FaultyDisk disk;
        disk.shorten(4);
        disk.failOnce(number, EIO);
        const bool written = write(newContent);
        if (!disk.hasFailed())
            break;
        ++failures;
        EXPECT_FALSE(written) << "call " << number;
        EXPECT_TRUE(oldContent.rfind(content(), 0) == 0 || newContent.rfind(content(), 0) == 0)
            << "call " << number << ": " << content();
    }
    EXPECT_GE(failures, 5);
}

}  // namespace
