// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/optionText.h"
#include "workbench/suggestion.h"

#include <memory>

#include "environment/containers/HSTFwdIter.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATEnumRange.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/params/HPAParamMgr.h"
#include "environment/strings/HUTConvert.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"

namespace workbench {

namespace {

std::string enumValue(const HATEnumRange* range) {
    return range == nullptr ? std::string() : range->getVal();
}

std::string allowedValues(const HATAttrSpec& spec) {
    std::string values;
    const std::unique_ptr<HSTFwdIter<const HATEnumRange*>> ranges(spec.createEnumRangeIter());
    while (ranges->hasNext()) {
        if (!values.empty())
            values += ", ";
        values += ranges->next()->getVal();
    }
    return values;
}

bool setBool(HATOptGroup& group, const HATAttrSpec& spec, const std::string& text,
             std::string& reason) {
    bool value = false;
    if (!HPAParamMgr::parseBool(text, value)) {
        reason = "'" + text + "' is neither true nor false";
        return false;
    }
    group.setBoolVal(&spec, value, true);
    return true;
}

bool setInt(HATOptGroup& group, const HATAttrSpec& spec, const std::string& text,
            std::string& reason) {
    int value = 0;
    if (!HUTConvert::stringToInteger(text, value)) {
        reason = "'" + text + "' is no whole number";
        return false;
    }
    group.setIntVal(&spec, value, true);
    return true;
}

bool setEnum(HATOptGroup& group, const HATAttrSpec& spec, const std::string& text,
             std::string& reason) {
    if (group.setEnumVal(&spec, text, true))
        return true;
    reason = "'" + text + "' is none of its values: " + withHint(text, allowedValues(spec));
    // Who tells the reason ends the sentence.
    if (reason.back() == '.')
        reason.pop_back();
    return false;
}

}  // namespace

std::string optionText(const HATOptGroup& group, const HATAttrSpec& spec) {
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        return group.getBoolVal(&spec) ? "true" : "false";
    case HATAttrTypes::kInt:
        return std::to_string(group.getIntVal(&spec));
    case HATAttrTypes::kLong:
        return std::to_string(group.getLongVal(&spec));
    case HATAttrTypes::kString:
        return group.getStrVal(&spec);
    case HATAttrTypes::kFile:
        return group.getFileVal(&spec);
    case HATAttrTypes::kEnum:
        return enumValue(group.getEnumVal(&spec));
    case HATAttrTypes::kStringList: {
        std::string text;
        for (const std::string& element : group.getStrListVal(&spec))
            HAXPUtilsBase::addStr(text, element);
        return text;
    }
    default:
        return {};
    }
}

std::string defaultText(const HATAttrSpec& spec) {
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        return spec.getBoolDefault() ? "true" : "false";
    case HATAttrTypes::kInt:
        return std::to_string(spec.getIntDefault());
    case HATAttrTypes::kString:
        return spec.getStringDefault();
    case HATAttrTypes::kFile:
        return spec.getFileDefault();
    case HATAttrTypes::kEnum:
        return enumValue(spec.getEnumDefault());
    default:
        return {};
    }
}

bool setOptionText(HATOptGroup& group, const HATAttrSpec& spec, const std::string& text,
                   std::string& reason) {
    if (spec.isReadOnly()) {
        reason = "it can't be set";
        return false;
    }
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        return setBool(group, spec, text, reason);
    case HATAttrTypes::kInt:
        return setInt(group, spec, text, reason);
    case HATAttrTypes::kEnum:
        return setEnum(group, spec, text, reason);
    case HATAttrTypes::kFile:
        group.setFileVal(&spec, text, true);
        return true;
    case HATAttrTypes::kString:
        group.setStrVal(&spec, text, true);
        return true;
    default:
        reason = "it is of a kind that has no text";
        return false;
    }
}

}  // namespace workbench
