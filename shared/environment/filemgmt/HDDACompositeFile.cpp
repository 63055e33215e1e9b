// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HDDACompositeFile.h"

#include <algorithm>
#include <utility>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HDDAGenerationTarget.h"
#include "environment/filemgmt/HDDASrcFileType.h"
#include "environment/filemgmt/HDDASrcFilter.h"
#include "environment/filemgmt/srcFileList.h"

namespace {

bool isKind(HDDATypes::GenerationTarget kind) {
    return kind >= 0 && kind < HDDATypes::GT_LIMIT;
}

/// The one that says more about a block made of both.
HDDATypes::GenerationState worse(HDDATypes::GenerationState a, HDDATypes::GenerationState b) {
    for (const auto state :
         {HDDATypes::GS_OUT_OF_DATE, HDDATypes::GS_NOT_GENERATED, HDDATypes::GS_GENERATED}) {
        if (a == state || b == state)
            return state;
    }
    return HDDATypes::GS_NOT_APPLICABLE;
}

}  // namespace

HDDACompositeFile::HDDACompositeFile(const std::string& path, HDDATypes::SFTId type)
    : HDDASrcFile(path, type), m_files(std::make_unique<filemgmt::SrcFileList>()) {}

HDDACompositeFile::~HDDACompositeFile() = default;

HDDACompositeFile* HDDACompositeFile::getCompositeFile() {
    return this;
}

HDDASrcFile* HDDACompositeFile::addSrcFile(const std::string& path) {
    return addSrcFile(path, HDDASrcFileType::getForFile(path)->getId());
}

HDDASrcFile* HDDACompositeFile::addSrcFile(const std::string& path, HDDATypes::SFTId type) {
    m_files->checkNew(path, getName());
    return insert_(std::unique_ptr<HDDASrcFile>(new HDDASrcFile(path, type)));
}

HDDACompositeFile* HDDACompositeFile::addCompositeFile(const std::string& path,
                                                       HDDATypes::SFTId type) {
    m_files->checkNew(path, getName());
    return insert_(std::unique_ptr<HDDASrcFile>(new HDDACompositeFile(path, type)))
        ->getCompositeFile();
}

HDDASrcFile* HDDACompositeFile::insert_(std::unique_ptr<HDDASrcFile> owned) {
    owned->updateStamp();
    owned->setPlace_(getFileSet(), this);
    return m_files->add(std::move(owned));
}

bool HDDACompositeFile::removeSrcFile(HDDASrcFile* file) {
    if (file == nullptr || file->getParentComposite() != this)
        return false;
    if (getFileSet() != nullptr)
        getFileSet()->leaving_(*file);
    return m_files->take(file) != nullptr;
}

HDDASrcFile* HDDACompositeFile::findSrcFile(const std::string& path) const {
    return m_files->find(path);
}

HSTFwdIter<HDDASrcFile*>* HDDACompositeFile::createSrcFileIter(const HDDASrcFilter* filter,
                                                               bool recursive) const {
    const bool deep = recursive || (filter != nullptr && filter->isExamineCompositeSrcs());
    std::vector<HDDASrcFile*> found;
    m_files->visit(filter, deep, [&](HDDASrcFile* file) { found.push_back(file); });
    return containers::heapIterOfCopy<HDDASrcFile*>(std::move(found));
}

HDDAGenerationTarget*
HDDACompositeFile::getGenerationTarget(HDDATypes::GenerationTarget kind) const {
    return isKind(kind) ? m_targets[kind].get() : nullptr;
}

HDDAGenerationTarget* HDDACompositeFile::addGenerationTarget(HDDATypes::GenerationTarget kind) {
    if (!isKind(kind))
        throw HEXAlgException("Composite file: no generation target has the number " +
                              std::to_string(kind));
    if (m_targets[kind] == nullptr)
        m_targets[kind] = std::make_unique<HDDAGenerationTarget>(kind);
    return m_targets[kind].get();
}

void HDDACompositeFile::removeGenerationTarget(HDDATypes::GenerationTarget kind) {
    if (isKind(kind))
        m_targets[kind].reset();
}

HDDATypes::GenerationState HDDACompositeFile::getGeneratedStateFor(HDDATypes::GenerationTarget kind,
                                                                   bool below) const {
    const HDDAGenerationTarget* const target = getGenerationTarget(kind);
    HDDATypes::GenerationState state =
        target == nullptr ? HDDATypes::GS_NOT_APPLICABLE : target->getState();
    if (!below)
        return state;
    for (const auto& file : m_files->files()) {
        const HDDACompositeFile* const block = std::as_const(*file).getCompositeFile();
        if (block != nullptr)
            state = worse(state, block->getGeneratedStateFor(kind, true));
    }
    return state;
}

HDDATypes::GenerationState HDDACompositeFile::getSynthCheckpointGenerationState() const {
    return getGeneratedStateFor(HDDATypes::GT_SYNTH_CHECKPOINT, false);
}

std::unique_ptr<HDDASrcFile> HDDACompositeFile::clone_() const {
    std::unique_ptr<HDDACompositeFile> copy(
        new HDDACompositeFile(getName(), getFileType()->getId()));
    copyStateTo_(*copy);
    copy->m_registered = m_registered;
    copy->m_locked = m_locked;
    for (const auto& file : m_files->files())
        copy->m_files->add(file->clone_());
    for (const auto& target : m_targets) {
        if (target != nullptr)
            *copy->addGenerationTarget(target->getKind()) = *target;
    }
    return copy;
}

void HDDACompositeFile::setPlace_(HADAFileSet* fileSet, HDDACompositeFile* parent) {
    HDDASrcFile::setPlace_(fileSet, parent);
    for (const auto& file : m_files->files())
        file->setPlace_(fileSet, this);
}
