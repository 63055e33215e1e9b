// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPFileCheck.h"

#include <utility>

#include "environment/files/HUTFile.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPFileSpec.h"

HAXPFileCheck::HAXPFileCheck(const HAXPFileSpec* spec, HAXPExpInfoBase* info)
    : m_info(info), m_spec(spec) {}

HAXPFileCheck::~HAXPFileCheck() = default;

int HAXPFileCheck::getId() const {
    return m_spec->getId();
}

const std::string& HAXPFileCheck::getName() const {
    return m_spec->getName();
}

const std::string& HAXPFileCheck::getDescription() const {
    return m_spec->getDescription();
}

bool HAXPFileCheck::isAvailable() const {
    const HCTLock lock(m_mutex);
    return m_available;
}

void HAXPFileCheck::getFullPath(std::string& path) const {
    const HCTLock lock(m_mutex);
    path = m_fullPath;
}

void HAXPFileCheck::updateFile(const std::string& runDir) {
    std::string path;
    if (!findFile_(runDir, path))
        return resetFile();
    const HCTLock lock(m_mutex);
    m_available = true;
    m_fullPath = std::move(path);
}

void HAXPFileCheck::resetFile() {
    const HCTLock lock(m_mutex);
    m_available = false;
    m_fullPath.clear();
}

bool HAXPFileCheck::findFile_(const std::string& runDir, std::string& path) const {
    if (runDir.empty() || m_info == nullptr)
        return false;
    for (const HAXPTypes::FileType type : m_spec->getFileTypes()) {
        const std::string& name = m_info->getFile(type);
        if (!name.empty() && findNamed_(runDir, name, path))
            return true;
    }
    return false;
}

/// The name first as it is, then in lower case if the spec says so: some tools
/// fold the case of what they write. The directory stays as it is.
bool HAXPFileCheck::findNamed_(const std::string& runDir, const std::string& name,
                               std::string& path) const {
    const std::string folder = runDir + HUTFile::getDirSeparator();
    path = folder + name;
    if (HUTFile::exists(path))
        return true;
    if (!m_spec->checkLowerCase())
        return false;
    std::string lowerCaseName = name;
    HSTStringUtils::to_lower(lowerCaseName);
    path = folder + lowerCaseName;
    return HUTFile::exists(path);
}
