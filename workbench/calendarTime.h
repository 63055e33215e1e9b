// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ctime>
#include <string>

#include "workbench/WorkbenchExport.h"

/// Moments as people and scripts read them.
namespace workbench {

/// `time`, in seconds since 1970, as `format` tells strftime(): by the clock on the wall here, or
/// by that of the whole world. At most 63 bytes; empty for a time that no calendar has, as a
/// damaged file may hold.
WORKBENCH_API std::string localTime(std::time_t time, const char* format);
WORKBENCH_API std::string utcTime(std::time_t time, const char* format);

}  // namespace workbench
