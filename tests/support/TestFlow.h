// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPTypes.h"

class HATOptGroup;
class HATOptGroupSpec;
class HDDASrcFilter;

namespace test {

/// What a step of a test flow is like. Every step may be switched off and has hooks,
/// unless told otherwise.
struct StepTraits {
    std::string id;
    /// Empty ones follow the id: "Step <id>", "at_<id>" and "<id>".
    std::string name;
    std::string abbrev;
    std::string invokeStr;
    std::string msgFileName;
    bool canDisable = true;
    bool defaultEnabled = true;
    bool hasTclHooks = true;
    bool isVirtual = false;
    bool isOptional = false;
    /// A report spec for each, called "report <n>".
    std::vector<HAXPTypes::FileType> reports;
    /// Declares the tool options; addEveryKind() unless set.
    std::function<void(HATOptGroupSpec&)> options;
    /// Says which sources the step reads; none unless set.
    std::function<void(HDDASrcFilter&)> sources;

    /// A step with this id and the defaults above.
    static StepTraits of(const std::string& id);
};

/// Declares an option of every kind that goes on a command line. Database id, invoke
/// text and default: "FlagBool" -flag false, "CountInt" -count 1, "TextString" -text "",
/// "PathFile" -path "", "WordsList" -words (none), "ModeEnum" -mode "Default" (also
/// "Fast" and "Small"). Names are the invoke texts without "-".
void addEveryKind(HATOptGroupSpec& spec);

/// A flow "Test Flow", id "test_flow", with these steps as default ones.
std::unique_ptr<HAXPFlow> makeFlow(const std::vector<std::string>& ids);

/// The same with steps of these traits; optional ones become optional steps.
std::unique_ptr<HAXPFlow> makeFlowOf(const std::vector<StepTraits>& traits,
                                     const std::string& name = "Test Flow",
                                     const std::string& flowId = "test_flow");

/// Set the option or attribute with this database id, and tell the observers.
void setBool(HATOptGroup* group, const std::string& dbId, bool value);
void setInt(HATOptGroup* group, const std::string& dbId, int value);
void setText(HATOptGroup* group, const std::string& dbId, const std::string& value);

/// The values of the same.
bool boolOf(const HATOptGroup* group, const std::string& dbId);
int intOf(const HATOptGroup* group, const std::string& dbId);
std::string textOf(const HATOptGroup* group, const std::string& dbId);

}  // namespace test
