// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/EnvironmentExport.h"

/// The kinds of an option, with the numbers under which files and listings
/// know them.
class ENVIRONMENT_API HATAttrTypes {
public:
    enum AttrType {
        kBool = 0,
        kInt = 1,
        kReal = 2,
        kString = 3,
        kColor = 4,
        kDate = 5,
        kStringList = 6,
        kIntList = 7,
        kRealList = 8,
        kEnum = 9,
        kFile = 10,
        kDirectory = 11,
        kLong = 12
    };

    /// The kind as a word for messages, such as "string list".
    static const char* getTypeName(AttrType type);

    HATAttrTypes() = delete;
};
