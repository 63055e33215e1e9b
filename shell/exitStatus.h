// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace shell {

/// How xp ends; scripts rely on it.
enum ExitStatus {
    kExitDone = 0,
    kExitRunFailed = 1,    ///< a run or report that was asked for failed
    kExitUsage = 2,        ///< the command line is wrong
    kExitGoalMissed = 3,   ///< all is done, but nothing meets what was required
    kExitStale = 4,        ///< the results that were asked for are out of date
    kExitToolMissing = 5,  ///< a tool that a run needs isn't installed
    kExitRefused = 6,      ///< the project, an input or the disk doesn't allow it
    kExitInterrupted = 130
};

/// A status as help and manual tell it.
struct ExitStatusText {
    ExitStatus status;
    const char* text;
};

/// Every status, in the order of the numbers.
const std::vector<ExitStatusText>& exitStatuses();

/// Ends a verb with a status; the text is the whole message for the user.
class CommandError : public std::runtime_error {
public:
    CommandError(ExitStatus status, const std::string& text);
    ~CommandError() override;

    ExitStatus status() const { return m_status; }

private:
    ExitStatus m_status;
};

}  // namespace shell
