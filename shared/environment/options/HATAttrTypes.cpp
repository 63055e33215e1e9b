// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATAttrTypes.h"

const char* HATAttrTypes::getTypeName(AttrType type) {
    switch (type) {
    case kBool:
        return "bool";
    case kInt:
        return "int";
    case kReal:
        return "real";
    case kString:
        return "string";
    case kColor:
        return "color";
    case kDate:
        return "date";
    case kStringList:
        return "string list";
    case kIntList:
        return "int list";
    case kRealList:
        return "real list";
    case kEnum:
        return "enum";
    case kFile:
        return "file";
    case kDirectory:
        return "directory";
    case kLong:
        return "long";
    }
    return "unknown kind";
}
