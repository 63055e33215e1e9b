// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/toolErrors.h"

#include <csignal>

#include <fmt/format.h>

#include "workbench/ice40/stepFailure.h"

namespace ice40 {

namespace {

struct Advice {
    const char* part;  ///< of the tool's text
    const char* text;
};

constexpr Advice kAdvice[] = {
    {"syntax error", "Correct the Verilog at that line and run the step again"},
    {"is not part of the design", "Add the source that defines that module"},
    {"not found", "Correct the name of the top module, or add the source that defines it"},
    {"no BELs remaining",
     "The design does not fit: choose a larger device, or the area strategy of the synthesis"},
    {"Unable to place cell",
     "The design does not fit: choose a larger device, or the area strategy of the synthesis"},
    {"Unable to find a placement location",
     "The design does not fit: choose a larger device, or the area strategy of the synthesis"},
    {"Unable to find legal placement",
     "The device is too full: choose a larger device, or the area strategy of the synthesis"},
    {"does not have a pin named", "Use a pin of that package in the constraints file"},
    {"unconstrained in PCF", "Add a 'set_io' line for that port to the constraints file"},
    {"-abc9", "Choose one of the two options"},
    {"Can't open", "Check that the file is there and that you may read it"},
    {"not a valid", "Correct the option's value"},
    {"unsupported cell type", "Remove the synthesis options that leave such cells, or add the "
                              "source that defines the module"},
};

std::string withoutMark(const std::string& line, std::size_t mark, std::size_t length) {
    std::string text = line.substr(0, mark) + line.substr(mark + length);
    while (!text.empty() && (text.back() == '.' || text.back() == ' ' || text.back() == '!'))
        text.pop_back();
    return text;
}

}  // namespace

void ToolErrors::readLine(const std::string& line) {
    if (!m_first.empty())
        return;
    for (const std::string mark : {"ERROR: ", "Error: ", "fatal error: "}) {
        const std::size_t at = line.find(mark);
        const bool begins = at == 0 || (at != std::string::npos && at >= 2 && line[at - 1] == ' ' &&
                                        line[at - 2] == ':');
        if (begins) {
            m_first = withoutMark(line, at, mark.size());
            return;
        }
    }
}

void ToolErrors::require(const std::string& tool, const ToolEnd& end) const {
    if (end.good())
        return;
    if (end.signal != 0) {
        const bool killed = end.signal == SIGKILL;
        throw StepFailure(
            fmt::format("{} {}{}", tool, end.shown(), m_first.empty() ? "" : ": " + m_first),
            killed ? "Somebody stopped it, or the memory ran out: free memory and "
                     "run the step again"
                   : "Look at the lines above; with other options the tool may pass");
    }
    if (m_first.empty())
        throw StepFailure(fmt::format("{} {}", tool, end.shown()),
                          "Look at the lines above for what the tool says");
    throw StepFailure(fmt::format("{} {}: {}", tool, end.shown(), m_first), adviceFor(m_first));
}

std::string adviceFor(const std::string& error) {
    for (const Advice& advice : kAdvice)
        if (error.find(advice.part) != std::string::npos)
            return advice.text;
    return "Look at the lines above for what the tool says";
}

}  // namespace ice40
