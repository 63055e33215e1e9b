// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

class HATAttrSpec;
class HATOptGroup;
class HAXPStrategy;

/// The options of a strategy as users name and set them.
namespace workbench {

/// An option that a user may set; good while the strategy keeps its steps.
struct WORKBENCH_API StrategyOption {
    HATOptGroup* group;
    const HATAttrSpec* spec;

    const std::string& step() const;
    const std::string& name() const;
    /// "step.option".
    std::string fullName() const;
};

/// In the order of steps and options; a step's own attributes come last.
WORKBENCH_API std::vector<StrategyOption> optionsOf(const HAXPStrategy& strategy);

/// Sets the option `name`, "step.option" or an option's name alone where one step has it,
/// from a text. @throws HEXUserException no such option, or a value that isn't one.
WORKBENCH_API void setOption(const HAXPStrategy& strategy, const std::string& name,
                             const std::string& value);

/// An option whose value isn't the same in two strategies, as texts.
struct OptionDifference {
    std::string step;
    std::string name;
    std::string first;
    std::string second;
};

/// What differs in the values of two strategies of one flow, step by step.
WORKBENCH_API std::vector<OptionDifference> differences(HAXPStrategy& first, HAXPStrategy& second);

}  // namespace workbench
