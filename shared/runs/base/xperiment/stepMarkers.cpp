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

StepMarkerFinder::StepMarkerFinder(RunPath& dir, const std::string& trackingStr)
    : m_dir(dir), m_trackingStr(trackingStr) {}

bool StepMarkerFinder::find(std::string_view kind) {
    m_isPlain = look_(m_trackingStr, kind, kSuffix);
    if (m_isPlain || look_(m_trackingStr, kind, kOtherSuffix))
        return true;
    if (kind != errorMarker)
        return false;
    const char* process = isTarnel_() ? tarnelProcess : kOtherProcess;
    if (!look_(process, kind, kSuffix))
        return false;
    // A process that fails later isn't charged to a step that has ended.
    if (look_(m_trackingStr, endMarker, kSuffix))
        return false;
    m_word = process;
    m_kind = kind;
    m_suffix = kSuffix;
    return true;
}

std::string StepMarkerFinder::path() const {
    return m_dir.to({".", m_word, ".", m_kind, m_suffix});
}

bool StepMarkerFinder::remove(std::string_view kind) {
    if (find(kind) && !m_dir.remove({".", m_word, ".", m_kind, m_suffix}))
        return false;
    if (isTarnel_() && look_(tarnelProcess, kind, kSuffix))
        m_dir.remove({".", tarnelProcess, ".", kind, kSuffix});
    return true;
}

bool StepMarkerFinder::removeAll() {
    return remove(beginMarker) && remove(endMarker) && remove(errorMarker);
}

/// Whether the file of this name is there; without one stamp and size stay.
bool StepMarkerFinder::look_(std::string_view word, std::string_view kind,
                             std::string_view suffix) {
    m_word = word;
    m_kind = kind;
    m_suffix = suffix;
    return m_dir.look({".", word, ".", kind, suffix}, m_stamp, m_size);
}

bool StepMarkerFinder::isTarnel_() {
    if (!m_isTarnel)
        m_isTarnel = isTarnelProgram();
    return *m_isTarnel;
}

StepState readStepState(const std::string& runDir, const std::string& trackingStr) {
    StepState state;
    RunPath dir(runDir);
    StepMarkerFinder markers(dir, trackingStr);
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
