// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HDDAUtils.h"

#include "environment/filemgmt/HDDACompositeFile.h"

bool HDDAUtils::isCompositeInActiveTop(const HDDACompositeFile* composite) {
    if (composite == nullptr || composite->getFileSet() == nullptr)
        return false;
    while (composite != nullptr && composite->getAttrs().isEnabled())
        composite = composite->getParentComposite();
    return composite == nullptr;
}

const char* HDDAUtils::getFileSetTypeName(HDDATypes::FileSetType type) {
    switch (type) {
    case HDDATypes::FST_DESIGN_SRCS:
        return "design sources";
    case HDDATypes::FST_CONSTRS:
        return "constraints";
    case HDDATypes::FST_SIM_SRCS:
        return "simulation sources";
    case HDDATypes::FST_DOCS:
        return "documents";
    case HDDATypes::FST_BLOCK_SRCS:
        return "block sources";
    case HDDATypes::FST_UTILS:
        return "utility files";
    case HDDATypes::FST_INTERNAL:
        return "internal files";
    }
    return "unknown";
}
