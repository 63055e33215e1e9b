// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "shell/terminal.h"

namespace shell {

class Board;

/// A piece of a line on the screen.
struct BoardSpan {
    std::string text;
    Style style = Style::kPlain;
    bool isReversed = false;
};

using BoardLine = std::vector<BoardSpan>;

/// The rows of runs that a screen of `height` lines has room for.
std::size_t boardRows(int height);

/// The board on a screen of `width` columns and `height` lines: as many lines, none of them
/// wider. Columns that don't fit are left out, those that matter least first.
std::vector<BoardLine> drawBoard(const Board& board, int width, int height);

}  // namespace shell
