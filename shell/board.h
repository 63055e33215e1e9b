// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace shell {

/// A run as the board shows it.
struct BoardRow {
    std::string name;
    std::string status;  ///< as statusWord() words it
    std::string step;
    /// What its tool does; empty when it tells nothing.
    std::string text;
    /// The part of the step that has passed, 0 to 1.
    std::optional<double> fraction;
    std::optional<double> elapsed;  ///< in seconds, since the launch; of an ended run all of it
    std::optional<double> left;     ///< in seconds
    std::optional<double> fmaxMhz;
    /// Whether fmaxMhz is that of the placement.
    bool isEstimate = false;
};

/// What is pressed.
struct BoardKey {
    enum Kind {
        kOther,
        kText,
        kUp,
        kDown,
        kPageUp,
        kPageDown,
        kHome,
        kEnd,
        kEnter,
        kEscape,
        kBackspace
    };
    Kind kind = kOther;
    /// Of kText: a printable character of ASCII.
    char character = '\0';
};

enum class BoardSort { kProject, kName, kStatus, kElapsed, kLeft, kFmax };

/// The full-screen view of runs: what is listed, in which order, what is selected, and what the
/// keys do. Knows nothing of terminals, files and runs.
class Board {
public:
    enum class Mode { kTable, kFilter, kLog, kHelp, kAskKill };
    /// What a key asks others to do.
    enum class Action { kNone, kQuit, kKill };

    explicit Board(const std::string& title) : m_title(title) {}

    const std::string& getTitle() const { return m_title; }

    /// Takes the runs anew, in the order of the project. The selected one stays selected as
    /// long as it is listed.
    void setRows(std::vector<BoardRow> rows);
    const std::vector<BoardRow>& getRows() const { return m_rows; }

    /// How many rows the screen shows at once; at least one.
    void setHeight(std::size_t rows);

    /// The rows that pass the filter, in their order.
    std::vector<const BoardRow*> listed() const;
    /// Those of listed() that are on the screen.
    std::vector<const BoardRow*> visible() const;
    /// The place of the selected row among visible(); nothing when none is listed.
    std::optional<std::size_t> selectedPlace() const;
    /// Empty when none is listed.
    std::string selectedName() const;

    Mode getMode() const { return m_mode; }
    BoardSort getSort() const { return m_sort; }
    bool isReversed() const { return m_isReversed; }
    const std::string& getFilter() const { return m_filter; }
    /// Lists only runs whose name, status, step or progress holds `filter`, in any case.
    void setFilter(const std::string& filter);

    /// Until all runs at work have ended, in seconds.
    void setTimeLeft(std::optional<double> seconds) { m_timeLeft = seconds; }
    std::optional<double> getTimeLeft() const { return m_timeLeft; }

    /// The log that is shown in kLog, its last lines.
    void setLog(std::vector<std::string> lines) { m_log = std::move(lines); }
    const std::vector<std::string>& getLog() const { return m_log; }

    /// A line for the user, until the next key.
    void setNote(const std::string& text) { m_note = text; }
    const std::string& getNote() const { return m_note; }

    /// The action is about selectedName().
    Action press(const BoardKey& key);

private:
    Action pressInTable_(const BoardKey& key);
    Action command_(char character);
    void pressInFilter_(const BoardKey& key);
    void move_(long rows);
    void arrange_();
    void arrangeAround_(const std::string& selected);
    void keepInView_();

    std::string m_title;
    std::vector<BoardRow> m_rows;
    /// Places in m_rows: what is listed, in order.
    std::vector<std::size_t> m_order;
    /// Places in m_order.
    std::size_t m_selected = 0;
    std::size_t m_first = 0;
    std::size_t m_height = 1;
    Mode m_mode = Mode::kTable;
    BoardSort m_sort = BoardSort::kProject;
    bool m_isReversed = false;
    std::string m_filter;
    std::string m_note;
    std::optional<double> m_timeLeft;
    std::vector<std::string> m_log;
};

/// The word of an order, such as "left".
const char* sortWord(BoardSort sort);

}  // namespace shell
