// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "workbench/reports/reportFigures.h"

/// Figures of runs to compare.
namespace test {

inline reports::Figure fmax(double value) {
    return {"fmax", "Fmax", value, "MHz", reports::Figure::kHigher};
}

inline reports::Figure slack(double value) {
    return {"worst_slack", "Worst slack", value, "ns", reports::Figure::kHigher};
}

}  // namespace test
