// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/progressLine.h"

#include <cstdio>

#include <fmt/format.h>

#include "shell/characterWidth.h"
#include "shell/note.h"
#include "shell/terminal.h"

namespace shell {

namespace {

constexpr std::chrono::milliseconds kLeastPause(200);
constexpr int kUsualWidth = 80;

}  // namespace

std::string fitLine(const std::string& text, int width) {
    std::string line;
    int columns = 0;
    for (std::size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        columns += character.columns;
        if (columns > width)
            break;
        const char c = text[at];
        const bool isControl =
            character.bytes == 1 && (static_cast<unsigned char>(c) < 0x20U || c == 0x7F);
        line += isControl ? " " : text.substr(at, character.bytes);
        at += character.bytes;
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

bool ProgressLine::isDue() const {
    return m_live && (!m_drawn || std::chrono::steady_clock::now() - m_last >= kLeastPause);
}

void ProgressLine::draw(const std::string& text) {
    if (!isDue())
        return;
    // The last column stays free: a terminal would wrap there.
    fmt::print(stderr, "\r{}\x1b[K", fitLine(text, Terminal::error().width(kUsualWidth) - 1));
    std::fflush(stderr);
    m_drawn = true;
    m_last = std::chrono::steady_clock::now();
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
