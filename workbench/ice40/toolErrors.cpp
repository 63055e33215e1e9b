// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/toolErrors.h"

#include "workbench/failures/knownFailures.h"
#include "workbench/ice40/stepFailure.h"

namespace ice40 {

namespace {

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
    const std::string ended = tool + " " + end.shown();
    // A signal tells more than what the tool said before it came.
    throw StepFailure(m_first.empty() ? ended : ended + ": " + m_first,
                      adviceFor(end.signal != 0 || m_first.empty() ? ended : m_first));
}

std::string adviceFor(const std::string& error) {
    const auto known = workbench::findKnownFailure(error);
    return known ? known->advice : "Look at the lines above for what the tool says";
}

}  // namespace ice40
