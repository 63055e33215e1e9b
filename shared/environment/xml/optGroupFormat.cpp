// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/optGroupFormat.h"

#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATEnumRange.h"
#include "environment/options/HATOptGroup.h"
#include "environment/strings/HUTConvert.h"

namespace xml {

namespace {

std::string enumToText(const HATOptGroup& group, const HATAttrSpec& spec) {
    const HATEnumRange* const range = group.getEnumVal(&spec);
    return range == nullptr ? group.getStrVal(&spec) : range->getId();
}

bool textToBool(const std::string& text, HATOptGroup& group, const HATAttrSpec& spec) {
    const bool isTrue = text == "1" || text == "true";
    if (!isTrue && text != "0" && text != "false")
        return false;
    group.setBoolVal(&spec, isTrue, true);
    return true;
}

bool textToInt(const std::string& text, HATOptGroup& group, const HATAttrSpec& spec) {
    int value = 0;
    if (!HUTConvert::stringToInteger(text, value))
        return false;
    group.setIntVal(&spec, value, true);
    return true;
}

bool textToEnum(const std::string& text, HATOptGroup& group, const HATAttrSpec& spec) {
    if (!spec.hasEnumRanges())
        return group.setEnumVal(&spec, text, true);
    const HATEnumRange* const range = spec.getEnumRangeForId(text);
    return range != nullptr && group.setEnumVal(&spec, range->getVal(), true);
}

bool textToFile(const std::string& text, HATOptGroup& group, const HATAttrSpec& spec) {
    group.setFileVal(&spec, text, true);
    return true;
}

}  // namespace

bool isList(const HATAttrSpec& spec) {
    return spec.getAttrType() == HATAttrTypes::kStringList;
}

std::string valueToText(const HATOptGroup& group, const HATAttrSpec& spec) {
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        return group.getBoolVal(&spec) ? "1" : "0";
    case HATAttrTypes::kInt:
        return std::to_string(group.getIntVal(&spec));
    case HATAttrTypes::kEnum:
        return enumToText(group, spec);
    case HATAttrTypes::kFile:
        return group.getFileVal(&spec);
    default:
        return group.getStrVal(&spec);
    }
}

bool textToValue(const std::string& text, HATOptGroup& group, const HATAttrSpec& spec) {
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        return textToBool(text, group, spec);
    case HATAttrTypes::kInt:
        return textToInt(text, group, spec);
    case HATAttrTypes::kEnum:
        return textToEnum(text, group, spec);
    case HATAttrTypes::kFile:
        return textToFile(text, group, spec);
    default:
        return group.setStrVal(&spec, text, true);
    }
}

}  // namespace xml
