// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ctime>

/// Times of files, as their file systems keep them.
namespace workbench {

/// File systems round times: none in use has a coarser clock.
inline constexpr std::time_t kCoarsestClockSec = 2;

/// The present time, by the clock that this host's file systems go by.
inline timespec systemTime() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

inline bool isSameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

inline bool isBefore(const timespec& a, const timespec& b) {
    return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

}  // namespace workbench
