// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/textTable.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

#include "workbench/printable.h"

namespace shell {

TextTable::TextTable(std::vector<Column> columns) : m_columns(std::move(columns)) {}

void TextTable::addRow(std::vector<std::string> cells) {
    cells.resize(m_columns.size());
    std::vector<Cell> row;
    row.reserve(cells.size());
    for (const std::string& cell : cells)
        row.push_back({cell.empty() ? "-" : workbench::printable(cell)});
    m_rows.push_back(std::move(row));
}

void TextTable::setStyle(std::size_t column, Style style) {
    m_rows.back().at(column).style = style;
}

std::string TextTable::text(const Terminal& terminal, int width) const {
    const std::size_t most =
        width > 0 ? static_cast<std::size_t>(width) : std::numeric_limits<std::size_t>::max();
    std::vector<Cell> titles;
    std::vector<std::size_t> widths;
    for (const Column& column : m_columns) {
        titles.push_back({column.title, Style::kStrong});
        widths.push_back(columnsOf(column.title));
    }
    for (const auto& row : m_rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], columnsOf(row[i].text));
    }
    std::string text = line_(titles, widths, terminal, most);
    for (const auto& row : m_rows)
        text += line_(row, widths, terminal, most);
    return text;
}

std::string TextTable::line_(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths,
                             const Terminal& terminal, std::size_t width) const {
    std::string line;
    std::string blanks;
    std::size_t used = 0;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string padding(widths[i] - columnsOf(cells[i].text), ' ');
        // Blanks are written once something stands behind them.
        if (m_columns[i].isNumber)
            blanks += padding;
        if (used + blanks.size() >= width)
            break;
        used += blanks.size();
        const std::string text = firstColumns(cells[i].text, width - used);
        used += columnsOf(text);
        line += blanks + terminal.styled(cells[i].style, text);
        blanks = (m_columns[i].isNumber ? "" : padding) + "  ";
    }
    return line + "\n";
}

}  // namespace shell
