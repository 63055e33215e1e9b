// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "environment/options/HATAttrTypes.h"
#include "runs/base/xperiment/HAXPTypes.h"

/// What the steps of the iCE40 flows are, as data.
namespace workbench {

/// One tool option of a step.
struct OptionTable {
    HATAttrTypes::AttrType type;
    /// The name that users type; the database id is the step's id, a dot and it.
    const char* name;
    /// What goes on the command line.
    const char* switchText;
    /// As text: a number, an enum's value; empty for a bool, which is off.
    const char* defaultText;
    /// The allowed values of an enum.
    std::vector<const char*> values;
    const char* description;
};

/// A file that a step leaves, for the run's list of reports.
struct ReportTable {
    const char* name;
    HAXPTypes::FileType type;
};

/// One step: its names, its program, its options and its reports.
struct StepTable {
    const char* id;
    const char* name;
    const char* abbrev;
    const char* program;
    bool canDisable;
    std::vector<OptionTable> options;
    std::vector<ReportTable> reports;
    /// What it makes beside its reports: by type, where the run names the file, and by
    /// name. All of it goes when the step is reset.
    std::vector<HAXPTypes::FileType> outputTypes;
    std::vector<const char*> outputs;
};

const std::vector<StepTable>& synthesisSteps();
const std::vector<StepTable>& implementationSteps();

}  // namespace workbench
