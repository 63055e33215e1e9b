// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPFileSpec.h"

#include "environment/containers/heapIter.h"
#include "runs/base/xperiment/uuids.h"

HAXPFileSpec::HAXPFileSpec(const std::string& name) : m_name(name) {}

HAXPFileSpec::~HAXPFileSpec() = default;

void HAXPFileSpec::addFileType(HAXPTypes::FileType type) {
    m_fileTypes.push_back(type);
}

void HAXPFileSpec::addFileType(const HAXPFileType& type) {
    try {
        // A type whose UUID has no text can't be told to anyone.
        if (!xperiment::uuidText(type.getUuid()).empty())
            m_universalFileTypes.insert(type);
    } catch (...) {
        // Specs are filled while the catalogue is built, where one kind of file less
        // is better than no catalogue.
        return;
    }
}

HSTFwdIter<HAXPTypes::FileType>* HAXPFileSpec::createFileTypeIter() const {
    return containers::heapIter<HAXPTypes::FileType>(m_fileTypes);
}

HAXPFileSpec::UniversalFileTypeRange HAXPFileSpec::createUniversalFileTypeRange() const {
    return {m_universalFileTypes.begin(), m_universalFileTypes.end()};
}
