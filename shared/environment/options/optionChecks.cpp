// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/optionChecks.h"

#include <string>

#include "environment/errors/HEXAlgException.h"
#include "environment/options/optionValue.h"

namespace options {

namespace {

std::string describe(const HATAttrSpec& spec) {
    return "option \"" + spec.getName() + "\" of kind " +
           HATAttrTypes::getTypeName(spec.getAttrType());
}

}  // namespace

void refuseKind(const HATAttrSpec& spec, const char* operation) {
    throw HEXAlgException(std::string(operation) + " called on " + describe(spec));
}

void refuseText(const HATAttrSpec& spec, const char* operation, const std::string& text) {
    throw HEXAlgException(std::string(operation) + " called on " + describe(spec) +
                          " with a value that it can't hold: \"" + text + "\"");
}

void requireText(const HATAttrSpec& spec, const char* operation) {
    if (!hasText(spec.getAttrType()))
        refuseKind(spec, operation);
}

bool isAllowedEnum(const HATAttrSpec& spec, const std::string& value) {
    return !spec.hasEnumRanges() || spec.getEnumRangeForVal(value) != nullptr;
}

}  // namespace options
