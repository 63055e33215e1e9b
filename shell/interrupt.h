// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <csignal>

namespace shell {

/// Takes Ctrl-C for as long as it lives, so that whoever waits can say what goes on.
/// One at a time.
class Interrupt {
public:
    Interrupt();
    ~Interrupt();

    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    /// Waits for `ms` milliseconds, or until Ctrl-C is pressed; whether it was, now or
    /// since this object was made.
    bool pause(int ms) const;

private:
    struct sigaction m_before {};
    sigset_t m_maskBefore{};
};

}  // namespace shell
