// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/workbench/FarHost.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace test {

FarHost::FarHost() {
    m_folder.folder("bin");
    script(login());
}

void FarHost::script(const std::string& body) const {
    m_folder.mark("remote", "#!/bin/sh\necho \"$1\" >>'" + m_folder.path("calls") + "'\nPATH='" +
                                m_folder.path("bin") + "':$PATH\n" + body + "\n");
    EXPECT_EQ(::chmod(m_folder.path("remote").c_str(), 0755), 0);
}

void FarHost::program(const std::string& name, const std::string& body) const {
    m_folder.mark("bin/" + name, "#!/bin/sh\n" + body + "\n");
    EXPECT_EQ(::chmod(m_folder.path("bin/" + name).c_str(), 0755), 0);
}

std::string FarHost::calls() const {
    return m_folder.has("calls") ? m_folder.read("calls") : std::string();
}

}  // namespace test
