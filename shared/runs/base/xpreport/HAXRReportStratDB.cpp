// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportStratDB.h"

HAXRReportStratDB::HAXRReportStratDB() = default;

HAXRReportStratDB::~HAXRReportStratDB() = default;

void HAXRReportStratDB::strategyModifiedCallback(HAXRReportStrategy* strategy) {
    strategyModifiedCallback_(strategy);
}
