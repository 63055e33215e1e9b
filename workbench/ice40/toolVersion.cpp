// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/toolVersion.h"

#include "workbench/ice40/process.h"
#include "workbench/ice40/stepFailure.h"

namespace ice40 {

std::string parseToolVersion(const std::string& tool, const std::string& line) {
    static const std::string kMark = "(Version ";
    const std::size_t at = line.find(kMark);
    const std::size_t end = line.find(')', at);
    if (at == std::string::npos || end == std::string::npos)
        return line;
    const std::size_t begin = at + kMark.size();
    return tool + " " + line.substr(begin, end - begin);
}

std::string toolVersion(const std::string& tool, const std::string& path) {
    std::string first;
    const LineSink keepFirst = [&first](const std::string& line) {
        if (first.empty())
            first = line;
    };
    ToolCommand command;
    // Under coreutils' timeout: a program that hangs doesn't hang who only asks.
    command.words = {"timeout", "-k", "1", "10", path, "--version"};
    try {
        return runTool(command, keepFirst, keepFirst).good() ? parseToolVersion(tool, first)
                                                             : std::string();
    } catch (const StepFailure&) {
        return {};
    }
}

}  // namespace ice40
