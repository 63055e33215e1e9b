// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/note.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "environment/messages/ComMsgMgrInstance.h"
#include "shell/terminal.h"
#include "workbench/printable.h"

namespace shell {

namespace {

bool s_isQuiet = false;

void tell(Style style, const char* word, const std::string& text) {
    fmt::print(stderr, "xp: {} {}\n", Terminal::error().styled(style, word),
               workbench::printableLines(text));
}

}  // namespace

void setQuiet(bool isQuiet) {
    s_isQuiet = isQuiet;
}

bool isQuiet() {
    return s_isQuiet;
}

void sayNote(const std::string& text) {
    if (!s_isQuiet)
        fmt::print(stderr, "{}\n", text);
}

void tellError(const std::string& text) {
    tell(Style::kBad, "error:", text);
}

void tellWarning(const std::string& text) {
    tell(Style::kWarn, "warning:", text);
}

NoteSink::~NoteSink() = default;

void NoteSink::receive(const ComMsgMgrInstance& message, const ComMsgMgrOrigin& origin) {
    if (!s_isQuiet || message.getMask() >= ComMsgMgr::kWarning)
        ComMsgMgrTerminalSink::receive(message, origin);
}

void flushOutput() {
    errno = 0;
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        throw std::system_error(errno, std::generic_category(), "standard output");
}

}  // namespace shell
