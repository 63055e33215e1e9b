// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupObserver.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRTypes.h"

namespace test::reports {

/// An option to be declared, by name, kind and the text of its default.
struct Option {
    std::string name;
    HATAttrTypes::AttrType kind = HATAttrTypes::kString;
    std::string defaultText = "";
};

inline Option flag(const std::string& name, bool on = false) {
    return {name, HATAttrTypes::kBool, on ? "true" : "false"};
}
inline Option number(const std::string& name, int value = 0) {
    return {name, HATAttrTypes::kInt, std::to_string(value)};
}
inline Option text(const std::string& name, const std::string& value = "") {
    return {name, HATAttrTypes::kString, value};
}

inline std::unique_ptr<HATOptGroup> makeGroup(const std::vector<Option>& options,
                                              const std::string& displayName = "") {
    auto specs = std::make_unique<HATOptGroupSpec>();
    specs->setOptGrpId("GROUP");
    specs->setOptGrpPrettyDisplayName(displayName);
    for (const Option& option : options) {
        auto spec = std::make_unique<HATAttrSpec>(option.kind, HATAttrSpec::kOption);
        spec->setName(option.name);
        if (option.kind == HATAttrTypes::kBool)
            spec->setBoolDefault(option.defaultText == "true");
        else if (option.kind == HATAttrTypes::kInt)
            spec->setIntDefault(std::stoi(option.defaultText));
        else
            spec->setStringDefault(option.defaultText);
        specs->registerAttrSpec(spec.get(), option.name, "-" + option.name);
        static_cast<void>(spec.release());
    }
    return std::make_unique<HATOptGroup>(std::move(specs));
}

/// A report of the version 1.0 with these options.
inline std::unique_ptr<HAXRReportSpec> makeReport(const std::string& name,
                                                  const std::vector<Option>& options = {},
                                                  const VersionInfo& version = {1, 0}) {
    return std::make_unique<HAXRReportSpec>(name, HAXRTypes::getReportType(name), "About " + name,
                                            makeGroup(options, name).release(), version, name);
}

inline HATAttrSpec* optionOf(const HATOptGroup* group, const std::string& name) {
    HATAttrSpec* const option = group->getAttrSpecByName(name);
    if (option == nullptr)
        throw std::logic_error("no option " + name);
    return option;
}

/// The value of the option as text; a bool is "true" or "false".
inline std::string valueOf(const HATOptGroup* group, const std::string& name) {
    const HATAttrSpec* const option = optionOf(group, name);
    switch (option->getAttrType()) {
    case HATAttrTypes::kBool:
        return group->getBoolVal(option) ? "true" : "false";
    case HATAttrTypes::kInt:
        return std::to_string(group->getIntVal(option));
    default:
        return group->getStrVal(option);
    }
}

inline void setFlag(HATOptGroup* group, const std::string& name, bool value) {
    group->setBoolVal(optionOf(group, name), value, true);
}
inline void setNumber(HATOptGroup* group, const std::string& name, int value) {
    group->setIntVal(optionOf(group, name), value, true);
}
inline void setText(HATOptGroup* group, const std::string& name, const std::string& value) {
    group->setStrVal(optionOf(group, name), value, true);
}

inline std::vector<std::string> namesOf(const HATOptGroup* group) {
    std::vector<std::string> names;
    for (const auto& option : group->getOptionsSpec()->getAttrSpecs())
        names.push_back(option->getName());
    return names;
}

/// Notes the groups that it hears of.
class GroupObserver : public HATOptGroupObserver {
public:
    std::vector<HATOptGroup*> heard;

protected:
    void optionsChangedCallback_(HATOptGroup* group) override { heard.push_back(group); }
};

/// What `action` writes to standard output.
template <class Action> std::string outputOf(Action action) {
    ::testing::internal::CaptureStdout();
    action();
    return ::testing::internal::GetCapturedStdout();
}

}  // namespace test::reports
