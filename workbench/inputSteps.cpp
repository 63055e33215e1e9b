// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/inputSteps.h"

#include <algorithm>

namespace workbench {

namespace {

struct StepInputs {
    const char* stepId;
    std::vector<InputKind> files;
    /// As input records call them.
    std::vector<std::string> settings;
};

const std::vector<StepInputs>& table() {
    static const std::vector<StepInputs> rows{{"synth_design",
                                               {InputKind::kSource, InputKind::kReference},
                                               {"top", "device", "defines", "includes"}},
                                              {"init_design",
                                               {InputKind::kNetlist, InputKind::kConstraints},
                                               {"top", "device", "package", "synthesis launch"}},
                                              {"place_design",
                                               {InputKind::kNetlist, InputKind::kConstraints},
                                               {"top", "device", "package", "frequency"}}};
    return rows;
}

const StepInputs* findRow(const std::string& stepId) {
    const auto found =
        std::find_if(table().begin(), table().end(),
                     [&stepId](const StepInputs& row) { return stepId == row.stepId; });
    return found == table().end() ? nullptr : &*found;
}

}  // namespace

std::vector<InputKind> filesOfStep(const std::string& stepId) {
    const StepInputs* row = findRow(stepId);
    return row == nullptr ? std::vector<InputKind>() : row->files;
}

bool takesSetting(const std::string& stepId, const std::string& name) {
    const StepInputs* row = findRow(stepId);
    return row != nullptr &&
           std::find(row->settings.begin(), row->settings.end(), name) != row->settings.end();
}

}  // namespace workbench
