// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/groupEnd.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <map>
#include <set>
#include <system_error>

#include "environment/process/HUTProcessHandle.h"
#include "environment/process/clock.h"
#include "environment/process/standing.h"

namespace process {

namespace {

/// Time for a tool to put its files in order.
constexpr long kPatienceMs = 3000;
/// A killed process that stays longer hangs in the host, on a lost disk.
constexpr long kKillMs = 5000;
constexpr long kPauseMs = 10;
/// What came up behind the request, such as a program by which the tool puts its files in
/// order, may end by itself.
constexpr long kNewcomerMs = 200;

std::string list(const std::vector<Entry>& entries) {
    std::string pids;
    for (const Entry& entry : entries)
        pids += (pids.empty() ? "" : ", ") + std::to_string(entry.pid);
    return pids;
}

}  // namespace

GroupEnd::GroupEnd(const HUTProcessHandle& handle) : m_handle(handle) {
    const long group = handle.getGroup();
    if (group > 1 && group != processTable().ownGroup())
        m_group = group;
}

bool GroupEnd::run(std::string& message, bool wait) {
    Entry leader;
    const Standing standing = findStanding(m_handle, leader);
    if (standing != Standing::kAlive && standing != Standing::kGone) {
        message = whyNotEnded(m_handle, standing);
        return false;
    }
    if (!wait) {
        const std::vector<Entry> left = survivors_();
        return signal_(left, SIGTERM, message) && sparedNone_(message);
    }
    std::string refused;
    if (endsWithin_(kPatienceMs, SIGTERM, refused) || endsWithin_(kKillMs, SIGKILL, refused))
        return sparedNone_(message);
    message = "Can't end " + nameOf(m_handle) + ": " + list(survivors_()) + " still runs" +
              (refused.empty() ? "" : " (" + refused + ")") + ". End it by hand.";
    return false;
}

/// What is left of the process and its group. As long as the first process
/// is there, alive or not, its group is the run's; afterwards its number may
/// be used again, and only those count that work in the run's folder.
std::vector<Entry> GroupEnd::survivors_() {
    m_strangers.clear();
    Entry leader;
    const Standing standing = findStanding(m_handle, leader);
    const bool leaderIsThere = leader.pid != 0 && standing != Standing::kOtherProcess;
    m_leaderIsSeen = m_leaderIsSeen || (leaderIsThere && leader.group == m_group);

    std::vector<Entry> left;
    if (m_group > 0)
        left = processTable().members(m_group);
    if (leaderIsThere && leader.group != m_group)
        left.push_back(leader);
    left.erase(std::remove_if(left.begin(), left.end(),
                              [](const Entry& entry) { return entry.isZombie(); }),
               left.end());
    const auto foreign = std::stable_partition(
        left.begin(), left.end(), [this](const Entry& entry) { return isOurs_(entry); });
    m_strangers.assign(foreign, left.end());
    left.erase(foreign, left.end());
    return left;
}

bool GroupEnd::isOurs_(const Entry& entry) const {
    if (entry.pid == processTable().ownPid())
        return false;
    if (m_leaderIsSeen || entry.pid == m_handle.getPid())
        return true;
    std::string folder;
    m_handle.getFolder(folder);
    return entry.startTicks >= m_handle.getStartTicks() &&
           (m_handle.getUid() < 0 || entry.user == m_handle.getUid()) &&
           processTable().worksIn(entry.pid, folder);
}

/// Signals what is left, until nothing is or `ms` are over. Each is asked once, a newcomer
/// only when it stays, and killed again and again: a group may grow meanwhile.
bool GroupEnd::endsWithin_(long ms, int number, std::string& message) {
    const long start = clock().nowMs();
    long first = 0;
    std::map<long, long> seen;
    std::set<long> asked;
    for (;;) {
        std::vector<Entry> left = survivors_();
        if (left.empty())
            return true;
        const long now = clock().nowMs();
        first = seen.empty() ? now : first;
        left.erase(std::remove_if(left.begin(), left.end(),
                                  [&](const Entry& entry) {
                                      const long since = seen.emplace(entry.pid, now).first->second;
                                      const bool isDue =
                                          since == first || now - since >= kNewcomerMs;
                                      return number == SIGTERM &&
                                             (!isDue || !asked.insert(entry.pid).second);
                                  }),
                   left.end());
        if (!signal_(left, number, message) || now - start >= ms)
            return false;
        clock().sleepMs(kPauseMs);
    }
}

/// Signals each of them; false with the host's words when it refuses one.
bool GroupEnd::signal_(const std::vector<Entry>& survivors, int number, std::string& message) {
    ProcessTable& table = processTable();
    bool all = true;
    for (const Entry& entry : survivors) {
        const int error = table.signal(entry, number);
        if (error != 0 && error != ESRCH) {
            message = std::generic_category().message(error);
            all = false;
        }
        // Who is stopped hears of it only when it goes on.
        if (error == 0 && number == SIGTERM)
            table.signal(entry, SIGCONT);
    }
    return all;
}

/// False with a message when others are left in the group.
bool GroupEnd::sparedNone_(std::string& message) const {
    if (m_strangers.empty())
        return true;
    message = "Ended " + nameOf(m_handle) + ", but " + list(m_strangers) +
              " of its process group still runs and doesn't work in the folder of the run. Look "
              "at it, and end it by hand if it is the run's.";
    return false;
}

}  // namespace process
