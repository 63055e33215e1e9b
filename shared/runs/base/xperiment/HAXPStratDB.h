// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "runs/base/xperiment/RunsExport.h"

class HAXPStrategy;

/// The owner of strategies, told of every change in one of them.
class RUNS_API HAXPStratDB {
public:
    virtual ~HAXPStratDB();

    HAXPStratDB(const HAXPStratDB&) = delete;
    HAXPStratDB& operator=(const HAXPStratDB&) = delete;

    /// Says that name, description, steps or an option value of `strategy` changed.
    void strategyModifiedCallback(HAXPStrategy* strategy);

protected:
    HAXPStratDB();

    /// Hook of strategyModifiedCallback(): once for each change, with the change
    /// made. What an override throws goes to the one who made the change, and the
    /// change stays.
    virtual void strategyModifiedCallback_(HAXPStrategy* strategy) = 0;
};
