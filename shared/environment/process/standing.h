// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/process/processTable.h"

class HUTProcessHandle;

namespace process {

/// How the process of a record stands to this host.
enum class Standing {
    kNoRecord,
    kOtherHost,
    kUntold,          ///< the record lacks what tells the process from another
    kEarlierStart,    ///< of the host
    kOtherNamespace,  ///< on this host
    kNotEndable,      ///< this process, or one that the host needs
    kGone,
    kOtherProcess,  ///< has the pid now
    kOtherGroup,    ///< the process is in
    kAlive,
};

/// Finds out, and fills `entry` when a process of that pid is there.
Standing findStanding(const HUTProcessHandle& handle, Entry& entry);

/// One sentence or two for the user: why the process can't be ended from here.
std::string whyNotEnded(const HUTProcessHandle& handle, Standing standing);

/// The process of the record, for a text.
std::string nameOf(const HUTProcessHandle& handle);

}  // namespace process
