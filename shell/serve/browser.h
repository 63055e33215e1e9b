// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace shell {

/// Shows an address with a secret in the user's browser. The browser gets a file that only the
/// user can read and that leads to the address: every user of the host sees command lines. The
/// file goes with the object.
class Browser {
public:
    /// Says so and goes on when there is no browser or the file can't be made.
    explicit Browser(const std::string& address);
    ~Browser();

    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;

private:
    std::string m_folder;
};

}  // namespace shell
