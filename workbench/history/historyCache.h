// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/history/launchRecord.h"

namespace SQLite {
class Database;
}

namespace workbench {

/// The database of a project's launches.
///
/// It holds nothing that the files of launches don't: what is missing, damaged, of another
/// version or stale is made anew from them, and where no database can be kept in the
/// project's folder, one in memory takes its place. All access goes under a lock of its own, as
/// the locks of the database don't hold on every network file system; where there are none, or
/// another program keeps the database to itself, memory serves too.
///
/// Belongs to one thread. Nothing here throws for what the disk says.
class WORKBENCH_API HistoryCache {
public:
    /// A file of launches.
    struct Source {
        /// The run; empty for the file of the removed ones, whose records name their runs.
        std::string run;
        std::string path;
    };

    /// The database "history.sqlite" in the project's own folder. Nothing is made yet.
    explicit HistoryCache(const std::string& projectDir);
    ~HistoryCache();

    HistoryCache(const HistoryCache&) = delete;
    HistoryCache& operator=(const HistoryCache&) = delete;

    /// Brings the database in line with `sources`, from now on the only ones: one stat of each
    /// when nothing changed. What can't be read of them is told by a message.
    void update(const std::vector<Source>& sources);

    /// Hands the database to `ask`, which only reads, and may be called again, after it threw
    /// for a damage.
    void read(const std::function<void(SQLite::Database&)>& ask);

    /// Whether memory takes the place of the file.
    bool isInMemory() const;

    /// The launch of a row's text. @throws SQLite::Exception it is damaged.
    static LaunchRecord recordOf(const std::string& text);

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

}  // namespace workbench
