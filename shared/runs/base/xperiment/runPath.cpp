// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/runPath.h"

#include <fcntl.h>
#include <unistd.h>

#include "environment/files/HUTFile.h"
#include "environment/files/diskOps.h"

namespace xperiment {

RunPath::RunPath(const std::string& runDir) : m_runDir(runDir), m_folder(AT_FDCWD) {
    append_(runDir);
    append_(HUTFile::getDirSeparator());
    m_prefix = m_path.size();
}

RunPath::~RunPath() {
    if (m_folder != AT_FDCWD)
        ::close(m_folder);
}

void RunPath::open() {
    if (m_folder != AT_FDCWD || m_runDir.empty())
        return;
    const int folder = ::open(m_runDir.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    m_folder = folder;
    m_prefix = 0;
}

bool RunPath::look(std::initializer_list<std::string_view> name, long& seconds, long& size) {
    return !m_runDir.empty() && files::stampAt(m_folder, set_(name), seconds, size);
}

std::string RunPath::to(std::initializer_list<std::string_view> name) const {
    std::string path = m_runDir + HUTFile::getDirSeparator();
    for (const std::string_view part : name)
        path += part;
    return path;
}

bool RunPath::remove(std::initializer_list<std::string_view> name) {
    return !m_runDir.empty() && files::removeAt(m_folder, set_(name));
}

const char* RunPath::set_(std::initializer_list<std::string_view> name) {
    m_path.resize(m_prefix);
    for (const std::string_view part : name)
        append_(part);
    m_path.push_back('\0');
    return m_path.data();
}

}  // namespace xperiment
