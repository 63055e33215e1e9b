// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/EnvironmentExport.h"

class HADAFileSet;

/// Questions about reconfigurable modules.
class ENVIRONMENT_API HPRMUtils {
public:
    HPRMUtils() = delete;

    /// Whether the set belongs to a reconfigurable module; false for null.
    static bool isRMFileSet(const HADAFileSet* fileSet);
};
