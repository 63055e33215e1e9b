// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "workbench/WorkbenchExport.h"

/// Clusters: their client programs, their jobs.
namespace cluster {

/// A call of a client program of a scheduler. No shell sees its words.
struct ClientCall {
    std::vector<std::string> words;  ///< the program first, looked up in PATH
    std::string workingDir;          ///< the current one when empty
    std::vector<std::pair<std::string, std::string>> variables;  ///< in addition
    long limitMs = 20000;
    std::size_t mostBytes = std::size_t{1} << 20U;  ///< of its output
};

/// What came of a call.
struct ClientAnswer {
    enum End {
        kEnded,       ///< by itself, with `status`
        kOverTime,    ///< it gave no end in time and was killed
        kTooMuch,     ///< it said more than anyone can mean and was killed
        kNotStarted,  ///< there is no such program; `text` tells why
    };
    End end = kNotStarted;
    /// The exit status; 128 + n when signal n ended it.
    int status = 0;
    /// Its output and its errors, as they came.
    std::string text;

    /// Whether it ended by itself and said that all went well.
    bool isGood() const { return end == kEnded && status == 0; }
    /// Whether it ended by itself, not by a signal, and said that it failed.
    bool isRefusal() const { return end == kEnded && status != 0 && !isKilled_(); }
    /// What a user is told: the client's own words on one line, of a bounded length; or
    /// how it ended, when it said nothing.
    WORKBENCH_API std::string told() const;

private:
    static constexpr int kSignalled = 128;
    static constexpr int kLastSignal = 64;

    bool isKilled_() const { return status > kSignalled && status <= kSignalled + kLastSignal; }
};

/// Makes the call and waits for its end, at most a little longer than the limit; waits go
/// through the clock. A client that is killed is killed with its process group.
WORKBENCH_API ClientAnswer callClient(const ClientCall& call);

}  // namespace cluster
