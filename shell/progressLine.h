// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <chrono>
#include <string>

namespace shell {

/// `text` as one line of at most `width` columns: control characters become blanks,
/// and what doesn't fit is cut, never within a character. A wide one takes two columns.
std::string fitLine(const std::string& text, int width);

/// The columns that lines on standard output may take: what COLUMNS says, else the width of
/// the terminal; 0, any number, off a terminal.
int widthOfOutput();

/// What is told on standard error while runs are at work.
///
/// On a terminal one line at the bottom is drawn anew, at most five times a second;
/// elsewhere, on a dumb terminal and with "--plain", only lasting lines are written, and no
/// escape byte ever. With "--quiet" there are neither.
class ProgressLine {
public:
    ProgressLine();
    /// Removes the line that changes.
    ~ProgressLine();

    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Whether draw() shows anything.
    bool isLive() const { return m_live; }

    /// Whether draw() would show a text now: it isn't worth making one otherwise.
    bool isDue() const;

    /// Puts `text` in the place of the line before.
    void draw(const std::string& text);

    /// Writes a line that stays.
    void say(const std::string& text);

    void clear();

private:
    const bool m_live;
    bool m_drawn = false;
    std::chrono::steady_clock::time_point m_last;
};

}  // namespace shell
