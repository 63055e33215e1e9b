// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/runLock.h"

/// What is asked of another host about one launch of a run, and its answers.
namespace workbench {

/// In the run directory: which host a launch began on, written there before its script
/// begins. One line: launch, process, host, start of the host, pid namespace; "-" for
/// what the host doesn't tell.
inline constexpr char kHostClaimName[] = ".launch.host";

/// What tells one host, one start of it and one pid namespace from all others; what the
/// host doesn't tell is "-".
struct HostIdentity {
    std::string name;
    std::string bootId;
    std::string pidNamespace;
};

/// The claim of the launch `launchId` in `runDir`. False, with `host` as it was, when
/// nothing of that launch began on another host as far as can be seen from here.
WORKBENCH_API bool readHostClaim(const std::string& runDir, const std::string& launchId,
                                 HostIdentity& host);

/// Whether `host` can be the name of a host, or that of a user and a host with @ between
/// them.
WORKBENCH_API bool isRemoteHost(const std::string& host);

struct HostStart {
    enum class Kind {
        kBegan,    ///< the script of the run was started
        kRefused,  ///< the host answered that it wasn't
        kUntold,   ///< no answer that can be understood
    };
    Kind kind = Kind::kUntold;
    /// Why not, in words of the host's or of the remote command, without a period.
    std::string words;
};

struct HostLook {
    /// Whether the host answered; if not, `words` says why and nothing else is set.
    bool isTold = false;
    std::string words;
    HostIdentity host;
    /// Whether the run directory is there, and the same as here.
    bool seesDirectory = false;
    /// kUnknown also when the host has no program to ask with.
    RunLife lock = RunLife::kUnknown;
    /// Whether the host could look for processes, and those that it found.
    bool seesProcesses = false;
    std::vector<long> pids;
};

struct HostStop : HostLook {
    /// How many processes were asked to end, and how many had to be killed. `pids` and
    /// `lock` say what is left.
    std::size_t asked = 0;
    std::size_t killed = 0;
};

/// Calls one host about one launch.
///
/// Each operation is one call of the remote command, which gets the host and one word
/// with a shell command; nothing of the product has to be installed there. A call that
/// hangs is given up after a minute or so and counts as not answered.
class WORKBENCH_API HostCalls {
public:
    HostCalls(std::string command, std::string host, std::string runDir, std::string launchId);

    /// Starts "runme.sh" in the run directory with the identity of the launch in its
    /// environment, apart from the connection, as long as the lease there is this
    /// launch's.
    HostStart start() const;
    /// Looks for what lives of the launch. Changes nothing.
    HostLook look() const;
    /// Makes the stop marker, asks every process of the launch to end, kills after three
    /// seconds what didn't listen, and looks for five more whether all are gone. Right
    /// before each signal the process is looked at: one that isn't the launch's gets
    /// none.
    HostStop stop() const;

private:
    struct Reply;
    Reply call_(const std::string& script, const std::string& verb, long limitMs) const;

    std::string m_command;
    std::string m_host;
    std::string m_runDir;
    std::string m_launchId;
};

}  // namespace workbench
