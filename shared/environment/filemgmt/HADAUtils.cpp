// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HADAUtils.h"

#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/fileSetDiff.h"

void HADAUtils::copyFileSet(const HADAFileSet* source, HADAFileSet* target, bool keepOwn,
                            bool withRunNames) {
    if (source == nullptr || target == nullptr)
        throw HEXAlgException("Copying a file set needs a source and a target");
    if (source != target)
        target->copyFrom_(*source, keepOwn, withRunNames);
}

bool HADAUtils::compareFileSets(const HADAFileSet* before, const HADAFileSet* after,
                                HADAFileSetChangeSummary& changes) {
    if (before == nullptr || after == nullptr)
        throw HEXAlgException("Comparing file sets needs two of them");
    return filemgmt::diffSources(before->sources_(), after->sources_(), changes);
}
