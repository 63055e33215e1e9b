// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstdint>

/// The version of a report specification. (0, 0) says that none was given and
/// the latest is wanted.
///
/// Filled by braces and without a constructor: some system headers define
/// macros major() and minor(), which such a constructor would run into.
struct VersionInfo {
    std::int32_t major = 0;
    std::int32_t minor = 0;

    bool isLatest() const { return major == 0 && minor == 0; }

    friend bool operator==(const VersionInfo& a, const VersionInfo& b) {
        return a.major == b.major && a.minor == b.minor;
    }
    friend bool operator!=(const VersionInfo& a, const VersionInfo& b) { return !(a == b); }
};
