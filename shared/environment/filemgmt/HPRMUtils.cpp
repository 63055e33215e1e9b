// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HPRMUtils.h"

#include "environment/filemgmt/HADAFileSet.h"

bool HPRMUtils::isRMFileSet(const HADAFileSet* fileSet) {
    return fileSet != nullptr && !fileSet->getReconfigModule().empty();
}
