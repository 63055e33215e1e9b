// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// How a run gives up results: those of its steps, and all that lies in its directory.

#include <algorithm>
#include <array>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <boost/filesystem.hpp>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/strings/HSTStrUtils.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/runData.h"
#include "runs/base/xperiment/runFiles.h"
#include "runs/base/xperiment/runPath.h"
#include "runs/base/xperiment/stepMarkers.h"

using xperiment::RunLock;

namespace {

/// What scripts, wrappers and tools leave in a run directory beside the files of the steps.
constexpr const char* kLaunchFiles[] = {"ZUMWrap.js",
                                        "ZUMWrap.sh",
                                        "htr.txt",
                                        "rundef.js",
                                        "runme.bat",
                                        "runme.log",
                                        xperiment::runScriptFile,
                                        "runhls.tcl",
                                        "tarnel_hls.log",
                                        "tarnel.jou",
                                        "ridgeLine.jou",
                                        "tarnel.pb",
                                        "ridgeLine.pb",
                                        "ridgeLine.blk2edif.log",
                                        ".blk2edfcache",
                                        xperiment::stopMarker,
                                        ".Orv",
                                        "project.wdf",
                                        "usage_statistics_sayline.xml",
                                        "realTime.debug",
                                        "dont_buffer.kdc",
                                        "dont_touch.kdc",
                                        "debug.kdc",
                                        "c_files",
                                        "fsm_encoding.os",
                                        "gen_run.xml",
                                        "mq_reconfig.kdc",
                                        "mq_visual",
                                        xperiment::jobIdFile,
                                        xperiment::jobLogFile};

/// Memory images and notes of tools, by the extension of their names.
constexpr std::array<const char*, 3> kPassingExts = {"mif", "txt", "tmp"};

/// Whether the flow's tool alone writes into the directories of its runs.
bool ownsDirectory(const HAXPFlow* flow) {
    static constexpr std::array<std::string_view, 3> kFlows = {"ZUM", "QSY", "Tarnel Synthesis"};
    return flow != nullptr &&
           std::any_of(kFlows.begin(), kFlows.end(), [flow](std::string_view name) {
               return flow->getName().compare(0, name.size(), name) == 0;
           });
}

std::unique_ptr<HSTFwdIter<HUTFile>> entriesOf(const std::string& folder) {
    return std::unique_ptr<HSTFwdIter<HUTFile>>(HUTFile(folder).createFileIter());
}

/// Whether nothing stands in the folder, as far as that can be seen.
bool isSeenEmpty(const std::string& folder) {
    boost::system::error_code failed;
    const boost::filesystem::directory_iterator first(folder, failed);
    return failed ? failed == boost::system::errc::no_such_file_or_directory
                  : first == boost::filesystem::directory_iterator();
}

bool removeAllEntries(const std::string& runDir) {
    bool ok = true;
    const auto entries = entriesOf(runDir);
    if (!entries->hasNext())
        return isSeenEmpty(runDir);
    xperiment::RunPath dir(runDir);
    dir.open();
    while (entries->hasNext()) {
        std::string name;
        entries->next().getName(name);
        ok = xperiment::removeRunEntry(dir, name) && ok;
    }
    return ok;
}

using FileNames = std::set<std::string>;

/// The names of what stands in the folder; false when they can't be read.
bool listNames(const std::string& folder, FileNames& names) {
    namespace fs = boost::filesystem;
    boost::system::error_code failed;
    for (fs::directory_iterator entry(folder, failed); !failed && entry != fs::directory_iterator();
         entry.increment(failed))
        names.insert(entry->path().filename().string());
    return !failed;
}

/// Removes what a launch left. Most of the names are those of other tools: one look at the
/// directory costs less than a try for each.
void removeLaunchFiles(xperiment::RunPath& dir) {
    FileNames names;
    const bool isListed = listNames(dir.runDir(), names);
    for (const char* name : kLaunchFiles) {
        if (!isListed || names.erase(name) != 0)
            xperiment::removeRunEntry(dir, name);
    }
    std::string ext;
    for (const std::string& name : names) {
        HUTFile(name).getExt(ext);
        if (std::find(kPassingExts.begin(), kPassingExts.end(), ext) != kPassingExts.end())
            xperiment::removeRunFile(dir, name);
    }
}

}  // namespace

bool HAXPExpRunBase::resetStep(const HAXPFlowStep* flowStep, bool checkFilter, bool cleanFiles) {
    const HAXPFlow* flow = requireStrategy_().getFlow();
    if (checkFilter)
        requireResettable_(flowStep);
    const std::vector<HAXPExpRunStep*> steps = stepsFrom_(flowStep);
    std::string runDir;
    getRunDir(runDir);
    bool ok = !steps.empty();
    xperiment::RunPath dir(runDir);
    dir.open();
    for (auto step = steps.rbegin(); step != steps.rend(); ++step)
        ok = (*step)->resetStep_(dir, cleanFiles) && ok;
    if (flow != nullptr) {
        xperiment::removeRunFile(dir, xperiment::queueMarker(flow->getQueStr()));
        xperiment::removeRunFile(dir, xperiment::queueMarker(flow->getName()));
    }
    updateStatus();
    return ok;
}

bool HAXPExpRunBase::resetStep(const HAXPFlowStep* flowStep) {
    return resetStep(flowStep, true, true);
}

void HAXPExpRunBase::requireResettable_(const HAXPFlowStep* flowStep) {
    if (flowStep == nullptr)
        throw HEXAlgException("NULL Step");
    std::string reason;
    if (!canResetStep(flowStep, reason))
        throw HEXUserException("Step '" + flowStep->getFlowStepId() + "' can't be reset in run '" +
                               getName() + "': " + reason);
}

std::vector<HAXPExpRunStep*> HAXPExpRunBase::stepsFrom_(const HAXPFlowStep* flowStep) const {
    std::vector<HAXPExpRunStep*> found;
    const RunLock lock(m_data->mutex);
    for (const auto& step : m_data->steps) {
        if (!found.empty() || (flowStep != nullptr && step->getFlowStep() == flowStep))
            found.push_back(step.get());
    }
    return found;
}

bool HAXPExpRunBase::resetRun(const std::string& stepAbbrev, HSTVector<std::string>& errors,
                              bool emptyDir, bool killFirst, bool markDirty) {
    requireInfo_();
    requireStrategy_();
    requireFirstStep_();
    std::string runDir;
    getRunDir(runDir);
    updateStatus();
    bool ok = stopForReset_(runDir, killFirst, errors, emptyDir);

    const HAXPFlowStep* first = requireFirstStep_().getFlowStep();
    const HAXPFlow* flow = requireStrategy_().getFlow();
    const HAXPFlowStep* target = first;
    if (!stepAbbrev.empty())
        target = flow == nullptr ? nullptr : flow->getFlowStepForAbbrev(stepAbbrev, true);
    const bool fromFirst =
        stepAbbrev.empty() || HSTStrUtils::equalToCI(stepAbbrev, first->getAbbrev());

    if (!resetStep(target, false, emptyDir)) {
        errors.push_back("Failed to reset run step " + stepAbbrev);
        ok = false;
    }
    if (emptyDir && getRunMode() == kLaunched && fromFirst && !emptyRunDir()) {
        errors.push_back("Failed to delete one or more files in run directory " + runDir);
        ok = false;
    }
    if (fromFirst) {
        requireInfo_().resetRun();
        deactivateRun();
    }
    if (markDirty)
        setDirty();
    return ok;
}

bool HAXPExpRunBase::resetRun(HSTVector<std::string>& errors, bool emptyDir, bool killFirst,
                              bool markDirty) {
    return resetRun("", errors, emptyDir, killFirst, markDirty);
}

bool HAXPExpRunBase::emptyRunDir() {
    std::string runDir;
    getRunDir(runDir);
    if (!HUTFile(runDir).isDir())
        return true;
    if (ownsDirectory(requireStrategy_().getFlow()))
        return removeAllEntries(runDir);
    xperiment::RunPath dir(runDir);
    dir.open();
    removeNamedFiles_(dir);
    removeLaunchFiles(dir);
    return true;
}

HAXPExpRunStep& HAXPExpRunBase::requireFirstStep_() const {
    HAXPExpRunStep* first = getFirstStep();
    if (first == nullptr)
        throw HEXAlgException("ExpRun: no steps");
    return *first;
}

void HAXPExpRunBase::removeNamedFiles_(xperiment::RunPath& dir) const {
    const HAXPExpInfoBase& info = requireInfo_();
    const std::unique_ptr<HSTFwdKeyIter<HAXPTypes::FileType>> types(info.createFileTypeIter());
    while (types->hasNext()) {
        HSTVector<std::string> names;
        info.getFiles(types->next(), names);
        for (const std::string& name : names)
            xperiment::removeRunEntry(dir, name);
    }
}
