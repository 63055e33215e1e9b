// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

/// The shell scripts that HostCalls runs on another host.
namespace workbench {

/// Each gets the run directory as $1 and the launch's identity as $2, and answers with
/// one line "xp:<launch> <verb> ...". They are written for any POSIX shell, for
/// process::remoteWord(), and use no single quote, so that every user's shell takes them.
///
/// "start began <pid> <host> <boot> <namespace>", or "start <reason> <words>...".
const std::string& hostStartScript();

/// "look <host> <boot> <namespace> same|other held|free|none|untold seen|unseen <pid>..."
const std::string& hostLookScript();

/// "stop", the same words as of a look, how many were asked and how many killed, and the
/// processes that are left.
const std::string& hostStopScript();

}  // namespace workbench
