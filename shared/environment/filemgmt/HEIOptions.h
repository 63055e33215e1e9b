// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

/// The netlist options of a file set. A value.
class ENVIRONMENT_API HEIOptions {
public:
    HEIOptions() = default;

    /// The netlist that holds the top; empty when the sources decide.
    const std::string& getTopFile() const { return m_topFile; }
    void setTopFile(const std::string& path) { m_topFile = path; }

private:
    std::string m_topFile;
};
