// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/abandoning.h"

#include "environment/errors/HEXUserException.h"
#include "shell/exitStatus.h"
#include "workbench/history/History.h"

namespace shell {

workbench::AbandonRule readRule(const std::string& text) {
    try {
        return workbench::readAbandonRule(text);
    } catch (const HEXUserException& error) {
        throw CommandError(kExitUsage, error.what());
    }
}

workbench::EstimateError learnedError(const Project& project, const workbench::AbandonRule& rule) {
    if (!rule.figure->isEstimate)
        return {};
    return workbench::estimateError(workbench::History(project).estimateRatios(
        "impl", "fmax_mhz", "place_design", "route_design"));
}

}  // namespace shell
