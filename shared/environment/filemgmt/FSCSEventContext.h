// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <vector>

#include "environment/EnvironmentExport.h"

class HADAFileSet;
class HDDASrcFile;

/// What a run step keeps between a change of a file set and the update of the
/// design graph that follows it. Owns nothing.
class ENVIRONMENT_API FSCSEventContext {
public:
    FSCSEventContext() = default;

    /// Forgets the event; the list keeps its capacity for the next one.
    void clear();

    /// The block designs that the event added, each once, in order.
    std::vector<HDDASrcFile*> bdFiles;
    /// The file set of the event; null when there is none.
    HADAFileSet* fileSet = nullptr;
};
