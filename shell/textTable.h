// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "shell/terminal.h"

namespace shell {

/// A table of texts in columns that are as wide as their widest cell.
class TextTable {
public:
    /// One column; numbers stand at the right.
    struct Column {
        std::string title;
        bool isNumber = false;
    };

    explicit TextTable(std::vector<Column> columns);

    /// A row has as many cells as there are columns; an empty cell shows as "-", and what
    /// a terminal would take as a command is escaped.
    void addRow(std::vector<std::string> cells);

    /// How the cell in column `column` of the last row looks, where there are colours.
    void setStyle(std::size_t column, Style style);

    /// Title and rows, one a line, without blanks at the ends of lines, as `terminal` takes
    /// them. What stands beyond `width` columns is cut; 0 cuts nothing.
    std::string text(const Terminal& terminal = Terminal::output(), int width = 0) const;

private:
    struct Cell {
        std::string text;
        Style style = Style::kPlain;
    };
    std::string line_(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths,
                      const Terminal& terminal, std::size_t width) const;

    std::vector<Column> m_columns;
    std::vector<std::vector<Cell>> m_rows;
};

}  // namespace shell
