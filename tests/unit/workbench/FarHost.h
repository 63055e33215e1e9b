// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "tests/support/RunDir.h"

namespace test {

/// A remote command in a folder of its own that stands for the way to another host: it
/// drops the host and runs the word in a shell here, as a login there would.
class FarHost {
public:
    FarHost();

    /// The command line.
    std::string command() const { return m_folder.path("remote"); }

    /// Makes the remote command the shell script `body`. In it, "$1" is the host, "$2" the
    /// word; `login` is what it does at first.
    void script(const std::string& body) const;
    static std::string login() { return R"(exec sh -c "$2")"; }

    /// Puts the shell script `body` as the program `name` before those of the host.
    void program(const std::string& name, const std::string& body) const;

    /// Makes pauses on the host take no time. They are those of a host that counts in whole
    /// seconds.
    void hurry() const { program("sleep", "[ \"$1\" = 1 ]"); }

    /// The hosts that were called, each in a line.
    std::string calls() const;

    const RunDir& folder() const { return m_folder; }

private:
    RunDir m_folder;
};

}  // namespace test
