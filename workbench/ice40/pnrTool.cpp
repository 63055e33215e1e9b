// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/pnrTool.h"

#include <fmt/format.h>

#include "workbench/ice40/stepFailure.h"
#include "workbench/ice40/stepFiles.h"
#include "workbench/ice40/stepProgram.h"
#include "workbench/ice40/toolVersion.h"

namespace ice40 {

namespace {

constexpr const char* kPnrProgram = "nextpnr-ice40";

}  // namespace

std::vector<std::string> pnrWords(const Placement& placement, const std::string& report) {
    std::vector<std::string> words{kPnrProgram, "--" + placement.device,
                                   "--package", placement.package,
                                   "--json",    placement.netlist};
    if (!placement.top.empty())
        words.insert(words.end(), {"--top", placement.top});
    if (!placement.constraints.empty())
        words.insert(words.end(), {"--pcf", placement.constraints});
    words.insert(words.end(),
                 {"--pcf-allow-unconstrained", "--freq", fmt::format("{}", placement.freqMhz),
                  "--timing-allow-fail", "--report", report});
    words.insert(words.end(), placement.words.begin(), placement.words.end());
    return words;
}

PnrLog runPnr(const std::vector<std::string>& words) {
    PnrLog log;
    ToolCommand command;
    command.words = words;
    runLoggedTool(command, [&](const std::string& line) { log.readLine(line); });
    return log;
}

std::string pnrVersion() {
    return parseToolVersion(kPnrProgram, firstLineOf(kPnrProgram, "--version"));
}

void takePnrReport(const std::string& path, StepMetrics& metrics) {
    std::string text;
    std::string reason;
    if (!readText(path, text, reason) || !parsePnrReport(text, metrics, reason))
        throw StepFailure(fmt::format("the report of {} can't be used: {}", kPnrProgram, reason),
                          "Look at the lines above for what the tool says, and at the free space "
                          "of the disk");
}

void printClocks(const StepMetrics& metrics) {
    for (const ClockTiming& clock : metrics.clocks) {
        const std::string text =
            fmt::format("clock '{}': {:.2f} MHz, {:.2f} MHz asked for, slack "
                        "{:.3f} ns",
                        clock.name, clock.fmaxMhz, clock.targetMhz, clock.slackNs());
        if (clock.slackNs() < 0)
            warn("missed frequency, " + text);
        else
            printLine("Timing of " + text);
    }
}

}  // namespace ice40
