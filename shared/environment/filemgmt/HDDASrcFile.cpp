// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HDDASrcFile.h"

#include "environment/filemgmt/HDDASrcFileType.h"

HDDASrcFile::HDDASrcFile(const std::string& path, HDDATypes::SFTId type)
    : m_name(path), m_fileType(HDDASrcFileType::get(type)) {}

HDDASrcFile::~HDDASrcFile() = default;

void HDDASrcFile::setFileType(HDDATypes::SFTId id) {
    m_fileType = HDDASrcFileType::get(id);
}

HDDACompositeFile* HDDASrcFile::getCompositeFile() {
    return nullptr;
}

const HDDACompositeFile* HDDASrcFile::getCompositeFile() const {
    return const_cast<HDDASrcFile*>(this)->getCompositeFile();
}

bool HDDASrcFile::updateStamp() {
    const HDDAContentStamp before = m_stamp;
    m_stamp = HDDAContentStamp::read(m_name);
    return !m_stamp.isSameContent(before);
}

std::unique_ptr<HDDASrcFile> HDDASrcFile::clone_() const {
    std::unique_ptr<HDDASrcFile> copy(new HDDASrcFile(m_name, m_fileType->getId()));
    copyStateTo_(*copy);
    return copy;
}

void HDDASrcFile::copyStateTo_(HDDASrcFile& copy) const {
    copy.m_attrs = m_attrs;
    copy.m_stamp = m_stamp;
    copy.m_importTime = m_importTime;
}

void HDDASrcFile::setPlace_(HADAFileSet* fileSet, HDDACompositeFile* parent) {
    m_fileSet = fileSet;
    m_parent = parent;
}
