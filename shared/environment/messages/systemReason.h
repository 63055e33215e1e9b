// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cerrno>
#include <string>
#include <system_error>

/// Why the last system call failed, in the system's words.
inline std::string systemReason() {
    return std::generic_category().message(errno);
}
