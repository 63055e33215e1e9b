// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "environment/EnvironmentExport.h"

/// How the sources of a file set are read. A value.
class ENVIRONMENT_API HDDASrcOptions {
public:
    HDDASrcOptions() = default;

    /// The module or entity at the top of the design; empty when not chosen.
    const std::string& getTopName() const { return m_topName; }
    void setTopName(const std::string& name) { m_topName = name; }

    /// Folders searched for included files, in order.
    const std::vector<std::string>& getIncludeDirs() const { return m_includeDirs; }
    void setIncludeDirs(const std::vector<std::string>& dirs) { m_includeDirs = dirs; }

    /// Macros, each "NAME" or "NAME=VALUE".
    const std::vector<std::string>& getDefines() const { return m_defines; }
    void setDefines(const std::vector<std::string>& defines) { m_defines = defines; }

    /// Values of the top's parameters, each "NAME=VALUE".
    const std::vector<std::string>& getParameters() const { return m_parameters; }
    void setParameters(const std::vector<std::string>& parameters) { m_parameters = parameters; }

private:
    std::string m_topName;
    std::vector<std::string> m_includeDirs;
    std::vector<std::string> m_defines;
    std::vector<std::string> m_parameters;
};
