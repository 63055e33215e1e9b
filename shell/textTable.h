// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

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

    /// Title and rows, one a line, without blanks at the ends of lines.
    std::string text() const;

private:
    std::string line_(const std::vector<std::string>& cells,
                      const std::vector<std::size_t>& widths) const;

    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

}  // namespace shell
