// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HADAFileSet.h"

#include <utility>
#include <vector>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HADAFileMgr.h"
#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HDDACompositeFile.h"
#include "environment/filemgmt/HDDASrcFileType.h"
#include "environment/filemgmt/HDDASrcFilter.h"
#include "environment/filemgmt/HDDASrcOptions.h"
#include "environment/filemgmt/HEIOptions.h"
#include "environment/filemgmt/srcFileList.h"

struct HADAFileSet::Data {
    std::string name;
    HDDATypes::FileSetType type;
    HADAFileMgr* mgr = nullptr;  // not owning
    bool internal = false;
    filemgmt::SrcFileList files;
    std::string dataDir;
    std::string fileName;
    HDDASrcOptions srcOptions;
    HEIOptions edifOptions;
    HDDACompositeFile* oocRoot = nullptr;  // one of the files, or inside one
    std::string reconfigModule;
};

namespace {

bool looksInside(const HDDASrcFilter* filter) {
    return filter != nullptr && filter->isExamineCompositeSrcs();
}

void forgetRuns(HDDASrcFile& file) {
    file.getAttrs().setRunNames({});
    if (const filemgmt::SrcFileList* inner = filemgmt::SrcFileList::inside(file))
        inner->visit(nullptr, true, [](HDDASrcFile* each) { each->getAttrs().setRunNames({}); });
}

/// What became of a file between two looks at it, of which at least one found
/// it, as the collection that tells it.
HADAFileSetChangeSummary::enumFSCSFileCollection changeOf(const HDDASrcFile& file,
                                                          bool existedBefore) {
    if (!file.getStamp().exists())
        return HADAFileSetChangeSummary::FSCS_MISSING;
    if (!existedBefore)
        return HADAFileSetChangeSummary::FSCS_FOUND_AGAIN;
    return file.getParentComposite() != nullptr
               ? HADAFileSetChangeSummary::FSCS_COMPOSITE_SRCS_MODIFIED
               : HADAFileSetChangeSummary::FSCS_MODIFIED;
}

}  // namespace

HADAFileSet::HADAFileSet(const std::string& name, HDDATypes::FileSetType type)
    : m_data(std::make_unique<Data>()) {
    m_data->name = name;
    m_data->type = type;
}

HADAFileSet::~HADAFileSet() {
    if (m_data->mgr != nullptr)
        m_data->mgr->forget_(this);
}

const std::string& HADAFileSet::getName() const {
    return m_data->name;
}

HDDATypes::FileSetType HADAFileSet::getType() const {
    return m_data->type;
}

HADAFileMgr* HADAFileSet::getFileMgr() const {
    return m_data->mgr;
}

bool HADAFileSet::isInternal() const {
    return m_data->internal;
}

HDDASrcFile* HADAFileSet::addSrcFile(const std::string& path) {
    return addSrcFile(path, HDDASrcFileType::getForFile(path)->getId());
}

HDDASrcFile* HADAFileSet::addSrcFile(const std::string& path, HDDATypes::SFTId type) {
    m_data->files.checkNew(path, m_data->name);
    return insert_(std::unique_ptr<HDDASrcFile>(new HDDASrcFile(path, type)));
}

HDDACompositeFile* HADAFileSet::addCompositeFile(const std::string& path, HDDATypes::SFTId type) {
    m_data->files.checkNew(path, m_data->name);
    return insert_(std::unique_ptr<HDDASrcFile>(new HDDACompositeFile(path, type)))
        ->getCompositeFile();
}

HDDASrcFile* HADAFileSet::insert_(std::unique_ptr<HDDASrcFile> owned) {
    owned->updateStamp();
    owned->setPlace_(this, nullptr);
    return m_data->files.add(std::move(owned));
}

bool HADAFileSet::removeSrcFile(HDDASrcFile* file) {
    return std::unique_ptr<HDDASrcFile>(takeSrcFile(file)) != nullptr;
}

HDDASrcFile* HADAFileSet::takeSrcFile(HDDASrcFile* file) {
    if (file == nullptr || file->getFileSet() != this || file->getParentComposite() != nullptr)
        return nullptr;
    leaving_(*file);
    std::unique_ptr<HDDASrcFile> taken = m_data->files.take(file);
    taken->setPlace_(nullptr, nullptr);
    return taken.release();
}

void HADAFileSet::removeAllSrcFiles() {
    m_data->oocRoot = nullptr;
    m_data->files.clear();
}

void HADAFileSet::leaving_(const HDDASrcFile& file) {
    const HDDASrcFile* at = m_data->oocRoot;
    while (at != nullptr && at != &file)
        at = at->getParentComposite();
    if (at != nullptr)
        m_data->oocRoot = nullptr;
}

HDDASrcFile* HADAFileSet::findSrcFile(const std::string& path) const {
    return m_data->files.find(path);
}

HSTFwdIter<HDDASrcFile*>* HADAFileSet::createSrcFileIter(const HDDASrcFilter* filter) const {
    std::vector<HDDASrcFile*> found;
    m_data->files.visit(filter, looksInside(filter),
                        [&](HDDASrcFile* file) { found.push_back(file); });
    return containers::heapIterOfCopy<HDDASrcFile*>(std::move(found));
}

std::size_t HADAFileSet::srcFileCount(const HDDASrcFilter* filter) const {
    std::size_t count = 0;
    m_data->files.visit(filter, looksInside(filter), [&](HDDASrcFile*) { ++count; });
    return count;
}

bool HADAFileSet::updateStamps(HADAFileSetChangeSummary* changes) {
    bool changed = false;
    m_data->files.visit(nullptr, true, [&](HDDASrcFile* file) {
        if (file->isExcludedFromTracking())
            return;
        const bool existed = file->getStamp().exists();
        if (!file->updateStamp())
            return;
        changed = true;
        if (changes != nullptr)
            changes->addFiles(changeOf(*file, existed), file);
    });
    return changed;
}

const std::string& HADAFileSet::getDataDir() const {
    return m_data->dataDir;
}

void HADAFileSet::setDataDir(const std::string& dir) {
    m_data->dataDir = dir;
}

const std::string& HADAFileSet::getFileSetFileName() const {
    return m_data->fileName;
}

void HADAFileSet::setFileSetFileName(const std::string& name) {
    m_data->fileName = name;
}

const HDDASrcOptions& HADAFileSet::getSrcOptions() const {
    return m_data->srcOptions;
}

HDDASrcOptions& HADAFileSet::getSrcOptions() {
    return m_data->srcOptions;
}

const HEIOptions& HADAFileSet::getEDIFOptions() const {
    return m_data->edifOptions;
}

HEIOptions& HADAFileSet::getEDIFOptions() {
    return m_data->edifOptions;
}

HDDACompositeFile* HADAFileSet::getOOCRootCompositeFile(bool withDisabled) const {
    HDDACompositeFile* const root = m_data->oocRoot;
    const bool shown = root != nullptr && (withDisabled || root->getAttrs().isEnabled());
    return shown ? root : nullptr;
}

void HADAFileSet::setOOCRootCompositeFile(HDDACompositeFile* root) {
    if (root != nullptr && root->getFileSet() != this)
        throw HEXAlgException("File set: the root composite file is in another file set");
    m_data->oocRoot = root;
}

const std::string& HADAFileSet::getReconfigModule() const {
    return m_data->reconfigModule;
}

void HADAFileSet::setReconfigModule(const std::string& name) {
    m_data->reconfigModule = name;
}

const filemgmt::SrcFileList& HADAFileSet::sources_() const {
    return m_data->files;
}

void HADAFileSet::setManager_(HADAFileMgr* mgr, bool internal) {
    m_data->mgr = mgr;
    m_data->internal = internal;
}

void HADAFileSet::copyFrom_(const HADAFileSet& source, bool keepOwn, bool withRunNames) {
    if (!keepOwn)
        removeAllSrcFiles();
    for (const auto& original : source.m_data->files.files())
        copyFile_(*original, withRunNames);
    if (source.m_data->oocRoot != nullptr)
        m_data->oocRoot = counterpart_(*source.m_data->oocRoot)->getCompositeFile();
    m_data->srcOptions = source.m_data->srcOptions;
    m_data->edifOptions = source.m_data->edifOptions;
    m_data->reconfigModule = source.m_data->reconfigModule;
}

void HADAFileSet::copyFile_(const HDDASrcFile& original, bool withRunNames) {
    std::unique_ptr<HDDASrcFile> copy = original.clone_();
    if (!withRunNames)
        forgetRuns(*copy);
    copy->setPlace_(this, nullptr);
    HDDASrcFile* const own = findSrcFile(copy->getName());
    if (own == nullptr) {
        m_data->files.add(std::move(copy));
        return;
    }
    leaving_(*own);
    m_data->files.replace(std::move(copy));
}

HDDASrcFile* HADAFileSet::counterpart_(const HDDASrcFile& original) const {
    const HDDACompositeFile* const parent = original.getParentComposite();
    if (parent == nullptr)
        return findSrcFile(original.getName());
    return counterpart_(*parent)->getCompositeFile()->findSrcFile(original.getName());
}
