// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "runs/base/xperiment/RunsExport.h"

class HAXRReportStrategy;

/// The owner of report strategies, told of every change in one of them.
class RUNS_API HAXRReportStratDB {
public:
    virtual ~HAXRReportStratDB();

    HAXRReportStratDB(const HAXRReportStratDB&) = delete;
    HAXRReportStratDB& operator=(const HAXRReportStratDB&) = delete;

    /// Says that name, description, reports or an option value of `strategy`
    /// changed.
    void strategyModifiedCallback(HAXRReportStrategy* strategy);

protected:
    HAXRReportStratDB();

    /// Hook of strategyModifiedCallback(): once for each change, with the change
    /// made. What an override throws goes to the one who made the change, and
    /// the change stays.
    virtual void strategyModifiedCallback_(HAXRReportStrategy* strategy) = 0;
};
