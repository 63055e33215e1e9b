// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ctime>
#include <functional>
#include <string>

#include <sys/stat.h>

#include "workbench/WorkbenchExport.h"

/// What spares the poll of a run directory in which nothing changed.
namespace workbench {

/// Remembers the time of a run directory as it was when its markers were read.
///
/// Markers come and go by rename, so each change moves the directory's own time. Times
/// are as coarse as the file system's clock: a directory that changed within the last
/// seconds before it was read may change again without a trace, so that reading isn't
/// trusted, and the next poll looks again.
class WORKBENCH_API RunGate {
public:
    using Clock = std::function<timespec()>;
    using Stat = std::function<int(const char* path, struct stat* info)>;

    RunGate();
    /// `clock` gives the present time of the file system, `look` does what stat() does.
    RunGate(Clock clock, Stat look);

    /// Whether `runDir` is as it was at the reading that close() ended: one stat.
    bool isUnchanged(const std::string& runDir) const;

    /// To be called right before the markers of `runDir` are read.
    void open(const std::string& runDir);
    /// To be called behind the reading; `settled` says that nothing but a marker can
    /// change the result.
    void close(bool settled);

    /// Makes the next poll look.
    void forget() { m_trusted = false; }

private:
    /// The identity and the times of a directory; times all 0 when it isn't there.
    struct Stamp {
        unsigned long device = 0;
        unsigned long inode = 0;
        timespec modified{};
        timespec changed{};
    };
    Stamp stampOf_(const std::string& runDir) const;
    static bool same_(const Stamp& a, const Stamp& b);

    Clock m_clock;
    Stat m_look;
    std::string m_runDir;
    Stamp m_stamp;
    bool m_fresh = true;
    bool m_trusted = false;
};

}  // namespace workbench
