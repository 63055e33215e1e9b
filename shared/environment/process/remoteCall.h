// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "environment/EnvironmentExport.h"

namespace process {

/// What a call of another host came to.
struct ENVIRONMENT_API RemoteAnswer {
    enum class End {
        kNotStarted,  ///< the command could not be started; `output` says why
        kEnded,       ///< it ended with `status`
        kTimedOut,    ///< it was ended, as it took too long or wrote without end
    };
    End end = End::kNotStarted;
    /// As HUTFork::launch() gives it; -1 unless it ended.
    int status = -1;
    /// What it wrote to output and errors, up to a million bytes.
    std::string output;

    /// The last line of the output that isn't empty, without blanks at its end: where
    /// programs say what went wrong.
    std::string lastLine() const;
};

/// Whether `host` can be a word of a command without being taken for a switch.
ENVIRONMENT_API bool isHostName(const std::string& host);

/// One word with a shell command that runs `script` with `args` as $1 and so on, in
/// whatever shell a user has there. The lines of `script` are made one, as some of these
/// take no line end within quotes: each of them ends as if a blank followed, and none
/// holds a comment.
ENVIRONMENT_API std::string remoteWord(const std::string& script,
                                       const std::vector<std::string>& args);

inline constexpr long kNoLimit = 0;

/// Runs `word` on `host` through `command`, a program and its switches that gets the
/// host and the word. Waits for its end, by the clock in use, and ends it and its whole
/// process group after `limitMs` milliseconds, unless that is kNoLimit; what it began on
/// the host may go on then.
ENVIRONMENT_API RemoteAnswer callHost(const std::string& command, const std::string& host,
                                      const std::string& word, long limitMs);

}  // namespace process
