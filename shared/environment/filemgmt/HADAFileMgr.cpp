// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HADAFileMgr.h"

#include <algorithm>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXUserException.h"
#include "environment/filemgmt/HADAFileSet.h"

HADAFileMgr::HADAFileMgr() = default;

HADAFileMgr::~HADAFileMgr() {
    for (const auto& fileSet : m_fileSets)
        fileSet->setManager_(nullptr, false);
    for (HADAFileSet* fileSet : m_internal)
        fileSet->setManager_(nullptr, true);
}

HADAFileSet* HADAFileMgr::createFileSet(const std::string& name, HDDATypes::FileSetType type) {
    if (name.empty())
        throw HEXUserException("A file set needs a name. Give one.");
    if (findFileSet(name) != nullptr)
        throw HEXUserException("There is a file set \"" + name +
                               "\" already. Choose another name, or use that one.");
    m_fileSets.push_back(std::make_unique<HADAFileSet>(name, type));
    m_fileSets.back()->setManager_(this, false);
    return m_fileSets.back().get();
}

HADAFileSet* HADAFileMgr::createInternalFileSet(const std::string& name,
                                                HDDATypes::FileSetType type) {
    auto fileSet = std::make_unique<HADAFileSet>(name, type);
    m_internal.insert(fileSet.get());
    fileSet->setManager_(this, true);
    return fileSet.release();
}

bool HADAFileMgr::removeFileSet(HADAFileSet* fileSet) {
    const std::unique_ptr<HADAFileSet> removed = take_(fileSet);
    if (removed != nullptr)
        removed->setManager_(nullptr, false);
    return removed != nullptr;
}

HADAFileSet* HADAFileMgr::findFileSet(const std::string& name) const {
    const auto found = std::find_if(m_fileSets.begin(), m_fileSets.end(),
                                    [&](const auto& set) { return set->getName() == name; });
    return found == m_fileSets.end() ? nullptr : found->get();
}

HSTFwdIter<HADAFileSet*>* HADAFileMgr::createFileSetIter() const {
    return containers::heapIterOfOwned<HADAFileSet*>(m_fileSets);
}

std::unique_ptr<HADAFileSet> HADAFileMgr::take_(HADAFileSet* fileSet) {
    const auto found = std::find_if(m_fileSets.begin(), m_fileSets.end(),
                                    [&](const auto& set) { return set.get() == fileSet; });
    if (found == m_fileSets.end())
        return nullptr;
    std::unique_ptr<HADAFileSet> taken = std::move(*found);
    m_fileSets.erase(found);
    return taken;
}

void HADAFileMgr::forget_(HADAFileSet* fileSet) {
    m_internal.erase(fileSet);
    // It is on its way out, so nobody is to delete it again.
    static_cast<void>(take_(fileSet).release());
}
