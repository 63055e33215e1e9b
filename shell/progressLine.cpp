// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/progressLine.h"

#include <cstdio>

#include <fmt/format.h>

#include "shell/note.h"
#include "shell/terminal.h"

namespace shell {

namespace {

constexpr std::chrono::milliseconds kLeastPause(200);
constexpr int kUsualWidth = 80;

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
    const Terminal output = Terminal::output();
    return output.width(output.isTerminal() ? kUsualWidth : 0);
}

ProgressLine::ProgressLine() : m_live(Terminal::error().isLive() && !isQuiet()) {}

ProgressLine::~ProgressLine() {
    clear();
}

void ProgressLine::draw(const std::string& text) {
    const auto now = std::chrono::steady_clock::now();
    if (!m_live || (m_drawn && now - m_last < kLeastPause))
        return;
    // The last column stays free: a terminal would wrap there.
    fmt::print(stderr, "\r{}\x1b[K", fitLine(text, Terminal::error().width(kUsualWidth) - 1));
    std::fflush(stderr);
    m_drawn = true;
    m_last = now;
}

void ProgressLine::say(const std::string& text) {
    clear();
    sayNote(text);
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
