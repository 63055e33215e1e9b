// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/FSCSEventContext.h"

void FSCSEventContext::clear() {
    bdFiles.clear();
    fileSet = nullptr;
}
