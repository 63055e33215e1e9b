// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/EnvironmentExport.h"
#include "environment/filemgmt/HDDATypes.h"

class HDDACompositeFile;

/// Questions about sources and their numbered kinds.
class ENVIRONMENT_API HDDAUtils {
public:
    HDDAUtils() = delete;

    /// Whether the block is part of the design as it stands: it is in a file
    /// set, and neither it nor a block around it is disabled, by the user or
    /// because nothing under the top needs it. False for null.
    static bool isCompositeInActiveTop(const HDDACompositeFile* composite);

    /// A name for the user, such as "constraints".
    static const char* getFileSetTypeName(HDDATypes::FileSetType type);
};
