// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/undo/movingDisk.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/RunDir.h"

namespace {

/// A folder "run" that is cleared into "store".
class MovingDiskTest : public ::testing::Test {
protected:
    MovingDiskTest() { m_dir.folder("run"); }

    std::string run(const std::string& name) const { return m_dir.path("run/" + name); }

    test::RunDir m_dir;
};

TEST_F(MovingDiskTest, MovesAsideWhatIsRemoved) {
    m_dir.mark("run/a", "text");
    workbench::MovingDisk disk(m_dir.path("run"), m_dir.path("store"));
    EXPECT_TRUE(HUTFile(run("a")).rm());
    EXPECT_FALSE(m_dir.has("run/a"));
    EXPECT_EQ(m_dir.read("store/a"), "text");
    EXPECT_EQ(disk.movedCount(), 1U);
    EXPECT_EQ(disk.movedBytes(), 4U);
}

TEST_F(MovingDiskTest, MovesFoldersWithAllThatIsInThem) {
    m_dir.folder("run/deep/er");
    m_dir.folder("run/deep/empty");
    m_dir.mark("run/deep/er/a", "text");
    const workbench::MovingDisk disk(m_dir.path("run"), m_dir.path("store"));
    EXPECT_TRUE(HUTFile(run("deep")).rmRecursive());
    EXPECT_FALSE(m_dir.has("run/deep"));
    EXPECT_EQ(m_dir.read("store/deep/er/a"), "text");
    EXPECT_TRUE(HUTFile(m_dir.path("store/deep/empty")).isDir());
}

TEST_F(MovingDiskTest, MovesFoldersThatAreReachedByAnotherWay) {
    ASSERT_EQ(::symlink(m_dir.path("run").c_str(), m_dir.path("way").c_str()), 0);
    m_dir.folder("run/deep");
    m_dir.mark("run/deep/a", "text");
    const workbench::MovingDisk disk(m_dir.path("way"), m_dir.path("store"));
    EXPECT_TRUE(HUTFileUtils::removeBelow(m_dir.path("way"), "deep"));
    EXPECT_EQ(m_dir.read("store/deep/a"), "text");
}

TEST_F(MovingDiskTest, MovesLinksAsLinks) {
    m_dir.mark("other", "mine");
    ASSERT_EQ(::symlink(m_dir.path("other").c_str(), run("a").c_str()), 0);
    const workbench::MovingDisk disk(m_dir.path("run"), m_dir.path("store"));
    EXPECT_TRUE(HUTFile(run("a")).rm());
    struct stat info {};
    ASSERT_EQ(::lstat(m_dir.path("store/a").c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    EXPECT_EQ(m_dir.read("other"), "mine");
}

TEST_F(MovingDiskTest, RemovesWhatLiesElsewhere) {
    m_dir.mark("other", "mine");
    m_dir.mark("runaway", "mine");
    workbench::MovingDisk disk(m_dir.path("run"), m_dir.path("store"));
    EXPECT_TRUE(HUTFile(m_dir.path("other")).rm());
    EXPECT_TRUE(HUTFile(m_dir.path("run/../runaway")).rm());
    EXPECT_FALSE(m_dir.has("other"));
    EXPECT_FALSE(m_dir.has("runaway"));
    EXPECT_EQ(disk.movedCount(), 0U);
}

TEST_F(MovingDiskTest, ToldNothingIsThereSaysSo) {
    workbench::MovingDisk disk(m_dir.path("run"), m_dir.path("store"));
    EXPECT_TRUE(HUTFile(run("none")).rm());
    EXPECT_FALSE(m_dir.has("store"));
    EXPECT_EQ(disk.failure(), "");
}

TEST_F(MovingDiskTest, KeepsWhatIsReplaced) {
    m_dir.mark("run/a", "old");
    workbench::MovingDisk disk(m_dir.path("run"), m_dir.path("store"));
    disk.keep("a");
    disk.keep("none");
    HUTFileUtils::replaceFile(run("a"), "new");
    EXPECT_EQ(m_dir.read("run/a"), "new");
    EXPECT_EQ(m_dir.read("store/a"), "old");
    EXPECT_EQ(disk.movedCount(), 1U);
}

TEST_F(MovingDiskTest, RemovesWhatItKept) {
    m_dir.mark("run/a", "old");
    workbench::MovingDisk disk(m_dir.path("run"), m_dir.path("store"));
    disk.keep("a");
    EXPECT_TRUE(HUTFile(run("a")).rm());
    EXPECT_FALSE(m_dir.has("run/a"));
    EXPECT_EQ(m_dir.read("store/a"), "old");
}

TEST_F(MovingDiskTest, RemovesWhatCannotBeMovedAndSaysWhy) {
    m_dir.mark("run/a", "text");
    test::FaultyDisk faulty;
    faulty.failAll("rename", EXDEV);
    workbench::MovingDisk disk(m_dir.path("run"), m_dir.path("store"));
    EXPECT_TRUE(HUTFile(run("a")).rm());
    EXPECT_FALSE(m_dir.has("run/a"));
    EXPECT_EQ(disk.failure(), run("a") + ": Invalid cross-device link");
}

TEST_F(MovingDiskTest, RemovesNothingThatMustMoveAndCannot) {
    m_dir.mark("run/a", "text");
    test::FaultyDisk faulty;
    faulty.failAll("rename", EXDEV);
    workbench::MovingDisk disk(m_dir.path("run"), m_dir.path("store"), {true, false});
    EXPECT_FALSE(HUTFile(run("a")).rm());
    EXPECT_EQ(m_dir.read("run/a"), "text");
    EXPECT_EQ(disk.failure(), run("a") + ": Invalid cross-device link");
}

TEST_F(MovingDiskTest, LeavesTheOlderOneWhereThatStays) {
    m_dir.mark("run/a", "newer");
    m_dir.mark("run/b", "text");
    m_dir.folder("store");
    m_dir.mark("store/a", "older");
    workbench::MovingDisk disk(m_dir.path("run"), m_dir.path("store"), {false, true});
    EXPECT_TRUE(HUTFile(run("a")).rm());
    EXPECT_TRUE(HUTFile(run("b")).rm());
    EXPECT_FALSE(m_dir.has("run/a"));
    EXPECT_EQ(m_dir.read("store/a"), "older");
    EXPECT_EQ(m_dir.read("store/b"), "text");
}

/// Goes as one does who opened a folder that was then moved away.
TEST_F(MovingDiskTest, MovesNothingThroughALinkInThePlaceOfAFolder) {
    m_dir.folder("run/deep");
    m_dir.folder("outside");
    m_dir.mark("run/deep/a", "mine");
    m_dir.mark("outside/a", "precious");
    const workbench::MovingDisk disk(m_dir.path("run"), m_dir.path("store"));
    const int folder = ::open(run("deep").c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(folder, 0);
    ASSERT_EQ(::rename(run("deep").c_str(), run("away").c_str()), 0);
    ASSERT_EQ(::symlink(m_dir.path("outside").c_str(), run("deep").c_str()), 0);
    EXPECT_EQ(files::disk().unlinkAt(folder, "a", 0), 0);
    ::close(folder);
    EXPECT_EQ(m_dir.read("outside/a"), "precious");
    EXPECT_FALSE(m_dir.has("run/away/a"));
    EXPECT_EQ(m_dir.read("store/away/a"), "mine");
}

}  // namespace
