// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/failures/logFailure.h"

#include <algorithm>
#include <cctype>

namespace workbench {

namespace {

constexpr const char* kWrapperMark = "ZUMWrap.sh: step '";
constexpr const char* kFailedMark = "' failed: ";
constexpr const char* kCommandMark = "Command: ";
constexpr const char* kStepMark = "ERROR: ice40_";

bool startsWith(const std::string& text, const std::string& head) {
    return text.compare(0, head.size(), head) == 0;
}

bool holds(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

bool isWrapperFailure(const std::string& line) {
    return startsWith(line, kWrapperMark) && holds(line, kFailedMark);
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// A tool that the step itself runs; its reports come after what it was for.
bool isStepCommand(const std::string& line) {
    if (!startsWith(line, kCommandMark))
        return false;
    const std::size_t program = line.find(' ', std::string(kCommandMark).size());
    const std::string path = line.substr(0, program);
    return path.size() < 6 || path.compare(path.size() - 6, 6, "tarnel") != 0;
}

/// The words with which a tool ends itself.
bool isToolError(const std::string& line) {
    for (const char* mark : {"ERROR: ", "Error: ", "fatal error: "}) {
        const std::size_t at = line.find(mark);
        if (at == 0 || (at != std::string::npos && at >= 2 && line.compare(at - 2, 2, ": ") == 0))
            return true;
    }
    return startsWith(line, "terminate called") || startsWith(line, "  what():") ||
           startsWith(line, "unrecognised option") || holds(line, "Assertion `") ||
           holds(line, "std::bad_alloc") || holds(line, "error while loading shared libraries") ||
           holds(line, "No space left on device");
}

/// Where the lines begin that may be about the failure at `end`: behind an earlier failure.
std::size_t beginOfLaunch(const std::vector<std::string>& log, std::size_t end) {
    for (std::size_t i = end; i > 0; --i)
        if (isWrapperFailure(log[i - 1]))
            return i;
    return 0;
}

/// The last message of a step's program in [begin, end), or `end`.
std::size_t lastStepError(const std::vector<std::string>& log, std::size_t begin, std::size_t end) {
    for (std::size_t i = end; i > begin; --i)
        if (startsWith(log[i - 1], kStepMark))
            return i - 1;
    return end;
}

/// "ice40_init" of "ERROR: ice40_init: text".
std::string programOf(const std::string& line) {
    const std::size_t begin = std::string("ERROR: ").size();
    return line.substr(begin, line.find(':', begin) - begin);
}

/// Whether a step's message tells how a tool ended, whose own words stand before it.
bool isAboutTool(const std::string& message) {
    return holds(message, " ended with status ") || holds(message, " was killed by signal ");
}

}  // namespace

bool readPlace(const std::string& text, SourcePlace& place) {
    for (std::size_t colon = text.find(':'); colon != std::string::npos;
         colon = text.find(':', colon + 1)) {
        std::size_t end = colon + 1;
        while (end < text.size() && isDigit(text[end]))
            ++end;
        if (colon == 0 || end == colon + 1 || end - colon > 9)
            continue;
        const std::size_t lineEnd = end;
        while (end < text.size() && (isDigit(text[end]) || text[end] == '.' || text[end] == '-'))
            ++end;
        if (end != text.size() && text[end] != ':' && text[end] != '|')
            continue;
        place.file = text.substr(0, colon);
        place.line = std::stoi(text.substr(colon + 1, lineEnd - colon - 1));
        return true;
    }
    return false;
}

FailureLines findFailureLines(const std::vector<std::string>& log) {
    FailureLines lines;
    lines.end = log.size();
    for (std::size_t i = log.size(); i > 0; --i) {
        if (isWrapperFailure(log[i - 1])) {
            lines.end = i - 1;
            const std::string& line = log[i - 1];
            lines.wrapperReason =
                line.substr(line.find(kFailedMark) + std::string(kFailedMark).size());
            break;
        }
    }
    lines.begin = beginOfLaunch(log, lines.end);
    for (std::size_t i = lines.end; i > lines.begin; --i) {
        if (isStepCommand(log[i - 1])) {
            lines.begin = i - 1;
            break;
        }
    }
    const std::size_t step = lastStepError(log, lines.begin, lines.end);
    if (step < lines.end) {
        const std::string program = "ERROR: " + programOf(log[step]) + ": ";
        for (std::size_t i = lines.begin; i <= step; ++i)
            if (startsWith(log[i], program))
                lines.stepErrors.push_back(i);
    }
    if (step == lines.end || isAboutTool(log[step]))
        for (std::size_t i = lines.begin; i < step; ++i)
            if (isToolError(log[i]) && !startsWith(log[i], kStepMark))
                lines.toolErrors.push_back(i);
    return lines;
}

std::string withoutErrorMark(const std::string& line) {
    for (const std::string mark : {"ERROR: ", "Error: ", "fatal error: "}) {
        const std::size_t at = line.find(mark);
        if (at != std::string::npos)
            return line.substr(0, at) + line.substr(at + mark.size());
    }
    return line;
}

}  // namespace workbench
