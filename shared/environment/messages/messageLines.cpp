// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/messages/messageLines.h"

#include <cstddef>
#include <cstring>

namespace messageLines {

namespace {

const char kIndent[] = "  ";

struct Severity {
    const char* word;
    ComMsgMgr::MsgMask mask;
};

const Severity kSeverities[] = {{"INFO", ComMsgMgr::kInfo},
                                {"WARNING", ComMsgMgr::kWarning},
                                {"CRITICAL WARNING", ComMsgMgr::kCriticalWarning},
                                {"ERROR", ComMsgMgr::kError}};

/// Takes a severity, an optional colon and a blank off `line`.
bool takeSeverity(std::string& line, ComMsgMgr::MsgMask& mask) {
    for (const Severity& severity : kSeverities) {
        std::size_t end = std::strlen(severity.word);
        if (line.compare(0, end, severity.word) != 0)
            continue;
        if (end < line.size() && line[end] == ':')
            ++end;
        if (end >= line.size() || line[end] != ' ')
            continue;
        mask = severity.mask;
        line.erase(0, end + 1);
        return true;
    }
    return false;
}

/// Takes "[36-66] " off `line`; the id, or empty when there is none.
std::string takeId(std::string& line) {
    const std::size_t end = line.find(']');
    if (line.empty() || line.front() != '[' || end == std::string::npos)
        return "";
    std::string id = line.substr(1, end - 1);
    if (id.empty() || id.find_first_not_of("0123456789-") != std::string::npos)
        return "";
    const std::size_t text = end + 1 < line.size() && line[end + 1] == ' ' ? end + 2 : end + 1;
    line.erase(0, text);
    return id;
}

bool isContinuation(const std::string& line) {
    return !line.empty() && (line.front() == ' ' || line.front() == '\t');
}

/// Adds a set-in line to the message above.
void continueMessage(ComMsgMgrSrcMsg& message, const std::string& line) {
    const bool isIndented = line.compare(0, std::strlen(kIndent), kIndent) == 0;
    message.text += '\n' + line.substr(isIndented ? std::strlen(kIndent) : 1);
}

/// The next line of `content` from `start`, which moves behind it.
std::string nextLine(const std::string& content, std::size_t& start) {
    std::size_t end = content.find('\n', start);
    if (end == std::string::npos)
        end = content.size();
    std::string line = content.substr(start, end - start);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    start = end + 1;
    return line;
}

}  // namespace

std::string format(const std::string& displayText) {
    std::string lines;
    for (const char c : displayText) {
        lines += c;
        if (c == '\n')
            lines += kIndent;
    }
    lines += '\n';
    return lines;
}

HSTVector<ComMsgMgrSrcMsg> parse(const std::string& content) {
    HSTVector<ComMsgMgrSrcMsg> messages;
    bool isInMessage = false;
    int number = 0;
    for (std::size_t start = 0; start < content.size();) {
        std::string line = nextLine(content, start);
        ++number;
        ComMsgMgr::MsgMask mask = ComMsgMgr::kInfo;
        if (isInMessage && isContinuation(line)) {
            continueMessage(messages.back(), line);
            continue;
        }
        isInMessage = takeSeverity(line, mask);
        if (!isInMessage)
            continue;
        const std::string id = takeId(line);
        messages.push_back({mask, id, line, number});
    }
    return messages;
}

}  // namespace messageLines
