// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupObserver.h"
#include "environment/options/HATOptGroupSpec.h"

namespace test {

/// Adds an option of `type` under `name`, which is its database id too.
inline HATAttrSpec* addOption(HATOptGroupSpec& group, HATAttrTypes::AttrType type,
                              const std::string& name) {
    auto spec = std::make_unique<HATAttrSpec>(type, HATAttrSpec::kOption);
    spec->setName(name);
    group.registerAttrSpec(spec.get(), name, "-" + name);
    return spec.release();
}

/// Options "fast" (bool), "seed" (int, 1), "memory" (long), "top" (string),
/// "passes" (string list), "mode" (enum "Area" or "Speed"), "hook" (file).
struct PlaceOptions {
    PlaceOptions() {
        spec.setOptGrpId("place_design");
        spec.setOptGrpPrettyDisplayName("Place");
        seed->setIntDefault(1);
        mode->addEnumRange("0", "Area", "Smaller");
        mode->addEnumRange("1", "Speed", "Quicker");
    }

    HATOptGroupSpec spec;
    HATAttrSpec* fast = addOption(spec, HATAttrTypes::kBool, "fast");
    HATAttrSpec* seed = addOption(spec, HATAttrTypes::kInt, "seed");
    HATAttrSpec* memory = addOption(spec, HATAttrTypes::kLong, "memory");
    HATAttrSpec* top = addOption(spec, HATAttrTypes::kString, "top");
    HATAttrSpec* passes = addOption(spec, HATAttrTypes::kStringList, "passes");
    HATAttrSpec* mode = addOption(spec, HATAttrTypes::kEnum, "mode");
    HATAttrSpec* hook = addOption(spec, HATAttrTypes::kFile, "hook");
};

/// A group of them.
class OptionFixture : public ::testing::Test {
protected:
    PlaceOptions m_options;
    HATOptGroup m_group{&m_options.spec};
};

/// Counts what it hears.
class CountingObserver : public HATOptGroupObserver {
public:
    ~CountingObserver() noexcept override {}

    int calls() const { return m_calls; }
    HATOptGroup* lastGroup() const { return m_lastGroup; }

protected:
    void optionsChangedCallback_(HATOptGroup* group) override {
        ++m_calls;
        m_lastGroup = group;
    }

private:
    int m_calls = 0;
    HATOptGroup* m_lastGroup = nullptr;
};

}  // namespace test
