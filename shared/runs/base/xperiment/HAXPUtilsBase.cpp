// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPUtilsBase.h"

#include <iostream>
#include <memory>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HADAStaleOption.h"
#include "environment/files/HUTFile.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATEnumRange.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPDataMgr.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/scriptFrame.h"

namespace {

const char* boolText(bool value) {
    return value ? "true" : "false";
}

std::string intText(int value) {
    std::string text;
    HSTStringUtils::constructFromInt(text, value);
    return text;
}

const std::string kNoText;

const std::string& enumText(const HATEnumRange* range) {
    return range == nullptr ? kNoText : range->getVal();
}

/// Whether the value differs from the default that a listing holds it against.
bool differs(const HATOptGroup& group, const HATAttrSpec& spec) {
    const bool alt = spec.hasAltDefault();
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        return group.getBoolVal(&spec) != (alt ? spec.getBoolAltDefault() : spec.getBoolDefault());
    case HATAttrTypes::kInt:
        return group.getIntVal(&spec) != (alt ? spec.getIntAltDefault() : spec.getIntDefault());
    case HATAttrTypes::kString:
        return group.getStrVal(&spec) !=
               (alt ? spec.getStringAltDefault() : spec.getStringDefault());
    case HATAttrTypes::kEnum:
        return enumText(group.getEnumVal(&spec)) !=
               enumText(alt ? spec.getEnumAltDefault() : spec.getEnumDefault());
    case HATAttrTypes::kFile:
        return group.getFileVal(&spec) != (alt ? spec.getFileAltDefault() : spec.getFileDefault());
    default:
        throw HEXAlgException("unexpected attrType in HAXPUtils");
    }
}

/// The value of an option that is listed, as text.
std::string valueText(const HATOptGroup& group, const HATAttrSpec& spec, bool boolAsText) {
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        return boolAsText ? boolText(group.getBoolVal(&spec)) : "";
    case HATAttrTypes::kInt:
        return intText(group.getIntVal(&spec));
    case HATAttrTypes::kEnum:
        return enumText(group.getEnumVal(&spec));
    case HATAttrTypes::kFile:
        return group.getFileVal(&spec);
    default:
        return group.getStrVal(&spec);
    }
}

/// The attributes that steer a step and are no options of its command.
bool steersStep(const std::string& name) {
    return name == "is_enabled" || name == "tcl.pre" || name == "tcl.post";
}

bool isReportList(const HATAttrSpec& spec) {
    return HSTStringUtils::iequals(spec.getName(), "REPORTS");
}

std::string descriptionOf(const HATEnumRange* range) {
    return range == nullptr ? std::string() : range->getDescription();
}

std::string listText(const HSTSList<std::string>& list) {
    std::string text;
    HAXPUtilsBase::convertToString(list, text);
    return text;
}

void addDifference(const std::string& groupId, const std::string& name, const std::string& inB,
                   const std::string& inA, HSTVector<HADAStaleOption*>& out) {
    auto option = std::make_unique<HADAStaleOption>();
    option->setStaleOptionDetails(groupId, name, inB, inA);
    out.push_back(option.get());
    (void)option.release();
}

/// Adds a difference if the texts of both values differ.
template <class Value, class Text>
void addIfDifferent(const Value& inA, const Value& inB, Text text, const std::string& groupId,
                    const HATAttrSpec& spec, HSTVector<HADAStaleOption*>& out) {
    const std::string textA = text(inA);
    const std::string textB = text(inB);
    if (textA != textB)
        addDifference(groupId, spec.getName(), textB, textA, out);
}

bool canBeCompared(const HATAttrSpec& spec) {
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
    case HATAttrTypes::kInt:
    case HATAttrTypes::kString:
    case HATAttrTypes::kStringList:
    case HATAttrTypes::kEnum:
    case HATAttrTypes::kFile:
        return true;
    default:
        return false;
    }
}

/// Adds a difference of the option, whose values aren't the same.
void addDifferenceOf(const HATAttrSpec& spec, const HATOptGroup& a, const HATOptGroup& b,
                     const std::string& groupId, HSTVector<HADAStaleOption*>& out) {
    const auto asIs = [](const std::string& text) { return text; };
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        addIfDifferent(a.getBoolVal(&spec), b.getBoolVal(&spec), boolText, groupId, spec, out);
        break;
    case HATAttrTypes::kInt:
        addIfDifferent(a.getIntVal(&spec), b.getIntVal(&spec), intText, groupId, spec, out);
        break;
    case HATAttrTypes::kString:
        addIfDifferent(a.getStrVal(&spec), b.getStrVal(&spec), asIs, groupId, spec, out);
        break;
    case HATAttrTypes::kStringList:
        if (!isReportList(spec))
            addIfDifferent(a.getStrListVal(&spec), b.getStrListVal(&spec), listText, groupId, spec,
                           out);
        break;
    case HATAttrTypes::kEnum:
        addIfDifferent(a.getEnumVal(&spec), b.getEnumVal(&spec), descriptionOf, groupId, spec, out);
        break;
    case HATAttrTypes::kFile:
        addIfDifferent(a.getFileVal(&spec), b.getFileVal(&spec), asIs, groupId, spec, out);
        break;
    default:
        break;
    }
}

}  // namespace

void HAXPUtilsBase::genRunDir(HAXPExpRunBase* run, const std::string& baseDir, std::string& out) {
    if (run == nullptr)
        throw HEXAlgException("genRunDir: NULL run");
    std::string candidate = baseDir + HUTFile::getDirSeparator() + run->getName();
    if (HUTFile(candidate).fileCount() >= 1) {
        std::string current;
        run->getRunDir(current);
        if (!current.empty() && HUTFile(current).fileCount() == 0) {
            candidate = current;
        } else {
            const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run->createRunStepIter());
            while (steps->hasNext())
                steps->next()->getFlowStep()->resetStep(candidate, run->getExpInfoBase());
        }
    }
    out = candidate;
}

void HAXPUtilsBase::getOptions(const HAXPExpRunBase* run, const HATOptGroup* group, bool boolAsText,
                               HSTVector<OptionInfo>& out) {
    for (const auto& owned : group->getOptionsSpec()->getAttrSpecs()) {
        const HATAttrSpec* spec = owned.get();
        if (spec->getAttrType() != HATAttrTypes::kStringList) {
            if (differs(*group, *spec) || spec->isAlwaysWrite())
                addOption_(out, run, group, spec, valueText(*group, *spec, boolAsText));
        } else if (spec->isAlwaysWrite()) {
            for (const std::string& element : group->getStrListVal(spec))
                addOption_(out, run, group, spec, element);
        }
    }
}

void HAXPUtilsBase::getOptions(const HAXPExpRunBase* run, const HATOptGroup* group,
                               HSTVector<OptionInfo>& out) {
    getOptions(run, group, false, out);
}

void HAXPUtilsBase::addStr(std::string& dst, const std::string& src) {
    if (src.empty())
        return;
    if (!dst.empty())
        dst += ' ';
    dst += src;
}

void HAXPUtilsBase::convertToString(const HSTSList<std::string>& list, std::string& out) {
    for (const std::string& element : list) {
        out += element;
        out += ' ';
    }
}

void HAXPUtilsBase::copyOptions(HAXPStrategy* source, HAXPStrategy* target,
                                const std::string& stopId) {
    if (source == nullptr || target == nullptr)
        return;
    const std::unique_ptr<HSTFwdIter<HAXPFlowStepOptions*>> entries(
        target->createFlowStepOptionsIter());
    while (entries->hasNext()) {
        HAXPFlowStepOptions* entry = entries->next();
        if (entry->getOptGrpId() == stopId)
            return;
        const HAXPFlowStepOptions* from = source->getRunStepOptions(entry->getOptGrpId());
        if (from == nullptr)
            continue;
        entry->getOptions()->copy(from->getOptions(), false);
        entry->getAttrs()->copy(from->getAttrs(), false);
    }
}

void HAXPUtilsBase::compareOptGroups(HATOptGroup* a, HATOptGroup* b, const std::string& groupId,
                                     HSTVector<HADAStaleOption*>& out) {
    // One value of one declaration has one text.
    const bool sameSpec = a->getOptionsSpec() == b->getOptionsSpec();
    for (const auto& spec : a->getOptionsSpec()->getAttrSpecs()) {
        if (!canBeCompared(*spec))
            std::cout << "ERROR:unknown attribute spec type" << std::endl;
        else if (!sameSpec || !a->isSameIn(spec.get(), *b))
            addDifferenceOf(*spec, *a, *b, groupId, out);
    }
}

void HAXPUtilsBase::compareStrategies(HAXPStrategy* a, HAXPStrategy* b, const std::string& groupId,
                                      HSTVector<HADAStaleOption*>& out) {
    const HAXPFlowStepOptions* inA = a->getRunStepOptions(groupId);
    const HAXPFlowStepOptions* inB = b->getRunStepOptions(groupId);
    if (inA == nullptr || inB == nullptr)
        return;
    compareOptGroups(inA->getOptions(), inB->getOptions(), groupId, out);
    compareOptGroups(inA->getAttrs(), inB->getAttrs(), groupId, out);
}

void HAXPUtilsBase::compareEnabledState(HAXPStrategy* a, HAXPStrategy* b,
                                        const std::string& groupId,
                                        HSTVector<HADAStaleOption*>& out) {
    const HAXPFlowStepOptions* inA = a->getRunStepOptions(groupId);
    const HAXPFlowStepOptions* inB = b->getRunStepOptions(groupId);
    if (inA == nullptr || inB == nullptr)
        return;
    // Each bool attribute is read in b, "is_enabled" alone in a: the last one counts.
    std::string textA;
    std::string textB;
    std::string name;
    for (const auto& owned : inA->getAttrs()->getOptionsSpec()->getAttrSpecs()) {
        const HATAttrSpec* spec = owned.get();
        if (spec->getAttrType() != HATAttrTypes::kBool)
            continue;
        name = spec->getName();
        if (name == "is_enabled")
            textA = boolText(inA->getAttrs()->getBoolVal(spec));
        textB = boolText(inB->getAttrs()->getBoolVal(spec));
    }
    if (textA != textB)
        addDifference(groupId, name, textB, textA, out);
}

void HAXPUtilsBase::addOption_(HSTVector<OptionInfo>& out, const HAXPExpRunBase* run,
                               const HATOptGroup* group, const HATAttrSpec* spec,
                               const std::string& value) {
    HAXPDataMgr* dataMgr = xperiment::dataMgrOf(run);
    if (dataMgr != nullptr && dataMgr->shouldFilter(spec, group, run))
        return;
    const std::string& invoke = group->getOptionsSpec()->getInvokeStr(spec);
    if (invoke.empty() && steersStep(spec->getName()))
        return;
    out.push_back({spec->getAttrType(), invoke, value});
}
