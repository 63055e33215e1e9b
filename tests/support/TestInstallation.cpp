// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/support/TestInstallation.h"

#include "environment/installation/HUTEnv.h"

namespace test {

TestInstallation::TestInstallation() : m_before(HUTEnv::getInstallation()) {
    m_folder.folder("root");
    m_folder.folder("user");
    Installation installation;
    installation.programName = "xptest";
    installation.productName = "tarnel";
    installation.version = "2026.1";
    installation.copyright = "Copyright the testers";
    installation.installRoot = root();
    installation.appRoot = root();
    installation.appRoots = {root()};
    installation.appDataDir = appDataDir();
    set(installation);
}

TestInstallation::~TestInstallation() {
    HUTEnv::setInstallation(m_before);
}

void TestInstallation::addFile(const std::string& relPath, const std::string& content) const {
    const std::string name = "root/" + relPath;
    m_folder.folder(name.substr(0, name.rfind('/')));
    m_folder.mark(name, content);
}

std::string TestInstallation::addRoot(const std::string& name) {
    m_folder.folder(name);
    Installation installation = m_installation;
    installation.appRoots.push_back(m_folder.path(name));
    set(installation);
    return m_folder.path(name);
}

void TestInstallation::setProgramName(const std::string& name) {
    m_installation.programName = name;
    set(m_installation);
}

void TestInstallation::setProductName(const std::string& name) {
    m_installation.productName = name;
    set(m_installation);
}

void TestInstallation::setVersion(const std::string& version) {
    m_installation.version = version;
    set(m_installation);
}

void TestInstallation::set(const Installation& installation) {
    m_installation = installation;
    HUTEnv::setInstallation(m_installation);
}

}  // namespace test
