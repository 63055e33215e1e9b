// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "environment/EnvironmentExport.h"

/// The processes of this host, as looking for one and ending it need them.
namespace process {

/// What the host tells of a process.
struct Entry {
    long pid = 0;
    long group = 0;
    long user = -1;  ///< the real user id
    char state = '?';
    unsigned long long startTicks = 0;

    /// Ended, though its parent hasn't noticed.
    bool isZombie() const { return state == 'Z' || state == 'X'; }
};

class ENVIRONMENT_API ProcessTable {
public:
    virtual ~ProcessTable();

    virtual std::string hostName() = 0;
    virtual std::string bootId() = 0;
    /// Empty when the host doesn't tell.
    virtual std::string pidNamespace() = 0;
    virtual long ownPid() = 0;
    virtual long ownGroup() = 0;

    /// Fills `entry`; false when there is no such process.
    virtual bool look(long pid, Entry& entry) = 0;
    /// The processes of a group, zombies included.
    virtual std::vector<Entry> members(long group) = 0;
    /// Whether the process works in `folder` or below it, or writes its output
    /// or errors there.
    virtual bool worksIn(long pid, const std::string& folder) = 0;

    /// Signals the process if it is still the one that `entry` tells of. 0, or
    /// the error; ESRCH when it is gone.
    virtual int signal(const Entry& entry, int number) = 0;
};

/// The table in use: the real one unless another was set.
ENVIRONMENT_API ProcessTable& processTable();

/// Puts `other` in the place of the table until it is called again; null
/// brings the real one back. Not while another thread uses it.
ENVIRONMENT_API void setProcessTable(ProcessTable* other);

/// Takes what stands in /proc/PID/stat apart; false when it is something else.
ENVIRONMENT_API bool parseStat(const std::string& text, Entry& entry);

}  // namespace process
