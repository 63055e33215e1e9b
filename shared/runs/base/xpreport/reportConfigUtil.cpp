// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/reportConfigUtil.h"

#include <iostream>
#include <memory>

#include "environment/filemgmt/HADAStaleOption.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"

namespace {

/// The declaration of a copy of `source`; `copy` has its kind.
void copyDefault(const HATAttrSpec& source, HATAttrSpec& copy) {
    switch (source.getAttrType()) {
    case HATAttrTypes::kBool:
        copy.setBoolDefault(source.getBoolDefault());
        break;
    case HATAttrTypes::kInt:
        copy.setIntDefault(source.getIntDefault());
        break;
    default:
        copy.setStringDefault(source.getStringDefault());
    }
}

void copyValue(const HATOptGroup& source, const HATAttrSpec& sourceSpec, HATOptGroup& copy,
               const HATAttrSpec& copySpec) {
    switch (sourceSpec.getAttrType()) {
    case HATAttrTypes::kBool:
        copy.setBoolVal(&copySpec, source.getBoolVal(&sourceSpec), true);
        break;
    case HATAttrTypes::kInt:
        copy.setIntVal(&copySpec, source.getIntVal(&sourceSpec), true);
        break;
    default:
        copy.setStrVal(&copySpec, source.getStrVal(&sourceSpec), true);
    }
}

std::unique_ptr<HATOptGroupSpec> copySpecs(const HATOptGroup& source,
                                           const std::string& displayName, bool readOnly) {
    auto copies = std::make_unique<HATOptGroupSpec>();
    copies->setOptGrpId("OPTIONS");
    copies->setOptGrpPrettyDisplayName(displayName);
    copies->reserve(source.getOptionsSpec()->attrSpecCount());
    for (const auto& spec : source.getOptionsSpec()->getAttrSpecs()) {
        auto copy = std::make_unique<HATAttrSpec>(spec->getAttrType(), HATAttrSpec::kOption);
        copyDefault(*spec, *copy);
        copy->setName(spec->getName());
        if (readOnly)
            copy->setReadOnly(true);
        copies->registerAttrSpec(copy.get(), spec->getName(), "");
        static_cast<void>(copy.release());
    }
    return copies;
}

/// The value as text, by the option's own kind.
std::string comparedText(const HATOptGroup& group, const HATAttrSpec& spec) {
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        return group.getBoolVal(&spec) ? "true" : "false";
    case HATAttrTypes::kInt:
        return std::to_string(group.getIntVal(&spec));
    default:
        return group.getStrVal(&spec);
    }
}

/// Whether values of this kind are compared at all.
bool isCompared(HATAttrTypes::AttrType type) {
    switch (type) {
    case HATAttrTypes::kBool:
    case HATAttrTypes::kInt:
    case HATAttrTypes::kString:
        return true;
    case HATAttrTypes::kStringList:
    case HATAttrTypes::kEnum:
    case HATAttrTypes::kFile:
        return false;
    default:
        std::cout << "ERROR:unknown attribute spec type" << std::endl;
        return false;
    }
}

}  // namespace

namespace reportConfigUtil {

HATOptGroup* getOptGroupCopy(HATOptGroup* group, const std::string& displayName, bool readOnly) {
    if (group == nullptr)
        return nullptr;
    std::unique_ptr<const HATOptGroupSpec> specs = copySpecs(*group, displayName, readOnly);
    auto copy = std::make_unique<HATOptGroup>(std::move(specs));
    const auto& sources = group->getOptionsSpec()->getAttrSpecs();
    const auto& copies = copy->getOptionsSpec()->getAttrSpecs();
    for (std::size_t i = 0; i < sources.size(); ++i) {
        // A copy holds the default already.
        if (!group->isDefault(sources[i].get()))
            copyValue(*group, *sources[i], *copy, *copies[i]);
    }
    return copy.release();
}

bool compareOptGroups(HATOptGroup* a, HATOptGroup* b, const std::string& name,
                      HSTVector<HADAStaleOption*>& differences) {
    if (a == nullptr || b == nullptr)
        return a == b;
    for (const auto& spec : a->getOptionsSpec()->getAttrSpecs()) {
        const HATAttrSpec* const other = b->getAttrSpecByName(spec->getName());
        if (other == nullptr)
            return false;
        if (!isCompared(spec->getAttrType()))
            continue;
        const std::string mine = comparedText(*a, *spec);
        const std::string theirs = comparedText(*b, *other);
        if (mine == theirs)
            continue;
        auto difference = std::make_unique<HADAStaleOption>();
        difference->setStaleOptionDetails(name, spec->getName(), theirs, mine);
        differences.push_back(difference.get());
        static_cast<void>(difference.release());
        return false;
    }
    return true;
}

}  // namespace reportConfigUtil
