// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "benchmarks/BenchFolder.h"

class HAXPExpRun;
class Project;

namespace bench {

/// A project whose synthesis is a shell script: no tool is needed, and none is measured.
class BenchProject {
public:
    /// `script` is what the step does, behind its first line. The product is installed for
    /// the process with the first project: its script stays.
    explicit BenchProject(const std::string& script);
    ~BenchProject();

    BenchProject(const BenchProject&) = delete;
    BenchProject& operator=(const BenchProject&) = delete;

    Project& project() { return *m_project; }
    HAXPExpRun& addRun(const std::string& name);

private:
    BenchFolder m_folder;
    std::unique_ptr<Project> m_project;
};

/// Waits until the status of `run` has this code. @throws std::runtime_error it doesn't
/// within a minute.
void awaitStatus(HAXPExpRun& run, int code);

}  // namespace bench
