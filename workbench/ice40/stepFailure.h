// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <stdexcept>
#include <string>

namespace ice40 {

/// How a step program ends; documented in docs/workbench/ice40.md.
enum ExitStatus {
    kExitDone = 0,
    kExitFailed = 1,       ///< an input is wrong, or the tool refused the design
    kExitUsage = 2,        ///< the command line is wrong
    kExitNotInstalled = 3  ///< a tool or a file that is installed with it is missing
};

/// Why a step can't be done: one sentence with the cause and one that tells
/// what to do next. The outputs that an earlier, good run left stay in place.
class StepFailure : public std::runtime_error {
public:
    StepFailure(const std::string& cause, const std::string& advice,
                ExitStatus status = kExitFailed);
    ~StepFailure() override;

    /// The status that the program ends with.
    ExitStatus status() const { return m_status; }

private:
    ExitStatus m_status;
};

/// The program was told to stop by a signal; nothing more is written.
class StepStopped : public std::runtime_error {
public:
    explicit StepStopped(int signal);
    ~StepStopped() override;

    int signal() const { return m_signal; }

private:
    int m_signal;
};

}  // namespace ice40
