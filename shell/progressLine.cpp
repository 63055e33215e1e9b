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

int widthOfTerminal() {
    if (const char* columns = std::getenv("COLUMNS")) {
        const long width = std::strtol(columns, nullptr, 10);
        if (width > 0 && width < 10000)
            return static_cast<int>(width);
    }
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return kUsualWidth;
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

ProgressLine::ProgressLine() : m_live(isTerminal()) {}

ProgressLine::~ProgressLine() {
    clear();
}

void ProgressLine::draw(const std::string& text) {
    const auto now = std::chrono::steady_clock::now();
    if (!m_live || (m_drawn && now - m_last < kLeastPause))
        return;
    // The last column stays free: a terminal would wrap there.
    fmt::print(stderr, "\r{}\x1b[K", fitLine(text, widthOfTerminal() - 1));
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
