// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/tools.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "environment/files/HUTFile.h"
#include "environment/process/HUTFork.h"
#include "shell/addOnce.h"
#include "shell/exitStatus.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/ice40/devices.h"

namespace shell {

namespace {

/// A program of the tools, and the package that brings it.
struct NeededTool {
    const char* program;
    const char* package;
    bool isForSynthesis;
};

constexpr NeededTool kNeededTools[] = {{"yosys", "yosys", true},
                                       {"nextpnr-ice40", "nextpnr-ice40", false},
                                       {"icepack", "fpga-icestorm", false},
                                       {"icetime", "fpga-icestorm", false}};

bool needs(const std::vector<HAXPExpRun*>& runs, bool synthesis) {
    return std::any_of(runs.begin(), runs.end(), [synthesis](const HAXPExpRun* run) {
        return run->getInfo().isSynthFlow() == synthesis;
    });
}

}  // namespace

void requireTools(const std::vector<HAXPExpRun*>& runs) {
    std::vector<std::string> missing;
    std::vector<std::string> packages;
    for (const NeededTool& tool : kNeededTools) {
        if (needs(runs, tool.isForSynthesis) && !HUTFork::isInPath(tool.program)) {
            missing.emplace_back(tool.program);
            addOnce(tool.package, packages);
        }
    }
    if (needs(runs, false) && !HUTFile(ice40::defaultDatabaseFolder()).isDir()) {
        missing.push_back("the chip databases in " + ice40::defaultDatabaseFolder());
        addOnce("fpga-icestorm-chipdb", packages);
    }
    if (!missing.empty())
        throw CommandError(
            kExitToolMissing,
            fmt::format("Nothing is launched: {} {} missing from the search path. Install: "
                        "apt-get install {}",
                        fmt::join(missing, ", "), missing.size() == 1 ? "is" : "are",
                        fmt::join(packages, " ")));
}

}  // namespace shell
