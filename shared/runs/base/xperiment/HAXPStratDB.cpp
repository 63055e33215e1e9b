// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPStratDB.h"

HAXPStratDB::HAXPStratDB() = default;

HAXPStratDB::~HAXPStratDB() = default;

void HAXPStratDB::strategyModifiedCallback(HAXPStrategy* strategy) {
    strategyModifiedCallback_(strategy);
}
