// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "tests/support/RunDir.h"
#include "workbench/DesignInputs.h"

class HAXPExpRun;
class HAXPFlow;

namespace test {

/// The workbench's product, installed for the process, and a private folder with the
/// files of a small design that are an hour old.
class TestBench {
public:
    TestBench();

    const RunDir& folder() const { return m_folder; }
    std::string path(const std::string& name) const { return m_folder.path(name); }

    /// A source, constraints and a top module "blinky".
    DesignInputs inputs() const;

    /// A run of `flow` with its default strategy and the inputs.
    std::unique_ptr<HAXPExpRun> makeRun(const HAXPFlow& flow) const;

    /// Makes `run`, which has a run directory, as it is after a launch at `launchTime` of
    /// which every step ended well: its status follows from markers, its inputs, files
    /// and tools are recorded.
    void finish(HAXPExpRun& run, long launchTime) const;

    static const HAXPFlow& synthesis();
    static const HAXPFlow& implementation();

    /// What the step wrapper writes into a begin marker, for a process that is none.
    static std::string handleText();

private:
    RunDir m_folder;
};

/// Holds the file lock of a run directory as the processes of a run do.
class HeldRunLock {
public:
    explicit HeldRunLock(const std::string& runDir);
    ~HeldRunLock();

    HeldRunLock(const HeldRunLock&) = delete;
    HeldRunLock& operator=(const HeldRunLock&) = delete;

private:
    int m_fd;
};

}  // namespace test
