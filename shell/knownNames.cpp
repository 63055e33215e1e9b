// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/knownNames.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "shell/addOnce.h"
#include "shell/exitStatus.h"
#include "shell/suggestion.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/ice40/devices.h"
#include "workbench/printable.h"
#include "workbench/runFamily.h"

namespace shell {

namespace {

bool has(const std::vector<std::string>& known, const std::string& name) {
    return std::find(known.begin(), known.end(), name) != known.end();
}

/// `start` is the sentence that says what isn't there.
[[noreturn]] void refuseName(ExitStatus status, const std::string& start, const std::string& name,
                             const std::vector<std::string>& known) {
    const std::string all =
        known.empty() ? "There are none."
                      : "Choose one of: " +
                            workbench::withHint(name, fmt::format("{}", fmt::join(known, ", ")));
    throw CommandError(status, start + " " + all);
}

}  // namespace

void requireName(const std::string& kind, const std::string& name,
                 const std::vector<std::string>& known) {
    if (!has(known, name))
        refuseName(kExitUsage,
                   fmt::format("There is no {} '{}'.", kind, workbench::printable(name)), name,
                   known);
}

void addFamilyNames(const workbench::RunFamily& family, std::vector<std::string>& names) {
    for (const std::string& name : {family.sweep, family.name}) {
        if (!name.empty())
            addOnce(name, names);
    }
}

void requireFamily(const Project& project, const std::string& name) {
    std::vector<std::string> known;
    for (const HAXPExpRun* run : project.getRuns())
        addFamilyNames(project.getFamilyOf(*run), known);
    if (!has(known, name))
        refuseName(kExitRefused,
                   fmt::format("There is no family or sweep '{}'.", workbench::printable(name)),
                   name, known);
}

void requireDeviceName(const std::string& name) {
    std::vector<std::string> known;
    for (const ice40::Device& device : ice40::devices())
        known.push_back(device.name);
    if (!has(known, name))
        refuseName(kExitRefused,
                   fmt::format("There is no device '{}'.", workbench::printable(name)), name,
                   known);
}

}  // namespace shell
