// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cerrno>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/files/HUTFile.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/RunDir.h"

namespace {

/// A file "source" of mode 0755 that is copied to "target".
class CopyFileTest : public ::testing::Test {
protected:
    CopyFileTest() {
        m_dir.mark("source", "new");
        setMode("source", 0755);
    }

    bool copy(HUTFile::CopyMode mode = HUTFile::kReplaceExisting) const {
        return HUTFile(m_dir.path("source")).copyTo(m_dir.path("target"), mode);
    }

    void setMode(const std::string& name, unsigned mode) const {
        ASSERT_EQ(::chmod(m_dir.path(name).c_str(), mode), 0);
    }

    struct stat look(const std::string& name) const {
        struct stat status = {};
        EXPECT_EQ(::lstat(m_dir.path(name).c_str(), &status), 0);
        return status;
    }

    test::RunDir m_dir;
};

TEST_F(CopyFileTest, MakesANewFileWithContentAndMode) {
    EXPECT_TRUE(copy());
    EXPECT_EQ(m_dir.read("target"), "new");
    EXPECT_EQ(look("target").st_mode & 07777U, 0755U);
    EXPECT_EQ(HUTFile(m_dir.path()).fileCount(), 2);
}

TEST_F(CopyFileTest, ReplacesAnOlderCopy) {
    m_dir.mark("target", "something older and longer");
    const ino_t before = look("target").st_ino;
    EXPECT_TRUE(copy());
    EXPECT_EQ(m_dir.read("target"), "new");
    EXPECT_EQ(look("target").st_mode & 07777U, 0755U);
    EXPECT_NE(look("target").st_ino, before);
    EXPECT_EQ(HUTFile(m_dir.path()).fileCount(), 2);
}

TEST_F(CopyFileTest, KeepsAnExistingFileWhenTold) {
    m_dir.mark("target", "old");
    EXPECT_FALSE(copy(HUTFile::kKeepExisting));
    EXPECT_EQ(m_dir.read("target"), "old");
    m_dir.unmark("target");
    EXPECT_TRUE(copy(HUTFile::kKeepExisting));
    EXPECT_EQ(m_dir.read("target"), "new");
}

TEST_F(CopyFileTest, WritesNothingOverAnEqualCopy) {
    ASSERT_TRUE(copy());
    const test::FaultyDisk disk;
    const struct stat before = look("target");
    EXPECT_TRUE(copy());
    EXPECT_EQ(look("target").st_ino, before.st_ino);
    for (const std::string& name : disk.names())
        EXPECT_TRUE(name == "openAt" || name == "read" || name == "close") << name;
}

TEST_F(CopyFileTest, ReplacesACopyOfAnotherMode) {
    ASSERT_TRUE(copy());
    setMode("target", 0644);
    EXPECT_TRUE(copy());
    EXPECT_EQ(look("target").st_mode & 07777U, 0755U);
}

TEST_F(CopyFileTest, ReplacesACopyOfEqualSize) {
    m_dir.mark("target", "old");
    setMode("target", 0755);
    EXPECT_TRUE(copy());
    EXPECT_EQ(m_dir.read("target"), "new");
}

TEST_F(CopyFileTest, FailsWithoutASource) {
    m_dir.unmark("source");
    m_dir.mark("target", "old");
    EXPECT_FALSE(copy());
    EXPECT_EQ(m_dir.read("target"), "old");
}

TEST_F(CopyFileTest, FailsForAFolder) {
    m_dir.unmark("source");
    m_dir.folder("source");
    EXPECT_FALSE(copy());
    EXPECT_FALSE(m_dir.has("target"));
}

TEST_F(CopyFileTest, FailsForAPipeWithoutWaiting) {
    m_dir.unmark("source");
    ASSERT_EQ(::mkfifo(m_dir.path("source").c_str(), 0600), 0);
    EXPECT_FALSE(copy());
}

TEST_F(CopyFileTest, DoesNotReplaceAFolder) {
    m_dir.folder("target/content");
    EXPECT_FALSE(copy());
    EXPECT_TRUE(m_dir.has("target/content"));
    EXPECT_FALSE(
        HUTFile(m_dir.path("source")).copyTo(m_dir.path("target/"), HUTFile::kReplaceExisting));
}

TEST_F(CopyFileTest, FailsWhereNoFolderIs) {
    EXPECT_FALSE(HUTFile(m_dir.path("source"))
                     .copyTo(m_dir.path("missing/target"), HUTFile::kReplaceExisting));
}

TEST_F(CopyFileTest, ReplacesALinkAndNotWhatItLeadsTo) {
    m_dir.mark("other", "old");
    ASSERT_EQ(::symlink("other", m_dir.path("target").c_str()), 0);
    EXPECT_TRUE(copy());
    EXPECT_EQ(m_dir.read("other"), "old");
    EXPECT_TRUE(S_ISREG(look("target").st_mode));
}

TEST_F(CopyFileTest, LeavesOtherNamesOfTheTargetAlone) {
    m_dir.mark("other", "new");
    setMode("other", 0755);
    ASSERT_EQ(::link(m_dir.path("other").c_str(), m_dir.path("target").c_str()), 0);
    EXPECT_TRUE(copy());
    EXPECT_NE(look("other").st_ino, look("target").st_ino);
}

TEST_F(CopyFileTest, OntoItselfChangesNothing) {
    EXPECT_TRUE(
        HUTFile(m_dir.path("source")).copyTo(m_dir.path("source"), HUTFile::kReplaceExisting));
    EXPECT_EQ(m_dir.read("source"), "new");
}

TEST_F(CopyFileTest, CopiesLargeFilesPieceByPiece) {
    std::string content(300000, 'x');
    content[299999] = 'y';
    m_dir.mark("source", content);
    test::FaultyDisk disk;
    disk.shorten(70001);
    EXPECT_TRUE(copy());
    EXPECT_EQ(m_dir.read("target"), content);
}

TEST_F(CopyFileTest, LeavesTheOldOrTheNewFileWhateverFails) {
    int failures = 0;
    for (int number = 1;; ++number) {
        m_dir.mark("target", "old");
        test::FaultyDisk disk;
        disk.failOnce(number, EIO);
        const bool copied = copy();
        if (!disk.hasFailed())
            break;
        ++failures;
        EXPECT_EQ(m_dir.read("target"), copied ? "new" : "old") << "call " << number;
        EXPECT_EQ(HUTFile(m_dir.path()).fileCount(), 2) << "call " << number;
    }
    EXPECT_GT(failures, 5);
}

TEST_F(CopyFileTest, LeavesTheOldOrTheNewFileWhenTheDiskGoesAway) {
    for (int number = 1;; ++number) {
        m_dir.mark("target", "old");
        test::FaultyDisk disk;
        disk.failFrom(number, EIO);
        const bool copied = copy();
        if (!disk.hasFailed())
            break;
        EXPECT_EQ(m_dir.read("target"), copied ? "new" : "old") << "call " << number;
    }
}

}  // namespace
