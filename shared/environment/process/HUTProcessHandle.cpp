// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/HUTProcessHandle.h"

#include "environment/process/groupEnd.h"
#include "environment/process/remoteEnd.h"
#include "environment/process/standing.h"

namespace {

std::string& remoteCommand() {
    static std::string command =
        "ssh -n -o BatchMode=yes -o ConnectTimeout=10 -o ServerAliveInterval=5";
    return command;
}

}  // namespace

HUTProcessHandle::HUTProcessHandle() = default;

void HUTProcessHandle::reset() {
    *this = HUTProcessHandle();
}

void HUTProcessHandle::clearRecord() {
    takeRecord(HUTProcessHandle());
}

void HUTProcessHandle::takeRecord(const HUTProcessHandle& other) {
    HUTProcessHandle taken = other;
    taken.m_attempts = m_attempts;
    taken.m_startStamp = m_startStamp;
    taken.m_endStamp = m_endStamp;
    *this = taken;
}

bool HUTProcessHandle::isPartialComplete() const {
    return !m_host.empty() && m_pid > 0;
}

HUTProcessHandle::Life HUTProcessHandle::look() const {
    using process::Standing;
    process::Entry entry;
    switch (process::findStanding(*this, entry)) {
    case Standing::kAlive:
    case Standing::kOtherGroup:
        return Life::kAlive;
    case Standing::kGone:
    case Standing::kOtherProcess:
        return Life::kGone;
    case Standing::kEarlierStart:
        return Life::kEarlier;
    default:
        return Life::kUnknown;
    }
}

bool HUTProcessHandle::killProcess(std::string& message, bool wait) const {
    return process::GroupEnd(*this).run(message, wait);
}

bool HUTProcessHandle::killRemoteProcess(std::string& message) const {
    return process::endRemotely(*this, remoteCommand(), message);
}

void HUTProcessHandle::setRemoteCommand(const std::string& line) {
    remoteCommand() = line;
}

const std::string& HUTProcessHandle::getRemoteCommand() {
    return remoteCommand();
}
