// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>

namespace shell {

/// What a piece of text means; how that looks is decided here alone.
enum class Style { kPlain, kGood, kBad, kWarn, kDim, kStrong };

/// What one of the standard streams can take.
///
/// Off a terminal, on a dumb one and with "--plain" it takes text and nothing else: no
/// colour, no line that is drawn anew, not one escape byte.
class Terminal {
public:
    /// What standard output, and standard error, takes now.
    static Terminal output();
    static Terminal error();

    /// For the whole program: people asked for plain text.
    static void setPlain(bool isPlain);

    /// Whether a person sits behind the stream, who may have a dumb terminal.
    bool isTerminal() const { return m_isTerminal; }
    /// Whether lines may be drawn anew and whole screens shown.
    bool isLive() const { return m_isLive; }
    /// isLive(), and NO_COLOR isn't set.
    bool hasColour() const { return m_hasColour; }
    /// isLive(), and the locale is one of UTF-8.
    bool hasUnicode() const { return m_hasUnicode; }

    /// The columns that a line may take: what COLUMNS says, else the width of the terminal,
    /// else `otherwise`.
    int width(int otherwise) const;

    /// `text` as `style` looks here; `text` itself without colours. It takes as many columns
    /// as `text`. Pad it before, not after.
    std::string styled(Style style, const std::string& text) const;

private:
    explicit Terminal(int stream);

    int m_stream;
    bool m_isTerminal;
    bool m_isLive;
    bool m_hasColour;
    bool m_hasUnicode;
};

/// How many columns `text`, in UTF-8 and without styles, takes.
std::size_t columnsOf(const std::string& text);

/// As much of the beginning of `text` as takes at most `columns`.
std::string firstColumns(const std::string& text, std::size_t columns);

}  // namespace shell
