// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/runGate.h"

#include <utility>

#include "workbench/fileTimes.h"

namespace workbench {

namespace {}  // namespace

RunGate::RunGate() : RunGate(systemTime, ::stat) {}

RunGate::RunGate(Clock clock, Stat look) : m_clock(std::move(clock)), m_look(std::move(look)) {}

bool RunGate::isUnchanged(const std::string& runDir) const {
    return m_trusted && runDir == m_runDir && same_(stampOf_(runDir), m_stamp);
}

void RunGate::open(const std::string& runDir) {
    m_trusted = false;
    m_runDir = runDir;
    m_stamp = stampOf_(runDir);
    // A time ahead of the clock, by another host's, is never old enough.
    const timespec now = m_clock();
    m_fresh = m_stamp.inode == 0 || m_stamp.modified.tv_sec + kCoarsestClockSec >= now.tv_sec ||
              m_stamp.changed.tv_sec + kCoarsestClockSec >= now.tv_sec;
}

void RunGate::close(bool settled) {
    m_trusted = settled && !m_fresh;
}

RunGate::Stamp RunGate::stampOf_(const std::string& runDir) const {
    struct stat info {};
    if (m_look(runDir.c_str(), &info) != 0)
        return {};
    return {info.st_dev, info.st_ino, info.st_mtim, info.st_ctim};
}

bool RunGate::same_(const Stamp& a, const Stamp& b) {
    return a.inode == b.inode && a.device == b.device && isSameTime(a.modified, b.modified) &&
           isSameTime(a.changed, b.changed);
}

}  // namespace workbench
