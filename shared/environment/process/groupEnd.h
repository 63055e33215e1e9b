// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "environment/process/processTable.h"

class HUTProcessHandle;

namespace process {

/// Ends the process of a record with its group, on this host.
class GroupEnd {
public:
    /// `handle` stays as long as this does.
    explicit GroupEnd(const HUTProcessHandle& handle);

    /// HUTProcessHandle::killProcess().
    bool run(std::string& message, bool wait);

private:
    std::vector<Entry> survivors_();
    bool isOurs_(const Entry& entry) const;
    bool endsWithin_(long ms, int number, std::string& message);
    bool signal_(const std::vector<Entry>& survivors, int number, std::string& message);
    bool sparedNone_(std::string& message) const;

    const HUTProcessHandle& m_handle;
    long m_group = 0;  ///< 0 when only the process itself may be ended
    bool m_leaderIsSeen = false;
    std::vector<Entry> m_strangers;  ///< in the group, and perhaps not the run's
};

}  // namespace process
