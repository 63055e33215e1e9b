// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Sources that changed since the launch.

#include <memory>

#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HDDACompositeFile.h"
#include "environment/filemgmt/HDDAGenerationTarget.h"
#include "environment/filemgmt/HDDASrcFile.h"
#include "environment/filemgmt/HDDASrcFileType.h"
#include "environment/files/HUTFile.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"

namespace {

bool isTracked(const HDDASrcFile& file) {
    const HDDASrcFileType& type = *file.getFileType();
    return !type.isDbData() && !file.isExcludedFromTracking() &&
           type.getId() != HDDATypes::SFT_NOTES;
}

/// Whether a plain source changed behind `launchTime`. A time that equals that of the
/// import may be the copy's: then the disk decides.
bool isPlainFileNewer(const HDDASrcFile& file, long launchTime) {
    const std::time_t stamp = file.getModTime();
    if (stamp <= launchTime)
        return false;
    if (file.getImportTime() == 0 || file.getImportTime() != stamp)
        return true;
    long onDisk = 0;
    return !HUTFile(file.getName()).getLastMod(onDisk) || onDisk > launchTime;
}

/// Whether the output of `composite` that the run takes is newer, or has to be made.
bool isCompositeNewer(const HDDACompositeFile& composite, const HAXPExpInfoBase& info) {
    if (!composite.isRegisteredWithMgr() || composite.isCompositeFileLocked())
        return false;
    if (!info.isImplFlow() && !info.isSynthFlow())
        return false;
    const HDDAGenerationTarget* target = composite.getGenerationTarget(
        info.isImplFlow() ? HDDATypes::GT_IMPLEMENTATION : HDDATypes::GT_SYNTHESIS);
    if (target == nullptr)
        return false;
    if (target->getState() == HDDATypes::GS_GENERATED)
        return target->getTimeStamp() > info.getLaunchTime();
    HDDATypes::GenerationState state = composite.getSynthCheckpointGenerationState();
    if (state == HDDATypes::GS_NOT_APPLICABLE)
        state = composite.getGeneratedStateFor(HDDATypes::GT_SYNTHESIS, false);
    return state != HDDATypes::GS_GENERATED;
}

bool isNewer(HDDASrcFile& file, const HAXPExpInfoBase& info) {
    const HDDACompositeFile* composite = file.getCompositeFile();
    return composite == nullptr ? isPlainFileNewer(file, info.getLaunchTime())
                                : isCompositeNewer(*composite, info);
}

}  // namespace

bool HAXPExpInfoBase::checkForAlreadyModifiedFiles_(HADAFileSet* fileSet) {
    if (fileSet == nullptr)
        throw HEXAlgException("ExpInfo::checkForModFiles: NULL fileset");
    if (modifiedFilesChecked_())
        return false;
    HADAFileSetChangeSummary summary(fileSet);
    const std::unique_ptr<HSTFwdIter<HDDASrcFile*>> files(fileSet->createSrcFileIter());
    while (files->hasNext()) {
        HDDASrcFile* file = files->next();
        if (isTracked(*file) && isNewer(*file, *this))
            summary.addFiles(HADAFileSetChangeSummary::FSCS_MODIFIED, file);
    }
    bool changed = false;
    if (HAXPExpRunBase* run = getRun()) {
        const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run->createRunStepIter());
        while (steps->hasNext())
            changed = steps->next()->updateStaleReasons(&summary, nullptr) || changed;
    }
    return changed;
}
