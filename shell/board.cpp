// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/board.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace shell {

namespace {

/// What is at work comes first, and what went well last.
int rankOf(const std::string& status) {
    const std::array<const char*, 9> order{"running", "unknown",   "queued",      "failed", "lost",
                                           "stopped", "abandoned", "not started", "done"};
    const auto* found = std::find(order.begin(), order.end(), status);
    return static_cast<int>(found - order.begin());
}

std::string lower(const std::string& text) {
    std::string result = text;
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

/// Whether the run's name, status, step or what its tool does holds `filter`, in any case.
bool passes(const BoardRow& row, const std::string& filter) {
    const std::string wanted = lower(filter);
    const auto holds = [&wanted](const std::string& text) {
        return lower(text).find(wanted) != std::string::npos;
    };
    return holds(row.name) || holds(row.status) || holds(row.step) || holds(row.text);
}

/// What isn't known comes behind everything that is, whichever way round the order is.
bool isBefore(const std::optional<double>& a, const std::optional<double>& b, bool isRising) {
    if (!a || !b)
        return a.has_value() && !b.has_value();
    return isRising ? *a < *b : *a > *b;
}

bool isBefore(const BoardRow& a, const BoardRow& b, BoardSort sort, bool isReversed) {
    switch (sort) {
    case BoardSort::kName:
        return isReversed ? b.name < a.name : a.name < b.name;
    case BoardSort::kStatus:
        return isReversed ? rankOf(b.status) < rankOf(a.status)
                          : rankOf(a.status) < rankOf(b.status);
    case BoardSort::kElapsed:
        return isBefore(a.elapsed, b.elapsed, isReversed);
    case BoardSort::kLeft:
        return isBefore(a.left, b.left, isReversed);
    case BoardSort::kFmax:
        return isBefore(a.fmaxMhz, b.fmaxMhz, isReversed);
    case BoardSort::kProject:
        break;
    }
    return false;
}

}  // namespace

const char* sortWord(BoardSort sort) {
    switch (sort) {
    case BoardSort::kName:
        return "name";
    case BoardSort::kStatus:
        return "status";
    case BoardSort::kElapsed:
        return "elapsed";
    case BoardSort::kLeft:
        return "left";
    case BoardSort::kFmax:
        return "Fmax";
    case BoardSort::kProject:
        break;
    }
    return "project";
}

void Board::setRows(std::vector<BoardRow> rows) {
    const std::string selected = selectedName();
    m_rows = std::move(rows);
    arrangeAround_(selected);
}

void Board::arrangeAround_(const std::string& selected) {
    arrange_();
    for (std::size_t i = 0; i < m_order.size(); ++i) {
        if (m_rows[m_order[i]].name == selected)
            m_selected = i;
    }
    keepInView_();
}

void Board::setFilter(const std::string& filter) {
    m_filter = filter;
    arrangeAround_(selectedName());
}

void Board::setHeight(std::size_t rows) {
    m_height = std::max<std::size_t>(1, rows);
    keepInView_();
}

std::vector<const BoardRow*> Board::listed() const {
    std::vector<const BoardRow*> rows;
    rows.reserve(m_order.size());
    for (const std::size_t place : m_order)
        rows.push_back(&m_rows[place]);
    return rows;
}

std::vector<const BoardRow*> Board::visible() const {
    std::vector<const BoardRow*> rows;
    for (std::size_t i = m_first; i < m_order.size() && i < m_first + m_height; ++i)
        rows.push_back(&m_rows[m_order[i]]);
    return rows;
}

std::optional<std::size_t> Board::selectedPlace() const {
    if (m_order.empty())
        return std::nullopt;
    return m_selected - m_first;
}

std::string Board::selectedName() const {
    return m_selected < m_order.size() ? m_rows[m_order[m_selected]].name : std::string();
}

void Board::arrange_() {
    m_order.clear();
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        if (m_filter.empty() || passes(m_rows[i], m_filter))
            m_order.push_back(i);
    }
    if (m_sort == BoardSort::kProject && m_isReversed)
        std::reverse(m_order.begin(), m_order.end());
    std::stable_sort(m_order.begin(), m_order.end(), [this](std::size_t a, std::size_t b) {
        return isBefore(m_rows[a], m_rows[b], m_sort, m_isReversed);
    });
}

void Board::keepInView_() {
    if (m_order.empty()) {
        m_selected = m_first = 0;
        return;
    }
    m_selected = std::min(m_selected, m_order.size() - 1);
    const std::size_t lastFirst = m_order.size() > m_height ? m_order.size() - m_height : 0;
    m_first = std::min(m_first, lastFirst);
    m_first = std::min(m_first, m_selected);
    if (m_selected >= m_first + m_height)
        m_first = m_selected - m_height + 1;
}

void Board::move_(long rows) {
    const long last = static_cast<long>(m_order.size()) - 1;
    m_selected = static_cast<std::size_t>(
        std::clamp(static_cast<long>(m_selected) + rows, 0L, std::max(0L, last)));
    keepInView_();
}

Board::Action Board::press(const BoardKey& key) {
    m_note.clear();
    switch (m_mode) {
    case Mode::kTable:
        return pressInTable_(key);
    case Mode::kFilter:
        pressInFilter_(key);
        return Action::kNone;
    case Mode::kAskKill: {
        m_mode = Mode::kTable;
        const bool isYes = key.kind == BoardKey::kText && std::tolower(key.character) == 'y';
        return isYes ? Action::kKill : Action::kNone;
    }
    case Mode::kLog:
    case Mode::kHelp:
        break;
    }
    const bool isAway =
        key.kind == BoardKey::kEscape || key.kind == BoardKey::kEnter ||
        (key.kind == BoardKey::kText && (key.character == 'q' || key.character == '?'));
    if (isAway) {
        m_mode = Mode::kTable;
        m_log.clear();
    }
    return Action::kNone;
}

Board::Action Board::pressInTable_(const BoardKey& key) {
    const long page = static_cast<long>(m_height);
    switch (key.kind) {
    case BoardKey::kUp:
        move_(-1);
        break;
    case BoardKey::kDown:
        move_(1);
        break;
    case BoardKey::kPageUp:
        move_(-page);
        break;
    case BoardKey::kPageDown:
        move_(page);
        break;
    case BoardKey::kHome:
        move_(-static_cast<long>(m_order.size()));
        break;
    case BoardKey::kEnd:
        move_(static_cast<long>(m_order.size()));
        break;
    case BoardKey::kEnter:
        if (!m_order.empty())
            m_mode = Mode::kLog;
        break;
    case BoardKey::kEscape:
        setFilter("");
        break;
    case BoardKey::kText:
        return command_(key.character);
    case BoardKey::kBackspace:
    case BoardKey::kOther:
        break;
    }
    return Action::kNone;
}

Board::Action Board::command_(char character) {
    switch (character) {
    case 'q':
        return Action::kQuit;
    case '?':
        m_mode = Mode::kHelp;
        break;
    case '/':
        m_mode = Mode::kFilter;
        break;
    case 'k':
        if (!m_order.empty())
            m_mode = Mode::kAskKill;
        break;
    case 's':
        m_sort = m_sort == BoardSort::kFmax ? BoardSort::kProject
                                            : static_cast<BoardSort>(static_cast<int>(m_sort) + 1);
        arrangeAround_(selectedName());
        break;
    case 'r':
        m_isReversed = !m_isReversed;
        arrangeAround_(selectedName());
        break;
    default:
        break;
    }
    return Action::kNone;
}

void Board::pressInFilter_(const BoardKey& key) {
    if (key.kind == BoardKey::kEnter)
        m_mode = Mode::kTable;
    else if (key.kind == BoardKey::kEscape) {
        m_filter.clear();
        m_mode = Mode::kTable;
    } else if (key.kind == BoardKey::kBackspace && !m_filter.empty())
        m_filter.pop_back();
    else if (key.kind == BoardKey::kText && m_filter.size() < 100)
        m_filter += key.character;
    arrangeAround_(selectedName());
}

}  // namespace shell
