// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/launchMarks.h"

#include <algorithm>
#include <cstring>

#include "environment/files/diskOps.h"
#include "environment/process/HUTProcHandleXMLParser.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "workbench/fileTimes.h"

namespace workbench {

namespace {

/// A reason of one line and an identity.
constexpr std::size_t kLargestMarker = 64U << 10U;

/// The line of a final marker that tells its launch.
constexpr char kLaunchLine[] = "launch: ";

/// The identity in the last line of a final marker; empty when it has none, or only a
/// part of it, as on a full disk.
std::string launchIn(const std::string& content) {
    if (content.empty() || content.back() != '\n')
        return {};
    const std::string::size_type before = content.find_last_of('\n', content.size() - 2);
    const std::string::size_type begin =
        content.size() < 2 || before == std::string::npos ? 0 : before + 1;
    const std::string line = content.substr(begin, content.size() - 1 - begin);
    const std::string::size_type length = std::strlen(kLaunchLine);
    return line.compare(0, length, kLaunchLine) == 0 ? line.substr(length) : std::string();
}

}  // namespace

void LaunchMarks::open(const std::string& runDir) {
    const std::string path = xperiment::markerPath(runDir, kLeaseName);
    if (runDir == m_runDir && m_leaseStamp.inode != 0 && same_(stampOf_(path), m_leaseStamp))
        return;
    if (runDir != m_runDir)
        m_marks.clear();
    m_runDir = runDir;
    m_lease = LaunchLease();
    files::Look look;
    m_hasLease = readLease(path, m_lease, look);
    m_leaseStamp = stampOf_(look.status);
}

bool LaunchMarks::areMixed(const HAXPFlowStep& step) const {
    if (!m_hasLease || !m_lease.keptSteps)
        return false;
    const std::vector<std::string>& kept = *m_lease.keptSteps;
    return std::find(kept.begin(), kept.end(), step.getStatusTrackingStr()) == kept.end();
}

int LaunchMarks::codeOf(const HAXPFlowStep& step, int code, HUTProcessHandle& handle) {
    if (code == HDGUIStatus::statusNotStarted)
        return code;
    if (code == HDGUIStatus::statusDone && isOwn_(step, xperiment::endMarker))
        return code;
    const bool failed = code == HDGUIStatus::statusError ||
                        (code == HDGUIStatus::statusDone && stands_(step, xperiment::errorMarker));
    if (failed && isOwn_(step, xperiment::errorMarker))
        return HDGUIStatus::statusError;
    handle.setEndStamp(0);
    const bool began = isOwn_(step, xperiment::beginMarker);
    if (began) {
        handle.takeRecord(markOf_(step, xperiment::beginMarker).record);
    } else {
        handle.reset();
    }
    return began ? HDGUIStatus::statusRunning : HDGUIStatus::statusNotStarted;
}

LaunchMarks::Stamp LaunchMarks::stampOf_(const struct stat& info) {
    return {info.st_dev, info.st_ino, info.st_size, info.st_mtim};
}

LaunchMarks::Stamp LaunchMarks::stampOf_(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? stampOf_(info) : Stamp();
}

bool LaunchMarks::same_(const Stamp& a, const Stamp& b) {
    return a.device == b.device && a.inode == b.inode && a.size == b.size &&
           isSameTime(a.modified, b.modified);
}

/// Only the form ".rst" is made by the wrappers, and so carries an identity.
const LaunchMarks::Mark& LaunchMarks::markOf_(const HAXPFlowStep& step, const char* kind) {
    const std::string name = xperiment::stepMarker(step.getStatusTrackingStr(), kind);
    const std::string path = xperiment::markerPath(m_runDir, name);
    Mark& mark = m_marks[name];
    if (mark.stamp.inode != 0 && same_(stampOf_(path), mark.stamp))
        return mark;
    mark = Mark();
    if (std::strcmp(kind, xperiment::beginMarker) == 0)
        readBegin_(path, mark);
    else
        readFinal_(path, mark);
    return mark;
}

void LaunchMarks::readBegin_(const std::string& path, Mark& mark) {
    mark.stamp = stampOf_(path);
    HUTProcHandleXMLParser().parsePH(path, &mark.record);
    mark.record.getLaunch(mark.launch);
}

void LaunchMarks::readFinal_(const std::string& path, Mark& mark) {
    std::string content;
    files::Look look;
    if (files::readRegular(path, 0, kLargestMarker, content, look))
        mark.launch = launchIn(content);
    mark.stamp = stampOf_(look.status);
}

bool LaunchMarks::stands_(const HAXPFlowStep& step, const char* kind) {
    return markOf_(step, kind).stamp.inode != 0;
}

bool LaunchMarks::isOwn_(const HAXPFlowStep& step, const char* kind) {
    const std::string& launch = markOf_(step, kind).launch;
    return launch.empty() || launch == m_lease.id;
}

}  // namespace workbench
