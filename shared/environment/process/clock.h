// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/EnvironmentExport.h"

namespace process {

/// Time as those see it who wait for a process.
class ENVIRONMENT_API Clock {
public:
    virtual ~Clock();

    /// Milliseconds since some moment; never goes back.
    virtual long nowMs() = 0;
    virtual void sleepMs(long ms) = 0;
};

/// The clock in use: the real one unless another was set.
ENVIRONMENT_API Clock& clock();

/// Puts `other` in the place of the clock until it is called again; null brings
/// the real one back. Not while another thread waits.
ENVIRONMENT_API void setClock(Clock* other);

}  // namespace process
