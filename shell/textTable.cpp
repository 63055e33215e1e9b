// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/textTable.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include <fmt/format.h>

#include "workbench/printable.h"

namespace shell {

TextTable::TextTable(std::vector<Column> columns) : m_columns(std::move(columns)) {}

void TextTable::addRow(std::vector<std::string> cells) {
    cells.resize(m_columns.size());
    for (std::string& cell : cells) {
        cell = cell.empty() ? "-" : workbench::printable(cell);
    }
    m_rows.push_back(std::move(cells));
}

std::string TextTable::text() const {
    std::vector<std::string> titles;
    std::vector<std::size_t> widths;
    for (const Column& column : m_columns) {
        titles.push_back(column.title);
        widths.push_back(column.title.size());
    }
    for (const auto& row : m_rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text = line_(titles, widths);
    for (const auto& row : m_rows)
        text += line_(row, widths);
    return text;
}

std::string TextTable::line_(const std::vector<std::string>& cells,
                             const std::vector<std::size_t>& widths) const {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const char* form = m_columns[i].isNumber ? "{:>{}}" : "{:<{}}";
        line += (i == 0 ? "" : "  ") + fmt::format(fmt::runtime(form), cells[i], widths[i]);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

}  // namespace shell
