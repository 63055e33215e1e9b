// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/progressLine.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace shell {

namespace {

constexpr std::chrono::milliseconds kLeastPause(200);
constexpr int kUsualWidth = 80;

bool isTerminal() {
    const char* term = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && term != nullptr && *term != '\0' &&
           std::strcmp(term, "dumb") != 0;
}

/// What COLUMNS says; 0 when it says nothing of use.
int askedWidth() {
    const char* columns = std::getenv("COLUMNS");
    const long width = columns == nullptr ? 0 : std::strtol(columns, nullptr, 10);
    return width > 0 && width < 10000 ? static_cast<int>(width) : 0;
}

/// The width of the terminal behind `stream`, or `otherwise`.
int widthOfTerminal(int stream, int otherwise) {
    if (const int asked = askedWidth())
        return asked;
    winsize size{};
    if (ioctl(stream, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return otherwise;
}

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

}  // namespace

std::string fitLine(const std::string& text, int width) {
    std::string line;
    int columns = 0;
    for (const char c : text) {
        if (!continuesCharacter(c) && ++columns > width)
            break;
        const bool control = static_cast<unsigned char>(c) < 0x20U || c == 0x7F;
        line += control ? ' ' : c;
    }
    return line;
}

int widthOfOutput() {
    return widthOfTerminal(STDOUT_FILENO, isatty(STDOUT_FILENO) == 1 ? kUsualWidth : 0);
}

ProgressLine::ProgressLine() : m_live(isTerminal()) {}

ProgressLine::~ProgressLine() {
    clear();
}

void ProgressLine::draw(const std::string& text) {
    const auto now = std::chrono::steady_clock::now();
    if (!m_live || (m_drawn && now - m_last < kLeastPause))
        return;
    // The last column stays free: a terminal would wrap there.
    fmt::print(stderr, "\r{}\x1b[K",
               fitLine(text, widthOfTerminal(STDERR_FILENO, kUsualWidth) - 1));
    std::fflush(stderr);
    m_drawn = true;
    m_last = now;
}

void ProgressLine::say(const std::string& text) {
    clear();
    fmt::print(stderr, "{}\n", text);
    std::fflush(stderr);
}

void ProgressLine::clear() {
    if (!m_drawn)
        return;
    fmt::print(stderr, "\r\x1b[K");
    std::fflush(stderr);
    m_drawn = false;
}

}  // namespace shell
