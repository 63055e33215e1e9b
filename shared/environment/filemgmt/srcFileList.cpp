// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/srcFileList.h"

#include <utility>

#include "environment/errors/HEXUserException.h"
#include "environment/filemgmt/HDDACompositeFile.h"
#include "environment/filemgmt/HDDASrcFilter.h"

namespace filemgmt {

const SrcFileList* SrcFileList::inside(const HDDASrcFile& file) {
    const HDDACompositeFile* const composite = file.getCompositeFile();
    return composite == nullptr ? nullptr : composite->m_files.get();
}

void SrcFileList::checkNew(const std::string& path, const std::string& holder) const {
    if (path.empty())
        throw HEXUserException("A source without a path can't be added to \"" + holder +
                               "\". Give the path of a file.");
    if (find(path) != nullptr)
        throw HEXUserException("\"" + path + "\" is in \"" + holder +
                               "\" already. Remove it there first, or add another file.");
}

HDDASrcFile* SrcFileList::find(const std::string& path) const {
    const auto found = m_index.find(path);
    return found == m_index.end() ? nullptr : m_files[found->second].get();
}

HDDASrcFile* SrcFileList::add(std::unique_ptr<HDDASrcFile> owned) {
    HDDASrcFile* const file = owned.get();
    m_files.push_back(std::move(owned));
    m_index[file->getName()] = m_files.size() - 1;
    return file;
}

HDDASrcFile* SrcFileList::replace(std::unique_ptr<HDDASrcFile> owned) {
    HDDASrcFile* const file = owned.get();
    const auto found = m_index.find(file->getName());
    const std::size_t at = found->second;
    m_index.erase(found);  // its key is the name of the one that goes
    m_files[at] = std::move(owned);
    m_index[file->getName()] = at;
    return file;
}

std::unique_ptr<HDDASrcFile> SrcFileList::take(const HDDASrcFile* file) {
    if (file == nullptr || find(file->getName()) != file)
        return nullptr;
    const std::size_t at = m_index[file->getName()];
    m_index.erase(file->getName());
    std::unique_ptr<HDDASrcFile> taken = std::move(m_files[at]);
    m_files.erase(m_files.begin() + static_cast<std::ptrdiff_t>(at));
    for (std::size_t i = at; i < m_files.size(); ++i)
        m_index[m_files[i]->getName()] = i;
    return taken;
}

void SrcFileList::clear() {
    m_index.clear();
    m_files.clear();
}

void SrcFileList::visit(const HDDASrcFilter* filter, bool deep,
                        const std::function<void(HDDASrcFile*)>& see) const {
    for (const auto& file : m_files) {
        if (filter == nullptr || filter->filterSF(file.get()))
            see(file.get());
        const SrcFileList* const inner = deep ? inside(*file) : nullptr;
        if (inner != nullptr)
            inner->visit(filter, deep, see);
    }
}

}  // namespace filemgmt
