// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/standing.h"

#include <climits>

#include "environment/process/HUTProcessHandle.h"

namespace process {

namespace {

constexpr long kInit = 1;

std::string hostOf(const HUTProcessHandle& handle) {
    std::string host;
    handle.getHostname(host);
    return host;
}

std::string bootOf(const HUTProcessHandle& handle) {
    std::string id;
    handle.getBootId(id);
    return id;
}

/// Whether a pid namespace is recorded, and not the one that this host tells.
bool inOtherNamespace(const HUTProcessHandle& handle) {
    std::string recorded;
    handle.getPidNamespace(recorded);
    const std::string here = processTable().pidNamespace();
    return !recorded.empty() && !here.empty() && recorded != here;
}

/// The standing of a process on this host, once host and start of it agree.
Standing compare(const HUTProcessHandle& handle, const Entry& entry) {
    const bool otherUser = handle.getUid() >= 0 && entry.user >= 0 && entry.user != handle.getUid();
    if (entry.startTicks != handle.getStartTicks() || otherUser)
        return Standing::kOtherProcess;
    if (entry.isZombie())
        return Standing::kGone;
    if (handle.getGroup() > 0 && entry.group != handle.getGroup())
        return Standing::kOtherGroup;
    return Standing::kAlive;
}

}  // namespace

Standing findStanding(const HUTProcessHandle& handle, Entry& entry) {
    ProcessTable& table = processTable();
    if (!handle.isPartialComplete())
        return Standing::kNoRecord;
    if (hostOf(handle) != table.hostName())
        return Standing::kOtherHost;
    if (handle.getStartTicks() == 0 || bootOf(handle).empty())
        return Standing::kUntold;
    if (bootOf(handle) != table.bootId())
        return Standing::kEarlierStart;
    if (inOtherNamespace(handle))
        return Standing::kOtherNamespace;
    const long pid = handle.getPid();
    if (pid <= kInit || pid > INT_MAX || pid == table.ownPid())
        return Standing::kNotEndable;
    return table.look(pid, entry) ? compare(handle, entry) : Standing::kGone;
}

std::string nameOf(const HUTProcessHandle& handle) {
    return "process " + std::to_string(handle.getPid()) + " on host '" + hostOf(handle) + "'";
}

std::string whyNotEnded(const HUTProcessHandle& handle, Standing standing) {
    const std::string refusal = "Can't end " + nameOf(handle) + ": ";
    switch (standing) {
    case Standing::kNoRecord:
        return "Can't end the process of the run: no record tells its host and id. Look "
               "whether it still runs, and end it by hand.";
    case Standing::kOtherHost:
        return refusal + "this is host '" + processTable().hostName() + "'.";
    case Standing::kUntold:
        return refusal + "its record doesn't say when it started, so it may be another "
                         "process by now. Look at it, and end it by hand.";
    case Standing::kEarlierStart:
        return refusal + "its record is from before this host was last started. It is gone, "
                         "unless another host has the same name.";
    case Standing::kOtherNamespace:
        return refusal + "it runs in another container. End it from there.";
    case Standing::kNotEndable:
        return refusal + "no run can have this process. Its record is damaged.";
    case Standing::kOtherProcess:
        return refusal + "it has ended, and its id was given to another process, which was "
                         "left alone.";
    case Standing::kOtherGroup:
        return refusal + "it isn't in the process group of its record. Try again in a moment.";
    case Standing::kGone:
    case Standing::kAlive:
        break;
    }
    return refusal + "it can't be reached.";
}

}  // namespace process
