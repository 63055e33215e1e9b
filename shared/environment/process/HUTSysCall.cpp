// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/HUTSysCall.h"

#include "environment/process/clock.h"

void HUTSysCall::msSleep(long ms) {
    if (ms > 0)
        process::clock().sleepMs(ms);
}
