// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/inputRecord.h"

#include <string>

namespace workbench {

namespace {

/// A list without an entry is left out, so that it looks the same when it is read back.
void addIfAny(InputRecord& record, const char* name, const std::vector<std::string>& values) {
    if (!values.empty())
        record[name] = values;
}

void recordIfSet(InputRecord& record, const char* name, const std::string& value) {
    if (!value.empty())
        record[name] = {value};
}

}  // namespace

InputRecord recordInputs(const DesignInputs& inputs, bool isSynthesis) {
    InputRecord record;
    recordIfSet(record, "top", inputs.top);
    recordIfSet(record, "device", inputs.device);
    if (isSynthesis) {
        addIfAny(record, "sources", inputs.sources);
        addIfAny(record, "defines", inputs.defines);
        addIfAny(record, "includes", inputs.includeDirs);
        return record;
    }
    recordIfSet(record, "package", inputs.package);
    recordIfSet(record, "frequency", inputs.frequencyMhz);
    recordIfSet(record, "constraints", inputs.constraints);
    recordIfSet(record, "netlist", inputs.netlist);
    if (inputs.netlistLaunch != 0)
        record[kSynthesisLaunch] = {std::to_string(inputs.netlistLaunch)};
    return record;
}

bool isPathInput(const std::string& name) {
    return name == "sources" || name == "includes" || name == "constraints" || name == "netlist";
}

std::string recordText(const InputRecord& record, const std::string& name) {
    const auto found = record.find(name);
    std::string text;
    if (found != record.end()) {
        for (const std::string& value : found->second)
            text += (text.empty() ? "" : " ") + value;
    }
    return text.empty() ? "none" : text;
}

}  // namespace workbench
