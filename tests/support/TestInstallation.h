// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/installation/Installation.h"
#include "tests/support/RunDir.h"

namespace test {

/// A private installation in a temporary folder, for as long as it lives.
///
/// Program "xptest", product "tarnel", version "2026.1", copyright "Copyright
/// the testers"; one root, which is install root and app root too, and a user
/// folder; both exist and are empty. The earlier installation comes back at the
/// end. One at a time.
class TestInstallation {
public:
    TestInstallation();
    ~TestInstallation();

    TestInstallation(const TestInstallation&) = delete;
    TestInstallation& operator=(const TestInstallation&) = delete;

    std::string root() const { return m_folder.path("root"); }
    std::string appDataDir() const { return m_folder.path("user"); }

    /// Makes the file `relPath` under the root, with the folders above it.
    void addFile(const std::string& relPath, const std::string& content = "") const;

    /// Makes the folder `name` beside the root and adds it as a further root;
    /// gives its path.
    std::string addRoot(const std::string& name);

    void setProgramName(const std::string& name);
    void setProductName(const std::string& name);
    void setVersion(const std::string& version);

    /// Any other change: edit what get() gives and hand it to set().
    const Installation& get() const { return m_installation; }
    void set(const Installation& installation);

private:
    RunDir m_folder;
    Installation m_before;
    Installation m_installation;
};

}  // namespace test
