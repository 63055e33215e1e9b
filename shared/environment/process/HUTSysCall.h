// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/EnvironmentExport.h"

/// Calls of the operating system.
class ENVIRONMENT_API HUTSysCall {
public:
    HUTSysCall() = delete;

    /// Holds the calling thread for `ms` milliseconds, signals
    /// notwithstanding; not at all for 0 and less.
    static void msSleep(long ms);
};
