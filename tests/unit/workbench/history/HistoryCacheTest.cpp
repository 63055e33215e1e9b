// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/history/historyCache.h"

#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>

#include "tests/support/FakeClock.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/unit/workbench/history/LaunchedProject.h"
#include "workbench/history/launchLines.h"

namespace {

using test::LaunchedProject;
using workbench::HistoryCache;

/// A project's folder with two files of launches.
class HistoryCacheTest : public ::testing::Test {
protected:
    HistoryCacheTest() {
        m_dir.folder("a");
        m_dir.folder("b");
        add("a", "a1", 100);
        add("a", "a2", 300);
        add("b", "b1", 200);
    }
    void TearDown() override { EXPECT_EQ(m_messages.ids(), std::vector<std::string>{}); }

    std::string linesPath(const std::string& run) const {
        return m_dir.path(run + "/" + workbench::kLaunchesName);
    }
    void add(const std::string& run, const std::string& id, long time) const {
        workbench::addLaunch(linesPath(run), LaunchedProject::record(run, id, time));
    }
    std::vector<HistoryCache::Source> sources() const {
        return {{"a", linesPath("a")}, {"b", linesPath("b")}};
    }
    /// The launches by `cache`, oldest first: "a1 b1 a2".
    static std::string launchesOf(HistoryCache& cache) {
        std::string all;
        cache.read([&all](SQLite::Database& database) {
            all.clear();
            SQLite::Statement query(database, "SELECT record FROM launch ORDER BY launched");
            while (query.executeStep())
                all += (all.empty() ? "" : " ") +
                       HistoryCache::recordOf(query.getColumn(0).getString()).launch;
        });
        return all;
    }
    std::string launches(bool inMemory = false) const {
        HistoryCache cache(m_dir.path());
        cache.update(sources());
        EXPECT_EQ(cache.isInMemory(), inMemory);
        return launchesOf(cache);
    }
    std::string databasePath() const { return m_dir.path(".xperiment/history.sqlite"); }
    std::string database() const { return m_dir.read(".xperiment/history.sqlite"); }

    test::MessageRecorder m_messages;
    test::RunDir m_dir;
};

TEST_F(HistoryCacheTest, HasTheLaunchesOfAllFiles) {
    EXPECT_EQ(launches(), "a1 b1 a2");
}

TEST_F(HistoryCacheTest, KeepsItsFolderOutOfVersionControl) {
    launches();
    EXPECT_EQ(m_dir.read(".xperiment/.gitignore"), "*\n");
}

TEST_F(HistoryCacheTest, ReadsAFileAgainThatGrew) {
    launches();
    add("b", "b2", 400);
    EXPECT_EQ(launches(), "a1 b1 a2 b2");
}

TEST_F(HistoryCacheTest, ReadsNoFileThatIsAsItWas) {
    launches();
    // Of the same size and time, so that only reading would tell.
    const std::string path = linesPath("a");
    std::string text = m_dir.read(std::string("a/") + workbench::kLaunchesName);
    text.replace(text.find("a1"), 2, "zz");
    struct stat info {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    m_dir.mark(std::string("a/") + workbench::kLaunchesName, text);
    const struct timespec times[2] = {info.st_atim, info.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    EXPECT_EQ(launches(), "a1 b1 a2");
}

TEST_F(HistoryCacheTest, ForgetsAFileThatIsNoSourceAnyMore) {
    launches();
    HistoryCache cache(m_dir.path());
    cache.update({{"b", linesPath("b")}});
    EXPECT_EQ(launchesOf(cache), "b1");
}

TEST_F(HistoryCacheTest, FollowsARunToAnotherName) {
    launches();
    HistoryCache cache(m_dir.path());
    cache.update({{"c", linesPath("a")}});
    std::string run;
    cache.read([&run](SQLite::Database& database) {
        run = database.execAndGet("SELECT max(run) FROM launch").getString();
    });
    EXPECT_EQ(run, "c");
}

TEST_F(HistoryCacheTest, IsMadeAnewWhereverItIsCut) {
    launches();
    const std::string whole = database();
    ASSERT_GT(whole.size(), 20000U);
    std::size_t size = 0;
    while (size < whole.size()) {
        m_dir.mark(".xperiment/history.sqlite", whole.substr(0, size));
        ASSERT_EQ(launches(), "a1 b1 a2") << size;
        // Every byte of the head, and around the end of each page.
        const std::size_t inPage = size % 4096;
        size += size < 120 || inPage < 3 || inPage > 4092 ? 1 : 509;
    }
}

TEST_F(HistoryCacheTest, IsMadeAnewWhenItsPagesAreOverwritten) {
    launches();
    const std::string whole = database();
    for (std::size_t page = 0; page * 4096 < whole.size(); ++page) {
        std::string damaged = whole;
        damaged.replace(page * 4096 + (page == 0 ? 100 : 0), 2000, 2000, '\xa5');
        m_dir.mark(".xperiment/history.sqlite", damaged);
        EXPECT_EQ(launches(), "a1 b1 a2") << page;
    }
}

TEST_F(HistoryCacheTest, IsMadeAnewWhenItIsDamagedBetweenTwoReads) {
    HistoryCache cache(m_dir.path());
    cache.update(sources());
    const std::string whole = database();
    m_dir.mark(".xperiment/history.sqlite", std::string(whole.size(), 'x'));
    EXPECT_EQ(launchesOf(cache), "a1 b1 a2");
    EXPECT_FALSE(cache.isInMemory());
}

TEST_F(HistoryCacheTest, IsMadeAnewWhenItGoesBetweenTwoReads) {
    HistoryCache cache(m_dir.path());
    cache.update(sources());
    m_dir.unmark(".xperiment/history.sqlite");
    add("b", "b2", 400);
    EXPECT_EQ(launchesOf(cache), "a1 b1 a2 b2");
}

/// What may stand where the database is to be.
struct StrangerCase {
    const char* name;
    std::function<void(const std::string& path)> make;
};

std::ostream& operator<<(std::ostream& os, const StrangerCase& row) {
    return os << row.name;
}

void query(const std::string& path, const std::string& text) {
    SQLite::Database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE).exec(text);
}

class HistoryStranger : public HistoryCacheTest,
                        public ::testing::WithParamInterface<StrangerCase> {};

TEST_P(HistoryStranger, GivesWayToANewDatabase) {
    launches();
    GetParam().make(databasePath());
    EXPECT_EQ(launches(), "a1 b1 a2");
    EXPECT_EQ(launches(), "a1 b1 a2");
}

INSTANTIATE_TEST_SUITE_P(
    Database, HistoryStranger,
    ::testing::Values(
        StrangerCase{"Nothing", [](const std::string& path) { ::unlink(path.c_str()); }},
        StrangerCase{"AnEmptyFile", [](const std::string& path) { ::truncate(path.c_str(), 0); }},
        StrangerCase{"AFolder",
                     [](const std::string& path) {
                         ::unlink(path.c_str());
                         ::mkdir(path.c_str(), 0777);
                     }},
        StrangerCase{"APipe",
                     [](const std::string& path) {
                         ::unlink(path.c_str());
                         ::mkfifo(path.c_str(), 0666);
                     }},
        StrangerCase{"ALink",
                     [](const std::string& path) {
                         ::rename(path.c_str(), (path + ".away").c_str());
                         ::symlink((path + ".away").c_str(), path.c_str());
                     }},
        StrangerCase{"ANewerVersion",
                     [](const std::string& path) { query(path, "PRAGMA user_version = 99"); }},
        StrangerCase{"AnotherProgram",
                     [](const std::string& path) { query(path, "PRAGMA application_id = 1"); }},
        StrangerCase{"OtherTables",
                     [](const std::string& path) {
                         query(path, "DROP TABLE launch; CREATE TABLE launch (x)");
                     }},
        StrangerCase{"ADamagedRow",
                     [](const std::string& path) { query(path, "UPDATE launch SET record='{'"); }},
        StrangerCase{"AWriteAheadLog",
                     [](const std::string& path) { query(path, "PRAGMA journal_mode = WAL"); }}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(HistoryCacheTest, AnswersFromMemoryWhileAnotherProgramKeepsTheDatabase) {
    launches();
    add("b", "b2", 400);
    SQLite::Database other(databasePath(), SQLite::OPEN_READWRITE);
    other.exec("BEGIN EXCLUSIVE");
    EXPECT_EQ(launches(true), "a1 b1 a2 b2");
    other.exec("ROLLBACK");
    EXPECT_EQ(launches(), "a1 b1 a2 b2");
}

TEST_F(HistoryCacheTest, AnswersFromMemoryWhileAnotherHoldsTheLock) {
    launches();
    const int other = ::open(m_dir.path(".xperiment/history.lock").c_str(), O_RDWR);
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    const test::FakeClock clock;
    EXPECT_EQ(launches(true), "a1 b1 a2");
    ::close(other);
    EXPECT_EQ(launches(), "a1 b1 a2");
}

TEST_F(HistoryCacheTest, AnswersFromMemoryWithoutAFolderOfItsOwn) {
    m_dir.mark(".xperiment", "mine");
    EXPECT_EQ(launches(true), "a1 b1 a2");
    EXPECT_EQ(m_dir.read(".xperiment"), "mine");
}

TEST_F(HistoryCacheTest, FollowsNoLinkInThePlaceOfItsFolder) {
    m_dir.folder("elsewhere");
    ASSERT_EQ(::symlink(m_dir.path("elsewhere").c_str(), m_dir.path(".xperiment").c_str()), 0);
    EXPECT_EQ(launches(true), "a1 b1 a2");
    EXPECT_FALSE(m_dir.has("elsewhere/history.sqlite"));
}

TEST_F(HistoryCacheTest, SeesInMemoryWhatIsAddedLater) {
    m_dir.mark(".xperiment");
    HistoryCache cache(m_dir.path());
    cache.update(sources());
    add("b", "b2", 400);
    cache.update(sources());
    EXPECT_EQ(launchesOf(cache), "a1 b1 a2 b2");
}

TEST_F(HistoryCacheTest, TellsOfLinesThatItLeavesOut) {
    m_dir.mark(std::string("b/") + workbench::kLaunchesName, "what\n");
    EXPECT_EQ(launches(), "a1 a2");
    EXPECT_EQ(m_messages.ids(), std::vector<std::string>{"60-212"});
    // Once is enough.
    EXPECT_EQ(launches(), "a1 a2");
    EXPECT_EQ(m_messages.messages().size(), 1U);
    m_messages.clear();
}

}  // namespace
