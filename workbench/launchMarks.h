// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ctime>
#include <map>
#include <string>

#include <sys/stat.h>
#include <sys/types.h>

#include "environment/process/HUTProcessHandle.h"
#include "workbench/WorkbenchExport.h"
#include "workbench/launchLease.h"

class HAXPFlowStep;

namespace workbench {

/// Tells the markers of a run's last launch from those that an earlier launch leaves behind,
/// which may still be at work on another host.
///
/// A marker counts when it carries no identity of a launch, as those of scripts of the user's
/// own do, or that of the launch that the run's lease names. The markers of the steps that the
/// launch kept as they were always count, and so does every marker when the lease doesn't tell
/// which steps it kept, or when there is none.
///
/// What was read is kept: a marker or a lease is read again when it was replaced, which costs
/// one stat of each to find out. The first reading costs none. Belongs to one thread at a time.
class WORKBENCH_API LaunchMarks {
public:
    /// Looks at the lease of the run in `runDir`. To be called before each reading of the
    /// markers.
    void open(const std::string& runDir);

    /// The lease that open() found; null when there is none.
    const LaunchLease* lease() const { return m_hasLease ? &m_lease : nullptr; }

    /// Whether a marker of `step` may be another launch's.
    bool areMixed(const HAXPFlowStep& step) const;

    /// The status code of `step`, for which all its markers give `code`, by those that count.
    /// Brings `handle` in line with it: the record is that of the begin marker, or nothing
    /// when that doesn't count.
    int codeOf(const HAXPFlowStep& step, int code, HUTProcessHandle& handle);

private:
    /// What tells a file from the one that replaced it.
    struct Stamp {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = 0;
        timespec modified{};
    };
    /// A marker as it was read.
    struct Mark {
        Stamp stamp;
        std::string launch;
        /// Of a begin marker.
        HUTProcessHandle record;
    };
    static Stamp stampOf_(const struct stat& info);
    static Stamp stampOf_(const std::string& path);
    static bool same_(const Stamp& a, const Stamp& b);
    const Mark& markOf_(const HAXPFlowStep& step, const char* kind);
    static void readBegin_(const std::string& path, Mark& mark);
    static void readFinal_(const std::string& path, Mark& mark);
    bool stands_(const HAXPFlowStep& step, const char* kind);
    bool isOwn_(const HAXPFlowStep& step, const char* kind);

    std::string m_runDir;
    Stamp m_leaseStamp;
    bool m_hasLease = false;
    LaunchLease m_lease;
    std::map<std::string, Mark> m_marks;
};

}  // namespace workbench
