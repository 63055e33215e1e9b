// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/exitStatus.h"

namespace shell {

const std::vector<ExitStatusText>& exitStatuses() {
    static const std::vector<ExitStatusText> all{
        {kExitDone, "done; all runs that were asked for are done"},
        {kExitRunFailed, "a run or a report failed"},
        {kExitUsage, "the command line is wrong"},
        {kExitGoalMissed, "all is done, but no run meets what was required"},
        {kExitStale, "the results that were asked for are stale"},
        {kExitToolMissing, "a tool or the grid is missing; the message tells how to get it"},
        {kExitRefused, "refused: the project, an input or the disk doesn't allow it"},
        {kExitInterrupted, "interrupted by Ctrl-C; runs at work go on"}};
    return all;
}

CommandError::CommandError(ExitStatus status, const std::string& text)
    : std::runtime_error(text), m_status(status) {}

CommandError::~CommandError() = default;

}  // namespace shell
