// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/RunDir.h"

namespace {

namespace fs = std::filesystem;

/// A folder "run" that is removed, beside a folder "outside" that must stay.
class RemoveTreeTest : public ::testing::Test {
protected:
    RemoveTreeTest() {
        m_dir.folder("run/deep/deeper");
        m_dir.mark("run/a");
        m_dir.mark("run/.hidden");
        m_dir.mark("run/deep/deeper/b");
        m_dir.folder("outside");
        m_dir.mark("outside/precious");
    }

    void TearDown() override { EXPECT_TRUE(m_dir.has("outside/precious")); }

    bool remove(const std::string& name) const { return HUTFile(m_dir.path(name)).rmRecursive(); }

    void link(const std::string& to, const std::string& name) const {
        ASSERT_EQ(::symlink(to.c_str(), m_dir.path(name).c_str()), 0);
    }

    test::RunDir m_dir;
};

TEST_F(RemoveTreeTest, RemovesAFolderWithAllThatIsInIt) {
    EXPECT_TRUE(remove("run"));
    EXPECT_FALSE(m_dir.has("run"));
}

TEST_F(RemoveTreeTest, RemovesAFile) {
    EXPECT_TRUE(remove("run/a"));
    EXPECT_FALSE(m_dir.has("run/a"));
    EXPECT_TRUE(m_dir.has("run/.hidden"));
}

TEST_F(RemoveTreeTest, IsDoneWhereNothingIs) {
    EXPECT_TRUE(remove("missing"));
    EXPECT_TRUE(remove("missing/deep"));
}

TEST_F(RemoveTreeTest, RemovesNothingWithoutAName) {
    EXPECT_FALSE(remove("run/"));
    EXPECT_FALSE(HUTFile("").rmRecursive());
    EXPECT_TRUE(m_dir.has("run/a"));
}

TEST_F(RemoveTreeTest, RemovesLinksAndNotWhatTheyLeadTo) {
    link(m_dir.path("outside"), "run/deep/link");
    link("../outside/precious", "run/toFile");
    link("nowhere", "run/broken");
    EXPECT_TRUE(remove("run"));
    EXPECT_FALSE(m_dir.has("run"));
}

TEST_F(RemoveTreeTest, RemovesALinkToAFolderAndNotTheFolder) {
    link("outside", "link");
    EXPECT_TRUE(remove("link"));
    EXPECT_FALSE(m_dir.has("link"));
    link("outside", "link");
    EXPECT_FALSE(remove("link/"));
    EXPECT_TRUE(m_dir.has("link"));
}

TEST_F(RemoveTreeTest, RefusesToGoUp) {
    EXPECT_FALSE(remove("run/../outside"));
    EXPECT_FALSE(remove("run/.."));
    EXPECT_FALSE(remove("run/."));
    EXPECT_TRUE(m_dir.has("run/a"));
}

TEST_F(RemoveTreeTest, RefusesTheRoot) {
    EXPECT_FALSE(HUTFile("/").rmRecursive());
    EXPECT_FALSE(HUTFile("//").rmRecursive());
}

TEST_F(RemoveTreeTest, RemovesHostileNames) {
    const std::string names[] = {"a b", "-rf", "new\nline", "*", "'\"$(x)`", "\xff\xfe"};
    for (const std::string& name : names) {
        const fs::path folder = fs::path("run") / name;
        m_dir.folder(folder.string());
        m_dir.mark((folder / name).string());
    }
    EXPECT_TRUE(remove("run"));
    EXPECT_FALSE(m_dir.has("run"));
}

TEST_F(RemoveTreeTest, RemovesFoldersNestedDeeperThanAPathMayBe) {
    const std::string name(200, 'n');
    const fs::path start = fs::current_path();
    fs::current_path(m_dir.path("run"));
    for (int level = 0; level < 60; ++level) {
        fs::create_directory(name);
        fs::current_path(name);
    }
    fs::current_path(start);
    EXPECT_TRUE(remove("run"));
    EXPECT_FALSE(m_dir.has("run"));
}

/// Exchanges a folder for a link to another place and back, without end.
class Exchanger {
public:
    Exchanger(const std::string& folder, const std::string& link, const std::string& target)
        : m_thread([this, folder, link, target] {
              while (m_going)
                  exchange_(folder, link, target);
          }) {}
    ~Exchanger() {
        m_going = false;
        m_thread.join();
    }

    int exchanges() const { return m_exchanges; }

private:
    void exchange_(const std::string& folder, const std::string& link, const std::string& target) {
        if (::renameat2(AT_FDCWD, folder.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE) == 0)
            ++m_exchanges;
        std::error_code ignored;
        if (!fs::is_symlink(fs::symlink_status(folder, ignored))) {
            fs::remove_all(link, ignored);
            fs::create_directory_symlink(target, link, ignored);
        }
    }

    std::atomic<bool> m_going{true};
    std::atomic<int> m_exchanges{0};
    std::thread m_thread;
};

TEST_F(RemoveTreeTest, IsNotLedOutsideByWhoExchangesFoldersForLinks) {
    const Exchanger stranger(m_dir.path("run/deep"), m_dir.path("trap"), m_dir.path("outside"));
    for (int i = 0; i < 200 || stranger.exchanges() < 20; ++i) {
        std::error_code exists;
        fs::create_directories(m_dir.path("run/deep"), exists);
        fs::create_directories(m_dir.path("run/deep/deeper"), exists);
        remove("run");
    }
    fs::remove_all(m_dir.path("outside/deeper"));
}

/// Names below "run" are removed.
class RemoveBelowTest : public RemoveTreeTest {
protected:
    bool removeBelow(const std::string& name) const {
        return HUTFileUtils::removeBelow(m_dir.path("run"), name);
    }
};

TEST_F(RemoveBelowTest, RemovesFilesAndFolders) {
    EXPECT_TRUE(removeBelow("a"));
    EXPECT_TRUE(removeBelow("deep/deeper/b"));
    EXPECT_FALSE(m_dir.has("run/a"));
    EXPECT_FALSE(m_dir.has("run/deep/deeper/b"));
    EXPECT_TRUE(removeBelow("deep"));
    EXPECT_FALSE(m_dir.has("run/deep"));
    EXPECT_TRUE(m_dir.has("run/.hidden"));
}

TEST_F(RemoveBelowTest, IsDoneWhereNothingIs) {
    EXPECT_TRUE(removeBelow("missing"));
    EXPECT_TRUE(removeBelow("missing/deep"));
    EXPECT_TRUE(HUTFileUtils::removeBelow(m_dir.path("missing"), "a"));
}

TEST_F(RemoveBelowTest, FollowsNoLinkOnItsWay) {
    link(m_dir.path("outside"), "run/link");
    EXPECT_FALSE(removeBelow("link/precious"));
    EXPECT_TRUE(removeBelow("link"));
    EXPECT_FALSE(m_dir.has("run/link"));
}

TEST_F(RemoveBelowTest, StaysBelow) {
    const std::string outside[] = {
        "", ".", "..", "../outside", "deep/../../outside", "a/", m_dir.path("outside")};
    for (const std::string& name : outside)
        EXPECT_FALSE(removeBelow(name)) << name;
    EXPECT_TRUE(m_dir.has("run/a"));
}

/// Brings the current folder and HOME back.
class ProtectedFolderTest : public RemoveTreeTest {
protected:
    void TearDown() override {
        fs::current_path(m_start);
        ::setenv("HOME", m_home.c_str(), 1);
        RemoveTreeTest::TearDown();
    }

    fs::path m_start = fs::current_path();
    std::string m_home = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "/";
};

TEST_F(ProtectedFolderTest, KeepsTheCurrentFolderAndThoseAbove) {
    fs::current_path(m_dir.path("run/deep/deeper"));
    EXPECT_FALSE(remove("run"));
    EXPECT_FALSE(remove("run/deep"));
    EXPECT_FALSE(remove("run/deep/deeper"));
    EXPECT_TRUE(m_dir.has("run/deep/deeper/b"));
}

TEST_F(ProtectedFolderTest, KeepsTheHomeFolderAndThoseAbove) {
    link("run/deep", "home");
    ::setenv("HOME", m_dir.path("home").c_str(), 1);
    EXPECT_FALSE(remove("run"));
    EXPECT_FALSE(remove("run/deep"));
    EXPECT_TRUE(m_dir.has("run/deep/deeper/b"));
    EXPECT_TRUE(remove("run/deep/deeper"));
}

TEST_F(RemoveTreeTest, TellsThatSomethingStayed) {
    int failures = 0;
    for (int number = 1;; ++number) {
        m_dir.folder("run/deep");
        m_dir.mark("run/deep/a");
        m_dir.mark("run/b");
        test::FaultyDisk disk;
        disk.failOnce(number, EACCES);
        const bool gone = remove("run");
        if (!disk.hasFailed())
            break;
        ++failures;
        EXPECT_EQ(gone, !m_dir.has("run")) << "call " << number;
    }
    EXPECT_GE(failures, 5);
}

TEST_F(RemoveTreeTest, IsDoneWhenSomeoneElseIsFasterAtAnyMoment) {
    int calls = 0;
    {
        const test::FaultyDisk disk;
        EXPECT_TRUE(remove("run"));
        calls = disk.calls();
    }
    for (int call = 1; call <= calls; ++call) {
        m_dir.folder("run/deep/deeper");
        m_dir.mark("run/a");
        m_dir.mark("run/.hidden");
        m_dir.mark("run/deep/deeper/b");
        test::FaultyDisk disk;
        disk.doAt(call, [this] { fs::remove_all(m_dir.path("run")); });
        EXPECT_TRUE(remove("run")) << "call " << call;
        EXPECT_FALSE(m_dir.has("run")) << "call " << call;
    }
}

TEST_F(RemoveTreeTest, GoesOnBesideWhatStays) {
    m_dir.mark("run/c");
    test::FaultyDisk disk;
    disk.failAll("openAt", EACCES);
    EXPECT_FALSE(remove("run"));
    disk.failOnce(0, 0);
    // The first removal inside the folder fails: open the parent, try as a
    // file, open the folder, remove.
    disk.failOnce(4, EBUSY);
    EXPECT_FALSE(remove("run"));
    EXPECT_TRUE(disk.hasFailed());
    EXPECT_EQ(HUTFile(m_dir.path("run")).fileCount(), 1);
}

}  // namespace
