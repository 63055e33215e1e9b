// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/stepMarkers.h"

#include "environment/files/HUTFile.h"
#include "environment/installation/HUTEnv.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HDGUIStatus.h"

namespace xperiment {

namespace {

constexpr std::string_view kSuffix = ".rst";
constexpr std::string_view kOtherSuffix = ".stp";
constexpr const char* kOtherProcess = "ridgeLine";

}  // namespace

std::string stepMarker(const std::string& trackingStr, const std::string& kind) {
    return "." + trackingStr + "." + kind + std::string(kSuffix);
}

std::string queueMarker(const std::string& queueStr) {
    return stepMarker(queueStr, "queue");
}

std::string markerPath(const std::string& runDir, const std::string& name) {
    return runDir + HUTFile::getDirSeparator() + name;
}

bool isTarnelProgram() {
    return HSTStringUtils::iequals(HUTEnv::getProgramName(), "zbk") || HUTEnv::isTarnel();
}

StepMarkerFinder::StepMarkerFinder(const std::string& runDir, const std::string& trackingStr)
    : m_trackingStr(trackingStr) {
    if (runDir.empty())
        return;
    append_(runDir);
    append_(HUTFile::getDirSeparator());
    m_folderLength = m_path.size();
}

bool StepMarkerFinder::find(std::string_view kind) {
    if (m_folderLength == 0)
        return false;
    m_isPlain = look_(m_trackingStr, kind, kSuffix);
    if (m_isPlain || look_(m_trackingStr, kind, kOtherSuffix))
        return true;
    if (kind != errorMarker)
        return false;
    const char* process = isTarnelProgram() ? tarnelProcess : kOtherProcess;
    if (!look_(process, kind, kSuffix))
        return false;
    // A process that fails later isn't charged to a step that has ended.
    if (look_(m_trackingStr, endMarker, kSuffix))
        return false;
    setPath_(process, kind, kSuffix);
    return true;
}

void StepMarkerFinder::setPath_(std::string_view word, std::string_view kind,
                                std::string_view suffix) {
    m_path.resize(m_folderLength);
    append_(".");
    append_(word);
    append_(".");
    append_(kind);
    append_(suffix);
    m_path.push_back('\0');
}

/// Whether the file of this name is there; without one stamp and size stay.
bool StepMarkerFinder::look_(std::string_view word, std::string_view kind,
                             std::string_view suffix) {
    setPath_(word, kind, suffix);
    return HUTFile::getFileStamp(m_path.data(), m_stamp, m_size);
}

void StepMarkerFinder::append_(std::string_view text) {
    m_path.insert(m_path.end(), text.begin(), text.end());
}

StepState readStepState(const std::string& runDir, const std::string& trackingStr) {
    StepState state;
    StepMarkerFinder markers(runDir, trackingStr);
    if (!markers.find(beginMarker))
        return state;
    state.code = HDGUIStatus::statusRunning;
    state.startStamp = markers.stamp();
    state.hasHandle = markers.isPlain() && markers.size() > 0;
    const bool hasEnded = markers.find(endMarker);
    if (hasEnded || markers.find(errorMarker)) {
        state.code = hasEnded ? HDGUIStatus::statusDone : HDGUIStatus::statusError;
        state.endStamp = markers.stamp();
    }
    return state;
}

}  // namespace xperiment
