// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/files/HUTFile.h"

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "tests/support/RunDir.h"

namespace {

using ::testing::IsEmpty;

class FileTest : public ::testing::Test {
protected:
    HUTFile file(const std::string& name) const { return HUTFile(m_dir.path(name)); }

    unsigned mode(const std::string& name) const {
        struct stat status = {};
        EXPECT_EQ(::stat(m_dir.path(name).c_str(), &status), 0);
        return status.st_mode & 07777U;
    }

    void setMode(const std::string& name, unsigned mode) const {
        ASSERT_EQ(::chmod(m_dir.path(name).c_str(), mode), 0);
    }

    void link(const std::string& to, const std::string& name) const {
        ASSERT_EQ(::symlink(to.c_str(), m_dir.path(name).c_str()), 0);
    }

    void pipe(const std::string& name) const {
        ASSERT_EQ(::mkfifo(m_dir.path(name).c_str(), 0600), 0);
    }

    test::RunDir m_dir;
};

TEST_F(FileTest, ExistsAsFileAndAsFolder) {
    m_dir.mark("a");
    m_dir.folder("b");
    EXPECT_TRUE(file("a").exists());
    EXPECT_TRUE(file("b").exists());
    EXPECT_TRUE(HUTFile::exists(m_dir.path("a")));
    EXPECT_FALSE(file("c").exists());
    EXPECT_FALSE(HUTFile::exists(m_dir.path("c")));
}

TEST_F(FileTest, DoesNotExistWithoutAName) {
    EXPECT_FALSE(file("").exists());
    EXPECT_FALSE(HUTFile::exists(m_dir.path("")));
    EXPECT_FALSE(HUTFile::exists(""));
    EXPECT_FALSE(file("").isFile());
}

TEST_F(FileTest, IsAFolderAlsoWithASeparatorAtItsEnd) {
    EXPECT_TRUE(file("").isDir());
    EXPECT_TRUE(HUTFile(m_dir.path()).isDir());
}

TEST_F(FileTest, FollowsLinksWhenItIsLookedAt) {
    m_dir.mark("a", "abc");
    link("a", "link");
    link("nowhere", "broken");
    EXPECT_TRUE(file("link").isFile());
    EXPECT_EQ(file("link").size(), 3);
    EXPECT_FALSE(file("broken").exists());
}

TEST_F(FileTest, TellsFilesFromFoldersAndPipes) {
    m_dir.mark("a");
    m_dir.folder("b");
    pipe("p");
    EXPECT_TRUE(file("a").isFile());
    EXPECT_TRUE(HUTFile::isFile(m_dir.path("a")));
    EXPECT_FALSE(file("a").isDir());
    EXPECT_FALSE(file("b").isFile());
    EXPECT_TRUE(file("b").isDir());
    EXPECT_FALSE(file("p").isFile());
    EXPECT_TRUE(file("p").exists());
}

TEST_F(FileTest, HasTheSizeOfItsContent) {
    m_dir.mark("a", "12345");
    m_dir.folder("b");
    EXPECT_EQ(file("a").size(), 5);
    EXPECT_EQ(file("b").size(), 0);
    EXPECT_EQ(file("c").size(), 0);
}

TEST_F(FileTest, GivesItsTimeInWholeSeconds) {
    m_dir.mark("a");
    m_dir.touch("a", 1000000001);
    long seconds = 7;
    EXPECT_TRUE(file("a").getLastMod(seconds));
    EXPECT_EQ(seconds, 1000000001);
}

TEST_F(FileTest, LeavesTheTimeAloneWhenItCanNotBeRead) {
    long seconds = 7;
    EXPECT_FALSE(file("a").getLastMod(seconds));
    EXPECT_EQ(seconds, 7);
}

TEST_F(FileTest, GivesAStampForFilesOnly) {
    m_dir.mark("a");
    m_dir.touch("a", 1000000001);
    m_dir.folder("b");
    long seconds = 7;
    EXPECT_FALSE(HUTFile::getFileStamp(m_dir.path("b").c_str(), seconds));
    EXPECT_FALSE(HUTFile::getFileStamp(m_dir.path("c").c_str(), seconds));
    EXPECT_EQ(seconds, 7);
    EXPECT_TRUE(HUTFile::getFileStamp(m_dir.path("a").c_str(), seconds));
    EXPECT_EQ(seconds, 1000000001);
}

TEST_F(FileTest, GivesTheSizeWithTheStamp) {
    m_dir.mark("a", "12345");
    m_dir.touch("a", 1000000001);
    long seconds = 7;
    long size = 8;
    EXPECT_FALSE(HUTFile::getFileStamp(m_dir.path("c").c_str(), seconds, size));
    EXPECT_EQ(seconds, 7);
    EXPECT_EQ(size, 8);
    EXPECT_TRUE(HUTFile::getFileStamp(m_dir.path("a").c_str(), seconds, size));
    EXPECT_EQ(seconds, 1000000001);
    EXPECT_EQ(size, 5);
}

TEST_F(FileTest, MakesAFolder) {
    EXPECT_TRUE(file("a").mkDir());
    EXPECT_TRUE(file("a").isDir());
    EXPECT_TRUE(file("a").mkDir());
}

TEST_F(FileTest, MakesNoFolderBelowOneThatIsMissing) {
    EXPECT_FALSE(file("a/b").mkDir());
}

TEST_F(FileTest, MakesFoldersBelowEachOther) {
    EXPECT_TRUE(file("a/b/c").mkDirRecursive());
    EXPECT_TRUE(file("a/b/c").isDir());
    EXPECT_TRUE(file("a/b/c").mkDirRecursive());
    EXPECT_TRUE(file("d/e/").mkDirRecursive());
    EXPECT_TRUE(file("d/e").isDir());
}

TEST_F(FileTest, MakesNoFolderWhereAFileIs) {
    m_dir.mark("a");
    EXPECT_FALSE(file("a").mkDir());
    EXPECT_FALSE(file("a").mkDirRecursive());
    EXPECT_FALSE(file("a/b").mkDirRecursive());
    EXPECT_FALSE(HUTFile("").mkDirRecursive());
}

TEST_F(FileTest, IsRemoved) {
    m_dir.mark("a");
    EXPECT_TRUE(file("a").rm());
    EXPECT_FALSE(m_dir.has("a"));
}

TEST_F(FileTest, IsRemovedWhenNothingIsThere) {
    EXPECT_TRUE(file("a").rm());
    EXPECT_TRUE(file("a/b").rm());
}

TEST_F(FileTest, KeepsFoldersWhenOneFileIsToGo) {
    m_dir.folder("a");
    EXPECT_FALSE(file("a").rm());
    EXPECT_FALSE(file("").rm());
    EXPECT_FALSE(HUTFile("").rm());
    EXPECT_TRUE(m_dir.has("a"));
}

TEST_F(FileTest, RemovesALinkAndNotWhatItLeadsTo) {
    m_dir.mark("a");
    m_dir.folder("b");
    link("a", "toFile");
    link("b", "toFolder");
    EXPECT_TRUE(file("toFile").rm());
    EXPECT_TRUE(file("toFolder").rm());
    EXPECT_TRUE(m_dir.has("a"));
    EXPECT_TRUE(m_dir.has("b"));
    EXPECT_FALSE(m_dir.has("toFile"));
    EXPECT_FALSE(m_dir.has("toFolder"));
}

TEST_F(FileTest, MayBeExecutedByThoseWhoMayReadIt) {
    m_dir.mark("a");
    setMode("a", 0640);
    EXPECT_TRUE(file("a").mkExecutable());
    EXPECT_EQ(mode("a"), 0750U);
    EXPECT_TRUE(file("a").mkExecutable());
    EXPECT_EQ(mode("a"), 0750U);
}

TEST_F(FileTest, CanNotBeExecutedWhenItIsMissing) {
    EXPECT_FALSE(file("a").mkExecutable());
}

TEST_F(FileTest, CountsHiddenEntriesToo) {
    m_dir.mark("a");
    m_dir.mark(".hidden");
    m_dir.folder("b/deep");
    EXPECT_EQ(HUTFile(m_dir.path()).fileCount(), 3);
    EXPECT_EQ(file("").fileCount(), 3);
}

TEST_F(FileTest, CountsNothingWhereNoFolderIs) {
    m_dir.mark("a");
    EXPECT_EQ(file("a").fileCount(), 0);
    EXPECT_EQ(file("missing").fileCount(), 0);
    EXPECT_EQ(HUTFile("").fileCount(), 0);
}

std::multiset<std::string> walk(const HUTFile& folder) {
    std::multiset<std::string> paths;
    const std::unique_ptr<HSTFwdIter<HUTFile>> entries(folder.createFileIter());
    while (entries->hasNext()) {
        std::string path;
        entries->next().getFullPath(path);
        paths.insert(path);
    }
    return paths;
}

TEST_F(FileTest, GivesItsEntriesWithTheirPaths) {
    m_dir.mark("a b");
    m_dir.mark(".hidden\n\"'");
    m_dir.folder("b");
    const std::set<std::string> expected = {m_dir.path("a b"), m_dir.path(".hidden\n\"'"),
                                            m_dir.path("b")};
    EXPECT_EQ(walk(HUTFile(m_dir.path())),
              std::multiset<std::string>(expected.begin(), expected.end()));
    EXPECT_EQ(walk(file("")), walk(HUTFile(m_dir.path())));
}

TEST_F(FileTest, GivesItsEntriesInTheHostsOrder) {
    for (const char* name : {"one", "two", "three", "four", "five"})
        m_dir.mark(name);
    std::vector<std::string> host;
    for (const auto& entry : std::filesystem::directory_iterator(m_dir.path()))
        host.push_back(entry.path().filename().string());
    std::vector<std::string> ours;
    const std::unique_ptr<HSTFwdIter<HUTFile>> entries(HUTFile(m_dir.path()).createFileIter());
    while (entries->hasNext()) {
        ours.emplace_back();
        entries->next().getName(ours.back());
    }
    EXPECT_EQ(ours, host);
}

TEST_F(FileTest, HasNoEntriesWhereNoFolderIs) {
    m_dir.mark("a");
    EXPECT_THAT(walk(file("a")), IsEmpty());
    EXPECT_THAT(walk(file("missing")), IsEmpty());
    m_dir.folder("empty");
    EXPECT_THAT(walk(file("empty")), IsEmpty());
}

TEST_F(FileTest, LetsEntriesGoWhileTheyAreWalked) {
    for (const char* name : {"one", "two", "three"})
        m_dir.mark(name);
    const std::unique_ptr<HSTFwdIter<HUTFile>> entries(HUTFile(m_dir.path()).createFileIter());
    int removed = 0;
    for (; entries->hasNext(); ++removed)
        EXPECT_TRUE(entries->next().rm());
    EXPECT_EQ(removed, 3);
    EXPECT_EQ(HUTFile(m_dir.path()).fileCount(), 0);
}

TEST_F(FileTest, MayLeaveAWalkHalfWay) {
    m_dir.mark("one");
    m_dir.mark("two");
    const std::unique_ptr<HSTFwdIter<HUTFile>> entries(HUTFile(m_dir.path()).createFileIter());
    EXPECT_TRUE(entries->next().isFile());
    EXPECT_TRUE(entries->hasNext());
}

}  // namespace
