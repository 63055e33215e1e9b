// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/history/historyCache.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <SQLiteCpp/SQLiteCpp.h>
#include <SQLiteCpp/VariadicBind.h>
#include <sqlite3.h>

#include "environment/files/HUTFile.h"
#include "environment/files/diskOps.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/process/clock.h"
#include "workbench/history/launchLines.h"
#include "workbench/ownFolder.h"

namespace workbench {

/// What tells a file of launches from what it was: it grows with every launch.
struct LaunchesStamp {
    std::string path;
    std::int64_t device = 0;
    std::int64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t modified = 0;  ///< in nanoseconds

    bool operator==(const LaunchesStamp& other) const {
        return path == other.path && device == other.device && inode == other.inode &&
               size == other.size && modified == other.modified;
    }
};

using LaunchesStamps = std::map<std::string, LaunchesStamp>;

namespace {

constexpr char kDatabaseName[] = "history.sqlite";
constexpr char kHistoryLock[] = "history.lock";

/// "XPHI", which tells the database from those of other programs.
constexpr int kApplication = 0x58504849;
constexpr int kDatabaseVersion = 2;

/// So long another one is waited for; an update of a thousand runs takes less. Milliseconds.
constexpr long kLockPatienceMs = 2000;
constexpr long kLockPauseMs = 5;
constexpr int kBusyMs = 250;

constexpr char kTables[] = R"(
CREATE TABLE source (
  run TEXT PRIMARY KEY, path TEXT, device INTEGER, inode INTEGER, size INTEGER, modified INTEGER
) WITHOUT ROWID;
CREATE TABLE launch (
  source TEXT, launch TEXT, run TEXT, flow TEXT, strategy TEXT, sweep TEXT, family TEXT,
  place TEXT, launched INTEGER, began INTEGER, ended INTEGER, outcome TEXT, record TEXT,
  line INTEGER, PRIMARY KEY (source, launch)
) WITHOUT ROWID;
CREATE INDEX launch_of_run ON launch (run, launched);
CREATE TABLE step (
  source TEXT, launch TEXT, run TEXT, flow TEXT, strategy TEXT, family TEXT, step TEXT,
  outcome TEXT, began INTEGER, seconds REAL, tool TEXT
);
CREATE INDEX step_of_source ON step (source);
CREATE INDEX step_of_run ON step (run, step, began);
CREATE INDEX step_of_family ON step (family, step, began);
CREATE INDEX step_of_strategy ON step (strategy, step, began);
CREATE INDEX step_of_flow ON step (flow, step, began);
)";

/// All zero but for the path when nothing is there.
LaunchesStamp makeStamp(const std::string& path) {
    constexpr std::int64_t kNano = 1000000000;
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0)
        return {path, 0, 0, 0, 0};
    return {path, static_cast<std::int64_t>(info.st_dev), static_cast<std::int64_t>(info.st_ino),
            info.st_size, info.st_mtim.tv_sec * kNano + info.st_mtim.tv_nsec};
}

/// The lock of the folder, while the object lives.
class FolderLock {
public:
    /// `kind` is LOCK_SH or LOCK_EX.
    FolderLock(const std::string& path, int kind)
        : m_file(
              ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666)) {
        const long end = process::clock().nowMs() + kLockPatienceMs;
        while (m_file && !m_isHeld) {
            m_isHeld = ::flock(m_file.get(), kind | LOCK_NB) == 0;
            if (m_isHeld || errno != EWOULDBLOCK || process::clock().nowMs() >= end)
                return;
            process::clock().sleepMs(kLockPauseMs);
        }
    }
    bool isHeld() const { return m_isHeld; }

private:
    files::Descriptor m_file;
    bool m_isHeld = false;
};

std::uint32_t bigEndian(const std::string& bytes, std::size_t at, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = at; i < at + count; ++i)
        value = value << 8U | static_cast<unsigned char>(bytes[i]);
    return value;
}

/// Whether the database file `path` is as long as its head says, and keeps a journal for going
/// back, as ours does. Nobody writes it meanwhile.
bool looksWhole(const std::string& path) {
    constexpr std::size_t kHead = 100;
    constexpr std::size_t kPageSizeAt = 16;
    constexpr std::size_t kWriteModeAt = 18;
    constexpr std::size_t kPagesAt = 28;
    constexpr char kMagic[] = "SQLite format 3";
    struct stat info {};
    const files::Descriptor file(
        ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    std::string head(kHead, '\0');
    if (!file || ::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode) ||
        ::pread(file.get(), &head[0], kHead, 0) != static_cast<ssize_t>(kHead) ||
        head.compare(0, sizeof kMagic, kMagic, sizeof kMagic) != 0 || head[kWriteModeAt] != 1)
        return false;
    // One that a writer left in the middle is put right by its journal.
    if (HUTFile::exists(path + "-journal"))
        return true;
    std::uint64_t pageSize = bigEndian(head, kPageSizeAt, 2);
    pageSize = pageSize == 1 ? 65536 : pageSize;
    return static_cast<std::uint64_t>(info.st_size) == pageSize * bigEndian(head, kPagesAt, 4);
}

void removeDatabase(const std::string& path) {
    for (const char* tail : {"", "-journal", "-wal", "-shm"}) {
        const std::string each = path + tail;
        if (!HUTFile(each).rm())
            HUTFile(each).rmRecursive();
    }
}

bool hasOurTables(SQLite::Database& database) {
    return database.execAndGet("PRAGMA application_id").getInt() == kApplication &&
           database.execAndGet("PRAGMA user_version").getInt() == kDatabaseVersion;
}

void makeTables(SQLite::Database& database) {
    SQLite::Transaction transaction(database);
    database.exec(kTables);
    database.exec("PRAGMA application_id = " + std::to_string(kApplication));
    database.exec("PRAGMA user_version = " + std::to_string(kDatabaseVersion));
    transaction.commit();
}

LaunchesStamps readStamps(SQLite::Database& database) {
    LaunchesStamps stamps;
    SQLite::Statement query(database,
                            "SELECT run, path, device, inode, size, modified FROM source");
    while (query.executeStep())
        stamps[query.getColumn(0).getString()] = {
            query.getColumn(1).getString(), query.getColumn(2).getInt64(),
            query.getColumn(3).getInt64(), query.getColumn(4).getInt64(),
            query.getColumn(5).getInt64()};
    return stamps;
}

template <class... Args> void execute(SQLite::Statement& statement, const Args&... args) {
    statement.reset();
    SQLite::bind(statement, args...);
    statement.exec();
}

/// Writes what changed, within one transaction.
class Update {
public:
    explicit Update(SQLite::Database& database)
        : m_transaction(database), m_dropSource(database, "DELETE FROM source WHERE run = ?"),
          m_dropLaunches(database, "DELETE FROM launch WHERE source = ?"),
          m_dropSteps(database, "DELETE FROM step WHERE source = ?"),
          m_addSource(database, "INSERT INTO source VALUES (?, ?, ?, ?, ?, ?)"),
          m_addLaunch(
              database,
              "INSERT OR IGNORE INTO launch VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
          m_addStep(database, "INSERT INTO step VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)") {}

    void drop(const std::string& run) {
        for (SQLite::Statement* each : {&m_dropSource, &m_dropLaunches, &m_dropSteps})
            execute(*each, run);
    }
    void add(const std::string& run, const LaunchesStamp& stamp) {
        LaunchLines lines;
        std::string reason;
        if (!readLaunches(stamp.path, lines, reason))
            ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                                     "@60-211@%s%s", stamp.path, reason);
        else
            tell_(stamp.path, lines);
        std::int64_t line = 0;
        for (LaunchRecord& record : lines.records) {
            // A run that was renamed keeps its launches.
            if (!run.empty())
                record.run = run;
            addLaunch_(run, record, ++line);
        }
        execute(m_addSource, run, stamp.path, stamp.device, stamp.inode, stamp.size,
                stamp.modified);
    }
    void commit() { m_transaction.commit(); }

private:
    static void tell_(const std::string& path, const LaunchLines& lines) {
        if (lines.badCount > 0)
            ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                                     "@60-212@%s%s%s", path, std::to_string(lines.badCount),
                                     lines.reason);
        if (lines.isCut)
            ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                                     "@60-213@%s%s", path, std::to_string(kLargestLaunches >> 20U));
    }
    void addLaunch_(const std::string& source, const LaunchRecord& record, std::int64_t line) {
        execute(m_addLaunch, source, record.launch, record.run, record.flow, record.strategy,
                record.sweep, record.family, record.place,
                static_cast<std::int64_t>(record.launched), static_cast<std::int64_t>(record.began),
                static_cast<std::int64_t>(record.ended), record.outcome, lineOf(record), line);
        for (const StepRecord& step : record.steps)
            execute(m_addStep, source, record.launch, record.run, record.flow, record.strategy,
                    record.family, step.step, step.outcome, static_cast<std::int64_t>(step.began),
                    step.seconds, step.tool);
    }

    SQLite::Transaction m_transaction;
    SQLite::Statement m_dropSource;
    SQLite::Statement m_dropLaunches;
    SQLite::Statement m_dropSteps;
    SQLite::Statement m_addSource;
    SQLite::Statement m_addLaunch;
    SQLite::Statement m_addStep;
};

/// The sources whose files aren't those that `known` tells.
std::set<std::string> changedRuns(const LaunchesStamps& known, const LaunchesStamps& now) {
    std::set<std::string> changed;
    for (const auto& each : now) {
        const auto before = known.find(each.first);
        if (before == known.end() || !(before->second == each.second))
            changed.insert(each.first);
    }
    for (const auto& each : known) {
        if (now.count(each.first) == 0)
            changed.insert(each.first);
    }
    return changed;
}

void writeChanges(SQLite::Database& database, const std::set<std::string>& changed,
                  const LaunchesStamps& now) {
    Update update(database);
    for (const std::string& run : changed) {
        update.drop(run);
        const auto found = now.find(run);
        if (found != now.end())
            update.add(run, found->second);
    }
    update.commit();
}

/// Whether a database made anew would do what this one didn't.
bool isDamage(const SQLite::Exception& error) {
    switch (error.getErrorCode()) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_ERROR:
    case SQLITE_SCHEMA:
    case SQLITE_FORMAT:
    case SQLITE_MISMATCH:
    case SQLITE_CONSTRAINT:
        return true;
    default:
        return false;
    }
}

}  // namespace

struct HistoryCache::Data {
    std::string projectDir;
    std::unique_ptr<SQLite::Database> database;
    /// The file that `database` is open on; another may have come into its place.
    LaunchesStamp opened;
    bool inMemory = false;
    std::vector<Source> sources;

    std::string databasePath() const { return ownFolder(projectDir) + "/" + kDatabaseName; }
    std::string lockPath() const { return ownFolder(projectDir) + "/" + kHistoryLock; }

    LaunchesStamps stamps() const {
        LaunchesStamps now;
        for (const Source& source : sources)
            now[source.run] = makeStamp(source.path);
        return now;
    }

    bool isOpen() const {
        const LaunchesStamp now = makeStamp(databasePath());
        return database && now.inode == opened.inode && now.device == opened.device;
    }

    /// Opens the file of the database; with `make`, under the exclusive lock, makes it anew
    /// unless it is a good one. False when it isn't there or isn't good.
    bool open(bool make) {
        if (isOpen())
            return true;
        database.reset();
        const std::string path = databasePath();
        bool isGood = looksWhole(path);
        if (isGood) {
            database = std::make_unique<SQLite::Database>(path, SQLite::OPEN_READWRITE, kBusyMs);
            isGood = hasOurTables(*database);
        }
        if (!isGood) {
            database.reset();
            if (!make)
                return false;
            removeDatabase(path);
            database = std::make_unique<SQLite::Database>(
                path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, kBusyMs);
            makeTables(*database);
        }
        // A power cut costs a cache, no launch.
        database->exec("PRAGMA synchronous = NORMAL");
        opened = makeStamp(path);
        return true;
    }

    /// Brings the file up to date; false when it can't be kept.
    bool updateFile() {
        if (!makeOwnFolder(projectDir))
            return false;
        const LaunchesStamps now = stamps();
        {
            const FolderLock lock(lockPath(), LOCK_SH);
            if (!lock.isHeld())
                return false;
            if (open(false) && changedRuns(readStamps(*database), now).empty())
                return true;
        }
        const FolderLock lock(lockPath(), LOCK_EX);
        if (!lock.isHeld() || !open(true))
            return false;
        // Another one may have been here first.
        const LaunchesStamps newest = stamps();
        writeChanges(*database, changedRuns(readStamps(*database), newest), newest);
        return true;
    }

    /// Throws the file away, which is damaged.
    void dropFile() {
        database.reset();
        const FolderLock lock(lockPath(), LOCK_EX);
        if (lock.isHeld())
            removeDatabase(databasePath());
    }

    bool tryFile() {
        for (int attempt = 0; attempt < 2; ++attempt) {
            try {
                return updateFile();
            } catch (const SQLite::Exception& error) {
                if (!isDamage(error))
                    return false;
                dropFile();
            }
        }
        return false;
    }

    void updateMemory() {
        if (!inMemory) {
            database = std::make_unique<SQLite::Database>(":memory:", SQLite::OPEN_READWRITE |
                                                                          SQLite::OPEN_CREATE);
            makeTables(*database);
            inMemory = true;
        }
        const LaunchesStamps now = stamps();
        writeChanges(*database, changedRuns(readStamps(*database), now), now);
    }

    void update() {
        if (inMemory || !tryFile())
            updateMemory();
    }
};

HistoryCache::HistoryCache(const std::string& projectDir) : m_data(std::make_unique<Data>()) {
    m_data->projectDir = projectDir;
}

HistoryCache::~HistoryCache() = default;

void HistoryCache::update(const std::vector<Source>& sources) {
    m_data->sources = sources;
    m_data->update();
}

void HistoryCache::read(const std::function<void(SQLite::Database&)>& ask) {
    for (int attempt = 0; attempt < 2 && !m_data->inMemory; ++attempt) {
        try {
            const FolderLock lock(m_data->lockPath(), LOCK_SH);
            if (lock.isHeld() && m_data->open(false)) {
                ask(*m_data->database);
                return;
            }
        } catch (const SQLite::Exception& error) {
            if (isDamage(error))
                m_data->dropFile();
        }
        m_data->update();
    }
    if (!m_data->inMemory)
        m_data->updateMemory();
    ask(*m_data->database);
}

bool HistoryCache::isInMemory() const {
    return m_data->inMemory;
}

LaunchRecord HistoryCache::recordOf(const std::string& text) {
    LaunchRecord record;
    std::string reason;
    if (!parseLine(text, record, reason))
        throw SQLite::Exception(reason, SQLITE_CORRUPT);
    return record;
}

}  // namespace workbench
