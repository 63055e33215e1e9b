// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/terminal.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include <sys/ioctl.h>
#include <unistd.h>

#include "shell/characterWidth.h"

namespace shell {

namespace {

bool s_isPlain = false;

constexpr int kWidestLine = 10000;

/// What the variable holds; null when it isn't set or holds nothing.
const char* variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr || *value == '\0' ? nullptr : value;
}

bool isDumb() {
    const char* term = variable("TERM");
    return term == nullptr || std::strcmp(term, "dumb") == 0;
}

bool isUtf8Locale() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = variable(name);
        if (value == nullptr)
            continue;
        std::string locale = value;
        std::transform(locale.begin(), locale.end(), locale.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return locale.find("utf-8") != std::string::npos ||
               locale.find("utf8") != std::string::npos;
    }
    return false;
}

/// What COLUMNS says; 0 when it says nothing of use.
int askedWidth() {
    const char* columns = variable("COLUMNS");
    const long width = columns == nullptr ? 0 : std::strtol(columns, nullptr, 10);
    return width > 0 && width < kWidestLine ? static_cast<int>(width) : 0;
}

const char* colourCode(Style style) {
    switch (style) {
    case Style::kGood:
        return "32";
    case Style::kBad:
        return "31";
    case Style::kWarn:
        return "33";
    case Style::kDim:
        return "2";
    case Style::kStrong:
        return "1";
    case Style::kPlain:
        break;
    }
    return nullptr;
}

}  // namespace

Terminal Terminal::output() {
    return Terminal(STDOUT_FILENO);
}

Terminal Terminal::error() {
    return Terminal(STDERR_FILENO);
}

void Terminal::setPlain(bool isPlain) {
    s_isPlain = isPlain;
}

Terminal::Terminal(int stream)
    : m_stream(stream), m_isTerminal(isatty(stream) == 1),
      m_isLive(m_isTerminal && !s_isPlain && !isDumb()),
      m_hasColour(m_isLive && variable("NO_COLOR") == nullptr),
      m_hasUnicode(m_isLive && isUtf8Locale()) {}

int Terminal::width(int otherwise) const {
    if (const int asked = askedWidth())
        return asked;
    winsize size{};
    if (ioctl(m_stream, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return otherwise;
}

std::string Terminal::styled(Style style, const std::string& text) const {
    const char* code = colourCode(style);
    if (!m_hasColour || code == nullptr || text.empty())
        return text;
    return std::string("\x1b[") + code + "m" + text + "\x1b[0m";
}

std::size_t columnsOf(const std::string& text) {
    std::size_t columns = 0;
    for (std::size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        columns += static_cast<std::size_t>(character.columns);
        at += character.bytes;
    }
    return columns;
}

std::string firstColumns(const std::string& text, std::size_t columns) {
    std::size_t end = 0;
    while (end < text.size()) {
        const Character character = characterAt(text, end);
        const auto wide = static_cast<std::size_t>(character.columns);
        if (wide > columns)
            break;
        columns -= wide;
        end += character.bytes;
    }
    return text.substr(0, end);
}

}  // namespace shell
