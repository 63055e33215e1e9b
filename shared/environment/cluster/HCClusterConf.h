// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

/// A named way to use a cluster.
class ENVIRONMENT_API HCClusterConf {
public:
    explicit HCClusterConf(const std::string& name);

    const std::string& getName() const { return m_name; }

    /// The command that ends a job; the job's identifier goes behind it as one
    /// more word. Empty when this cluster's jobs can't be killed by command.
    const std::string& getKillCmd() const { return m_killCmd; }
    void setKillCmd(const std::string& command) { m_killCmd = command; }

private:
    std::string m_name;
    std::string m_killCmd;
};
