// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/support/TestFlow.h"

#include <stdexcept>
#include <utility>

#include "environment/filemgmt/HDDASrcFilter.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "runs/base/xperiment/HAXPFlowStep.h"

namespace test {

namespace {

std::string orElse(const std::string& text, const std::string& fallback) {
    return text.empty() ? fallback : text;
}

HATAttrSpec& declare(HATOptGroupSpec& spec, HATAttrTypes::AttrType type, const std::string& name,
                     const std::string& dbId) {
    auto attr = std::make_unique<HATAttrSpec>(type, HATAttrSpec::kOption);
    attr->setName(name);
    HATAttrSpec& declared = *attr;
    spec.registerAttrSpec(attr.get(), dbId, "-" + name);
    static_cast<void>(attr.release());
    return declared;
}

/// A concrete flow step as its traits say.
class TraitsStep final : public HAXPFlowStep {
public:
    explicit TraitsStep(StepTraits traits)
        : HAXPFlowStep(orElse(traits.name, "Step " + traits.id),
                       orElse(traits.abbrev, "at_" + traits.id),
                       orElse(traits.invokeStr, traits.id), traits.id, traits.msgFileName),
          m_traits(std::move(traits)) {
        canDisable(m_traits.canDisable);
        defaultEnabled(m_traits.defaultEnabled);
        hasTclHooks(m_traits.hasTclHooks);
        isVirtual(m_traits.isVirtual);
    }

protected:
    void configOptions_(HATOptGroupSpec* optionsSpec) override {
        if (m_traits.options)
            m_traits.options(*optionsSpec);
        else
            addEveryKind(*optionsSpec);
    }

    void configReports_() override {
        for (const HAXPTypes::FileType type : m_traits.reports) {
            auto spec =
                std::make_unique<HAXPFileSpec>("report " + std::to_string(reportSpecCount()));
            spec->addFileType(type);
            addReportSpec(spec.get());
            static_cast<void>(spec.release());
        }
    }

    void initSrcFilter_() override {
        if (m_traits.sources)
            m_traits.sources(*getSrcFilter());
    }

private:
    StepTraits m_traits;
};

HATAttrSpec* specOf(const HATOptGroup* group, const std::string& dbId) {
    HATAttrSpec* spec = group->getAttrSpecForDbId(dbId);
    if (spec == nullptr)
        throw std::logic_error("the group " + group->getOptGrpId() + " has no option " + dbId);
    return spec;
}

}  // namespace

StepTraits StepTraits::of(const std::string& id) {
    StepTraits traits;
    traits.id = id;
    return traits;
}

void addEveryKind(HATOptGroupSpec& spec) {
    declare(spec, HATAttrTypes::kBool, "flag", "FlagBool");
    declare(spec, HATAttrTypes::kInt, "count", "CountInt").setIntDefault(1);
    declare(spec, HATAttrTypes::kString, "text", "TextString");
    declare(spec, HATAttrTypes::kFile, "path", "PathFile");
    declare(spec, HATAttrTypes::kStringList, "words", "WordsList");
    HATAttrSpec& mode = declare(spec, HATAttrTypes::kEnum, "mode", "ModeEnum");
    mode.addEnumRange("default", "Default", "As the tool likes");
    mode.addEnumRange("fast", "Fast", "Little effort");
    mode.addEnumRange("small", "Small", "Little area");
    mode.setEnumDefault("Default");
}

std::unique_ptr<HAXPFlow> makeFlow(const std::vector<std::string>& ids) {
    std::vector<StepTraits> traits;
    for (const std::string& id : ids)
        traits.push_back(StepTraits::of(id));
    return makeFlowOf(traits);
}

std::unique_ptr<HAXPFlow> makeFlowOf(const std::vector<StepTraits>& traits, const std::string& name,
                                     const std::string& flowId) {
    auto flow = std::make_unique<HAXPFlow>(name, "1", flowId);
    for (const StepTraits& entry : traits) {
        auto step = std::make_unique<TraitsStep>(entry);
        if (entry.isOptional)
            flow->addOptionalFlowStep(step.get());
        else
            flow->addDefaultFlowStep(step.get());
        static_cast<void>(step.release());
    }
    return flow;
}

void setBool(HATOptGroup* group, const std::string& dbId, bool value) {
    group->setBoolVal(specOf(group, dbId), value, true);
}

void setInt(HATOptGroup* group, const std::string& dbId, int value) {
    group->setIntVal(specOf(group, dbId), value, true);
}

void setText(HATOptGroup* group, const std::string& dbId, const std::string& value) {
    if (!group->setStrVal(specOf(group, dbId), value, true))
        throw std::logic_error("the option " + dbId + " can't hold " + value);
}

bool boolOf(const HATOptGroup* group, const std::string& dbId) {
    return group->getBoolVal(specOf(group, dbId));
}

int intOf(const HATOptGroup* group, const std::string& dbId) {
    return group->getIntVal(specOf(group, dbId));
}

std::string textOf(const HATOptGroup* group, const std::string& dbId) {
    return group->getStrVal(specOf(group, dbId));
}

}  // namespace test
