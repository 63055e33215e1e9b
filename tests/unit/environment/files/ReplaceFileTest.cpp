// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
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

const char* const kOld = "the old content, which is a little longer";
const char* const kNew = "the new content";

/// The file "a.psg" is saved in a folder of its own.
class ReplaceFileTest : public ::testing::Test {
protected:
    void save(const std::string& name = "a.psg") const {
        HUTFileUtils::replaceFile(m_dir.path(name), kNew);
    }

    /// What a save says when it fails, empty when it doesn't.
    std::string complaint(const std::string& name = "a.psg") const {
        try {
            save(name);
        } catch (const HEXUserException& failure) {
            return failure.what();
        }
        return "";
    }

    unsigned mode(const std::string& name) const {
        struct stat status = {};
        EXPECT_EQ(::lstat(m_dir.path(name).c_str(), &status), 0);
        return status.st_mode & 07777U;
    }

    int entries() const { return HUTFile(m_dir.path()).fileCount(); }

    test::RunDir m_dir;
};

TEST_F(ReplaceFileTest, MakesANewFile) {
    m_dir.mark("other");
    save();
    EXPECT_EQ(m_dir.read("a.psg"), kNew);
    EXPECT_EQ(mode("a.psg"), mode("other"));
    EXPECT_EQ(entries(), 2);
}

TEST_F(ReplaceFileTest, ReplacesTheContentAndKeepsTheMode) {
    m_dir.mark("a.psg", kOld);
    ASSERT_EQ(::chmod(m_dir.path("a.psg").c_str(), 0606), 0);
    save();
    EXPECT_EQ(m_dir.read("a.psg"), kNew);
    EXPECT_EQ(mode("a.psg"), 0606U);
    EXPECT_EQ(entries(), 1);
}

TEST_F(ReplaceFileTest, IsSyncedBeforeItTakesItsPlaceAndItsFolderAfterwards) {
    m_dir.mark("a.psg", kOld);
    const test::FaultyDisk disk;
    save();
    const auto& calls = disk.names();
    const auto renamed = std::find(calls.begin(), calls.end(), "rename");
    ASSERT_NE(renamed, calls.end());
    EXPECT_EQ(std::count(calls.begin(), renamed, "sync"), 1);
    EXPECT_EQ(std::count(renamed, calls.end(), "sync"), 1);
}

TEST_F(ReplaceFileTest, ReplacesWhatALinkLeadsTo) {
    m_dir.folder("real");
    m_dir.mark("real/b.psg", kOld);
    ASSERT_EQ(::symlink("real/b.psg", m_dir.path("link").c_str()), 0);
    ASSERT_EQ(::symlink(m_dir.path("link").c_str(), m_dir.path("a.psg").c_str()), 0);
    save();
    EXPECT_EQ(m_dir.read("real/b.psg"), kNew);
    struct stat status = {};
    ASSERT_EQ(::lstat(m_dir.path("a.psg").c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST_F(ReplaceFileTest, MakesTheFileThatALinkLeadsTo) {
    ASSERT_EQ(::symlink("later.psg", m_dir.path("a.psg").c_str()), 0);
    save();
    EXPECT_EQ(m_dir.read("later.psg"), kNew);
}

TEST_F(ReplaceFileTest, RefusesLinksThatLeadInACircle) {
    ASSERT_EQ(::symlink("b.psg", m_dir.path("a.psg").c_str()), 0);
    ASSERT_EQ(::symlink("a.psg", m_dir.path("b.psg").c_str()), 0);
    EXPECT_EQ(complaint(), "Can't save " + m_dir.path("a.psg") +
                               ": Too many levels of symbolic links. What was there is as it "
                               "was; remove the cause and save again.");
}

TEST_F(ReplaceFileTest, NamesFileAndCauseWhenItsFolderIsMissing) {
    EXPECT_EQ(complaint("missing/a.psg"),
              "Can't save " + m_dir.path("missing/a.psg") +
                  ": No such file or directory. What was there is as it was; remove the cause "
                  "and save again.");
}

TEST_F(ReplaceFileTest, RefusesFoldersPipesAndNothing) {
    m_dir.folder("folder");
    ASSERT_EQ(::mkfifo(m_dir.path("pipe").c_str(), 0600), 0);
    EXPECT_NE(complaint("folder"), "");
    EXPECT_NE(complaint("pipe"), "");
    EXPECT_NE(complaint(""), "");
    EXPECT_EQ(entries(), 2);
}

TEST_F(ReplaceFileTest, WorksForNamesAsLongAsTheHostAllows) {
    const std::string name(255, 'n');
    save(name);
    EXPECT_EQ(m_dir.read(name), kNew);
}

TEST_F(ReplaceFileTest, WorksForNamesThatAShellWouldTakeApart) {
    const std::string name = "a b\n'\"$(x)`.psg";
    save(name);
    EXPECT_EQ(m_dir.read(name), kNew);
}

TEST_F(ReplaceFileTest, WritesAllHoweverShortTheWrites) {
    test::FaultyDisk disk;
    disk.shorten(1);
    save();
    EXPECT_EQ(m_dir.read("a.psg"), kNew);
}

TEST_F(ReplaceFileTest, GoesOnAfterAnInterruptedWrite) {
    test::FaultyDisk disk;
    save();
    const auto& calls = disk.names();
    const auto write = std::find(calls.begin(), calls.end(), "write") - calls.begin();
    m_dir.mark("a.psg", kOld);
    disk.failOnce(static_cast<int>(write) + 1, EINTR);
    save();
    EXPECT_TRUE(disk.hasFailed());
    EXPECT_EQ(m_dir.read("a.psg"), kNew);
}

TEST_F(ReplaceFileTest, NoticesADiskThatLosesWhatItTook) {
    m_dir.mark("a.psg", kOld);
    test::FaultyDisk disk;
    disk.loseBytes();
    EXPECT_NE(complaint().find("Input/output error"), std::string::npos);
    EXPECT_EQ(m_dir.read("a.psg"), kOld);
}

/// Whoever reads while others save gets one version or another.
TEST_F(ReplaceFileTest, IsWholeForEveryReaderWhileTwoSaveIt) {
    const std::string versions[] = {std::string(9000, 'a'), std::string(50000, 'b')};
    const std::string path = m_dir.path("a.psg");
    HUTFileUtils::replaceFile(path, versions[0]);
    std::atomic<int> saving{2};
    std::vector<std::thread> savers;
    savers.reserve(2);
    for (const std::string& version : versions) {
        savers.emplace_back([&saving, &path, &version] {
            for (int i = 0; i < 20; ++i)
                HUTFileUtils::replaceFile(path, version);
            --saving;
        });
    }
    int torn = 0;
    while (saving > 0) {
        std::string read;
        const bool isRead = HUTFileUtils::readFile(path, 100000, read);
        torn += isRead && (read == versions[0] || read == versions[1]) ? 0 : 1;
    }
    for (std::thread& saver : savers)
        saver.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(entries(), 1);
}

TEST_F(ReplaceFileTest, SaysThatTheDiskIsFull) {
    m_dir.mark("a.psg", kOld);
    test::FaultyDisk disk;
    disk.failAll("write", ENOSPC);
    EXPECT_EQ(complaint(), "Can't save " + m_dir.path("a.psg") +
                               ": No space left on device. What was there is as it was; remove "
                               "the cause and save again.");
    EXPECT_EQ(m_dir.read("a.psg"), kOld);
    EXPECT_EQ(entries(), 1);
}

TEST_F(ReplaceFileTest, TakesAFolderThatCanNotBeSyncedAsSynced) {
    m_dir.mark("a.psg", kOld);
    test::FaultyDisk disk;
    save();
    disk.failOnce(disk.calls() - 1, EINVAL);  // the sync before the last close
    save();
    EXPECT_TRUE(disk.hasFailed());
}

/// What stands at "a.psg" must fit what the save said.
void expectWhole(const test::RunDir& dir, const std::string& said, int number) {
    if (said.empty() || said.rfind("Saved ", 0) == 0)
        EXPECT_EQ(dir.read("a.psg"), kNew) << "call " << number;
    else
        EXPECT_EQ(dir.read("a.psg"), kOld) << "call " << number;
}

class ReplaceFileFaultTest : public ReplaceFileTest, public ::testing::WithParamInterface<int> {};

TEST_P(ReplaceFileFaultTest, LeavesTheOldFileAloneWhenOneCallFails) {
    int failures = 0;
    for (int number = 1;; ++number) {
        m_dir.mark("a.psg", kOld);
        std::string said;
        {
            test::FaultyDisk disk;
            disk.shorten(4);
            disk.failOnce(number, GetParam());
            said = complaint();
            if (!disk.hasFailed())
                break;
        }
        ++failures;
        expectWhole(m_dir, said, number);
        EXPECT_EQ(entries(), 1) << "call " << number;
    }
    EXPECT_GE(failures, 8);
}

TEST_P(ReplaceFileFaultTest, LeavesAWholeFileWhenTheDiskGoesAway) {
    for (int number = 1;; ++number) {
        m_dir.mark("a.psg", kOld);
        std::string said;
        {
            test::FaultyDisk disk;
            disk.shorten(4);
            disk.failFrom(number, GetParam());
            said = complaint();
            if (!disk.hasFailed())
                break;
        }
        expectWhole(m_dir, said, number);
    }
}

INSTANTIATE_TEST_SUITE_P(Errors, ReplaceFileFaultTest,
                         ::testing::Values(EIO, ENOSPC, EDQUOT, EACCES, EROFS),
                         [](const auto& row) {
                             switch (row.param) {
                             case EIO:
                                 return "Damage";
                             case ENOSPC:
                                 return "FullDisk";
                             case EDQUOT:
                                 return "FullQuota";
                             case EACCES:
                                 return "Refusal";
                             default:
                                 return "ReadOnly";
                             }
                         });

}  // namespace
