// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HDDASrcFilter.h"

#include <bitset>
#include <string>
#include <vector>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HDDASrcFile.h"
#include "environment/filemgmt/HDDASrcFileType.h"

namespace {

bool isInRange(HDDATypes::SFTId id) {
    return id >= 0 && id < HDDATypes::SFT_LIMIT;
}

std::uint64_t bitOf(HDDATypes::SFTId id) {
    return std::uint64_t{1} << static_cast<unsigned>(id);
}

}  // namespace

void HDDASrcFilter::addSFType(HDDATypes::SFTId id) {
    if (!isInRange(id))
        throw HEXAlgException("Source filter: no source file type has the number " +
                              std::to_string(id));
    m_types |= bitOf(id);
}

int HDDASrcFilter::sfTypeCount() const {
    return static_cast<int>(std::bitset<64>(m_types).count());
}

bool HDDASrcFilter::hasSFType(HDDATypes::SFTId id) const {
    return isInRange(id) && (m_types & bitOf(id)) != 0;
}

HSTFwdIter<HDDATypes::SFTId>* HDDASrcFilter::createSFTypeIter() const {
    std::vector<HDDATypes::SFTId> ids;
    for (int number = 0; number < HDDATypes::SFT_LIMIT; ++number) {
        const auto id = static_cast<HDDATypes::SFTId>(number);
        if (hasSFType(id))
            ids.push_back(id);
    }
    return containers::heapIterOfCopy<HDDATypes::SFTId>(std::move(ids));
}

void HDDASrcFilter::clearSFTypes() {
    m_types = 0;
    m_compositeType = false;
}

bool HDDASrcFilter::filterSF(const HDDASrcFile* file) const {
    if (file == nullptr || !passesKind_(*file))
        return false;
    const HDDASrcAttrs& attrs = file->getAttrs();
    return (!m_excludeDisabled || attrs.isEnabled()) &&
           m_synthesis.passes(attrs.isUsedInSynthesis()) &&
           m_implementation.passes(attrs.isUsedInImplementation()) &&
           m_simulation.passes(attrs.isUsedInSimulation());
}

bool HDDASrcFilter::passesKind_(const HDDASrcFile& file) const {
    if (m_types == 0 && !m_compositeType)
        return true;
    return hasSFType(file.getFileType()->getId()) ||
           (m_compositeType && file.getCompositeFile() != nullptr);
}
