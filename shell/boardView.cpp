// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/boardView.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include <fmt/format.h>

#include "shell/board.h"
#include "shell/progressLine.h"
#include "workbench/timeLeft.h"

namespace shell {

namespace {

/// The head, the titles of the columns, and the line at the bottom.
constexpr int kOtherLines = 3;
constexpr int kBarColumns = 10;
constexpr int kWidestName = 30;

/// `text` in exactly `width` columns.
std::string padded(const std::string& text, int width, bool isRight) {
    std::string fitted = fitLine(text, width);
    const int missing = width - static_cast<int>(columnsOf(fitted));
    return isRight ? std::string(static_cast<std::size_t>(missing), ' ') + fitted
                   : fitted + std::string(static_cast<std::size_t>(missing), ' ');
}

std::string barText(const BoardRow& row) {
    if (!row.fraction)
        return {};
    const double part = std::clamp(*row.fraction, 0.0, 1.0);
    const auto full = static_cast<std::size_t>(std::lround(part * kBarColumns));
    return fmt::format("[{}{}] {:>3} %", std::string(full, '#'),
                       std::string(kBarColumns - full, '.'), std::lround(part * 100));
}

std::string secondsText(const std::optional<double>& seconds) {
    return seconds ? workbench::durationText(*seconds) : std::string();
}

/// An estimate is marked.
std::string fmaxText(const BoardRow& row) {
    return row.fmaxMhz ? fmt::format("{}{:.1f}", row.isEstimate ? "~" : "", *row.fmaxMhz)
                       : std::string();
}

Style boardStatusStyle(const std::string& status) {
    if (status == "done")
        return Style::kGood;
    if (status == "failed" || status == "lost")
        return Style::kBad;
    if (status == "stopped" || status == "unknown" || status == "abandoned")
        return Style::kWarn;
    return status == "running" ? Style::kStrong : Style::kDim;
}

/// A column of the table. A greater `weight` is left out later.
struct Column {
    const char* title;
    int width;
    bool isRight;
    int weight;
    std::function<std::string(const BoardRow&)> text;
};

int widthOfNames(const Board& board) {
    std::size_t widest = 8;
    for (const BoardRow& row : board.getRows())
        widest = std::max(widest, columnsOf(row.name));
    return static_cast<int>(std::min<std::size_t>(widest, kWidestName));
}

int widthOfColumns(const std::vector<Column>& columns) {
    int width = 1;
    for (const Column& column : columns)
        width += column.width + 2;
    return width;
}

std::vector<Column> columnsFor(const Board& board, int width) {
    std::vector<Column> columns{
        {"Run", widthOfNames(board), false, 9, [](const BoardRow& row) { return row.name; }},
        {"Status", 11, false, 8, [](const BoardRow& row) { return row.status; }},
        {"Step", 15, false, 5, [](const BoardRow& row) { return row.step; }},
        {"Progress", kBarColumns + 8, false, 6, barText},
        {"Elapsed", 8, true, 3, [](const BoardRow& row) { return secondsText(row.elapsed); }},
        {"Left", 8, true, 4, [](const BoardRow& row) { return secondsText(row.left); }},
        {"Fmax MHz", 8, true, 2, fmaxText},
    };
    while (columns.size() > 1 && widthOfColumns(columns) > width) {
        const auto least =
            std::min_element(columns.begin(), columns.end(),
                             [](const Column& a, const Column& b) { return a.weight < b.weight; });
        columns.erase(least);
    }
    // What the tool does takes what is left, if that is worth it.
    const int rest = width - widthOfColumns(columns);
    if (rest >= 12)
        columns.push_back({"", rest, false, 1, [](const BoardRow& row) { return row.text; }});
    return columns;
}

BoardLine titleLine(const std::vector<Column>& columns, int width) {
    std::string text = " ";
    for (const Column& column : columns)
        text += padded(column.title, column.width, column.isRight) + "  ";
    return {{padded(text, width, false), Style::kPlain, true}};
}

BoardLine rowLine(const BoardRow& row, const std::vector<Column>& columns, int width,
                  bool isSelected) {
    BoardLine line{{isSelected ? ">" : " ", Style::kStrong, isSelected}};
    int left = width - 1;
    for (const Column& column : columns) {
        const std::string text =
            fitLine(padded(column.text(row), column.width, column.isRight) + "  ", left);
        left -= static_cast<int>(columnsOf(text));
        const bool isStatus = std::string(column.title) == "Status";
        line.push_back({text, isStatus ? boardStatusStyle(row.status) : Style::kPlain, isSelected});
    }
    return line;
}

std::string boardHead(const Board& board) {
    const auto count = [&board](std::initializer_list<const char*> words) {
        return std::count_if(
            board.getRows().begin(), board.getRows().end(), [&words](const BoardRow& row) {
                return std::find(words.begin(), words.end(), row.status) != words.end();
            });
    };
    std::string text =
        fmt::format("{}: {} run{}, running {}, waiting {}, done {}, failed {}", board.getTitle(),
                    board.getRows().size(), board.getRows().size() == 1 ? "" : "s",
                    count({"running", "unknown"}), count({"queued"}), count({"done"}),
                    count({"failed", "lost", "stopped"}));
    if (const auto abandoned = count({"abandoned"}); abandoned > 0)
        text += fmt::format(", abandoned {}", abandoned);
    if (board.getTimeLeft())
        text += fmt::format(", {} left", workbench::durationText(*board.getTimeLeft()));
    if (board.getSort() != BoardSort::kProject || board.isReversed())
        text += fmt::format("  (by {}{})", sortWord(board.getSort()),
                            board.isReversed() ? ", reversed" : "");
    if (!board.getFilter().empty())
        text += fmt::format("  (only '{}')", board.getFilter());
    return text;
}

std::string bottomText(const Board& board) {
    if (!board.getNote().empty())
        return board.getNote();
    switch (board.getMode()) {
    case Board::Mode::kFilter:
        return "/" + board.getFilter() + "_   Enter keeps the filter, Esc drops it";
    case Board::Mode::kAskKill:
        return fmt::format("Stop {} for certain? y/n", board.selectedName());
    case Board::Mode::kLog:
    case Board::Mode::kHelp:
        return "Esc back";
    case Board::Mode::kTable:
        break;
    }
    return "q quit  ? help  / filter  s sort  r reverse  Enter log  k kill";
}

const std::vector<std::string>& helpLines() {
    static const std::vector<std::string> lines{
        "up, down          select a run",
        "page up, down     a screen further",
        "home, end         the first run, the last one",
        "Enter             the end of the run's log",
        "s                 order by name, status, elapsed, left, Fmax, or as in the project",
        "r                 the other way round",
        "/                 list only runs whose name, status, step or progress holds a text",
        "Esc               back; in the list: no filter",
        "k                 stop the selected run for certain, after asking",
        "q                 quit; runs at work go on",
        "",
        "~ before an Fmax  it is the estimate of the placement",
    };
    return lines;
}

void addTable(const Board& board, int width, std::vector<BoardLine>& lines) {
    const std::vector<Column> columns = columnsFor(board, width);
    lines.push_back(titleLine(columns, width));
    const std::vector<const BoardRow*> rows = board.visible();
    for (std::size_t i = 0; i < rows.size(); ++i)
        lines.push_back(rowLine(*rows[i], columns, width, board.selectedPlace() == i));
    if (rows.empty())
        lines.push_back({{fitLine(board.getRows().empty() ? " The project has no runs."
                                                          : " No run passes the filter.",
                                  width)}});
}

void addTexts(const std::string& title, const std::vector<std::string>& texts, int width,
              std::size_t most, std::vector<BoardLine>& lines) {
    lines.push_back({{padded(" " + title, width, false), Style::kPlain, true}});
    const std::size_t first = texts.size() > most ? texts.size() - most : 0;
    for (std::size_t i = first; i < texts.size(); ++i)
        lines.push_back({{fitLine(texts[i], width)}});
}

}  // namespace

std::size_t boardRows(int height) {
    return static_cast<std::size_t>(std::max(1, height - kOtherLines));
}

std::vector<BoardLine> drawBoard(const Board& board, int width, int height) {
    std::vector<BoardLine> lines;
    if (width < 1 || height < 1)
        return lines;
    lines.push_back({{fitLine(boardHead(board), width), Style::kStrong}});
    if (board.getMode() == Board::Mode::kHelp)
        addTexts("Keys", helpLines(), width, boardRows(height), lines);
    else if (board.getMode() == Board::Mode::kLog)
        addTexts("Log of " + board.selectedName(), board.getLog(), width, boardRows(height), lines);
    else
        addTable(board, width, lines);
    lines.resize(static_cast<std::size_t>(height));
    if (height > 1)
        lines.back() = {{fitLine(bottomText(board), width), Style::kDim}};
    return lines;
}

}  // namespace shell
