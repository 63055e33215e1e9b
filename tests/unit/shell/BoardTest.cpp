// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/board.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "shell/boardView.h"

namespace {

using shell::Board;
using shell::BoardKey;
using shell::BoardRow;
using shell::BoardSort;
using Texts = std::vector<std::string>;

BoardRow row(const std::string& name, const std::string& status) {
    BoardRow one;
    one.name = name;
    one.status = status;
    return one;
}

BoardRow timed(const std::string& name, std::optional<double> left) {
    BoardRow one = row(name, "running");
    one.left = left;
    return one;
}

class BoardTest : public ::testing::Test {
protected:
    BoardTest() {
        m_board.setHeight(3);
        m_board.setRows({row("b", "done"), row("a", "running"), row("d", "failed"),
                         row("c", "queued"), row("e", "done")});
    }

    Board::Action press(BoardKey::Kind kind) { return m_board.press({kind}); }
    Board::Action press(char character) { return m_board.press({BoardKey::kText, character}); }
    void type(const std::string& text) {
        for (const char c : text)
            press(c);
    }
    Texts listed() const { return namesOf(m_board.listed()); }
    Texts visible() const { return namesOf(m_board.visible()); }
    static Texts namesOf(const std::vector<const BoardRow*>& rows) {
        Texts names;
        for (const BoardRow* one : rows)
            names.push_back(one->name);
        return names;
    }

    Board m_board{"blinky"};
};

TEST_F(BoardTest, ListsRunsInTheOrderOfTheProject) {
    EXPECT_EQ(listed(), (Texts{"b", "a", "d", "c", "e"}));
    EXPECT_EQ(visible(), (Texts{"b", "a", "d"}));
    EXPECT_EQ(m_board.selectedName(), "b");
}

TEST_F(BoardTest, MovesTheSelectionAndKeepsItInView) {
    press(BoardKey::kUp);
    EXPECT_EQ(m_board.selectedName(), "b");
    for (int i = 0; i < 3; ++i)
        press(BoardKey::kDown);
    EXPECT_EQ(m_board.selectedName(), "c");
    EXPECT_EQ(visible(), (Texts{"a", "d", "c"}));
    EXPECT_EQ(m_board.selectedPlace(), 2U);
    press(BoardKey::kEnd);
    EXPECT_EQ(m_board.selectedName(), "e");
    press(BoardKey::kDown);
    EXPECT_EQ(m_board.selectedName(), "e");
    press(BoardKey::kPageUp);
    EXPECT_EQ(m_board.selectedName(), "a");
    press(BoardKey::kPageDown);
    EXPECT_EQ(m_board.selectedName(), "e");
    press(BoardKey::kHome);
    EXPECT_EQ(visible(), (Texts{"b", "a", "d"}));
}

TEST_F(BoardTest, KeepsTheSelectedRunWhenTheOrderChanges) {
    press(BoardKey::kDown);
    m_board.setRows({row("x", "done"), row("y", "done"), row("z", "done"), row("a", "done")});
    EXPECT_EQ(m_board.selectedName(), "a");
    EXPECT_EQ(visible(), (Texts{"y", "z", "a"}));
}

TEST_F(BoardTest, SelectsANeighbourWhenTheSelectedRunGoes) {
    press(BoardKey::kEnd);
    m_board.setRows({row("x", "done"), row("y", "done")});
    EXPECT_EQ(m_board.selectedName(), "y");
    m_board.setRows({});
    EXPECT_EQ(m_board.selectedName(), "");
    EXPECT_EQ(m_board.selectedPlace(), std::nullopt);
    EXPECT_EQ(press(BoardKey::kDown), Board::Action::kNone);
}

TEST_F(BoardTest, OrdersByNameAndStatus) {
    press('s');
    EXPECT_EQ(m_board.getSort(), BoardSort::kName);
    EXPECT_EQ(listed(), (Texts{"a", "b", "c", "d", "e"}));
    press('r');
    EXPECT_EQ(listed(), (Texts{"e", "d", "c", "b", "a"}));
    press('r');
    press('s');
    EXPECT_EQ(listed(), (Texts{"a", "c", "d", "b", "e"}));
}

TEST_F(BoardTest, OrdersWhatIsntKnownBehindTheRest) {
    m_board.setRows({timed("none", std::nullopt), timed("short", 3), timed("long", 70)});
    for (int i = 0; i < 4; ++i)
        press('s');
    EXPECT_EQ(m_board.getSort(), BoardSort::kLeft);
    EXPECT_EQ(listed(), (Texts{"long", "short", "none"}));
    press('r');
    EXPECT_EQ(listed(), (Texts{"short", "long", "none"}));
    press('r');
    press('s');
    press('s');
    EXPECT_EQ(m_board.getSort(), BoardSort::kProject);
    EXPECT_EQ(listed(), (Texts{"none", "short", "long"}));
    press('r');
    EXPECT_EQ(listed(), (Texts{"long", "short", "none"}));
}

TEST_F(BoardTest, FiltersWhileTyping) {
    press('/');
    EXPECT_EQ(m_board.getMode(), Board::Mode::kFilter);
    type("DoN");
    EXPECT_EQ(listed(), (Texts{"b", "e"}));
    press(BoardKey::kBackspace);
    press(BoardKey::kBackspace);
    press(BoardKey::kBackspace);
    press(BoardKey::kBackspace);
    EXPECT_EQ(listed().size(), 5U);
    type("q");
    press(BoardKey::kEnter);
    EXPECT_EQ(m_board.getMode(), Board::Mode::kTable);
    EXPECT_EQ(listed(), Texts{"c"});
    press(BoardKey::kEscape);
    EXPECT_EQ(listed().size(), 5U);
}

TEST_F(BoardTest, DropsTheFilterOnEscape) {
    press('/');
    type("done");
    press(BoardKey::kEscape);
    EXPECT_EQ(m_board.getMode(), Board::Mode::kTable);
    EXPECT_EQ(listed().size(), 5U);
}

TEST_F(BoardTest, StopsARunOnlyAfterAYes) {
    press(BoardKey::kDown);
    EXPECT_EQ(press('k'), Board::Action::kNone);
    EXPECT_EQ(m_board.getMode(), Board::Mode::kAskKill);
    EXPECT_EQ(press('n'), Board::Action::kNone);
    press('k');
    EXPECT_EQ(press(BoardKey::kEnter), Board::Action::kNone);
    press('k');
    EXPECT_EQ(press('y'), Board::Action::kKill);
    EXPECT_EQ(m_board.selectedName(), "a");
    EXPECT_EQ(m_board.getMode(), Board::Mode::kTable);
}

TEST_F(BoardTest, ShowsALogAndTheHelpAndComesBack) {
    press(BoardKey::kEnter);
    EXPECT_EQ(m_board.getMode(), Board::Mode::kLog);
    EXPECT_EQ(press('q'), Board::Action::kNone);
    EXPECT_EQ(m_board.getMode(), Board::Mode::kTable);
    press('?');
    EXPECT_EQ(m_board.getMode(), Board::Mode::kHelp);
    press(BoardKey::kEscape);
    EXPECT_EQ(m_board.getMode(), Board::Mode::kTable);
    EXPECT_EQ(press('q'), Board::Action::kQuit);
}

TEST_F(BoardTest, ANoteStaysUntilTheNextKey) {
    m_board.setNote("stopped");
    m_board.setRows({row("b", "done")});
    EXPECT_EQ(m_board.getNote(), "stopped");
    press(BoardKey::kDown);
    EXPECT_EQ(m_board.getNote(), "");
}

/// The screen as a grid of text.
class BoardViewTest : public BoardTest {
protected:
    Texts draw(int width, int height) {
        m_board.setHeight(shell::boardRows(height));
        Texts texts;
        for (const shell::BoardLine& line : shell::drawBoard(m_board, width, height)) {
            std::string text;
            for (const shell::BoardSpan& span : line)
                text += span.text;
            while (!text.empty() && text.back() == ' ')
                text.pop_back();
            texts.push_back(text);
        }
        return texts;
    }
    void setWorking() {
        BoardRow working = row("impl_1", "running");
        working.step = "route_design";
        working.fraction = 0.41;
        working.elapsed = 12;
        working.left = 250;
        working.fmaxMhz = 55.07;
        working.isEstimate = true;
        working.text = "routing, 312 arcs left";
        BoardRow done = row("synth_1", "done");
        done.step = "synth_design";
        done.elapsed = 6;
        m_board.setRows({done, working});
        m_board.setTimeLeft(250);
    }
};

TEST_F(BoardViewTest, CountsAbandonedRunsWhereThereAreAny) {
    setWorking();
    std::vector<BoardRow> rows = m_board.getRows();
    rows.push_back(rows.front());
    rows.back().name = "impl_2";
    rows.back().status = "abandoned";
    m_board.setRows(rows);
    EXPECT_EQ(draw(120, 6).front(), "blinky: 3 runs, running 1, waiting 0, done 1, failed 0, "
                                    "abandoned 1, 4:10 left");
}

TEST_F(BoardViewTest, ShowsCountsRowsAndKeys) {
    setWorking();
    press(BoardKey::kDown);
    EXPECT_EQ(
        draw(120, 6),
        (Texts{
            "blinky: 2 runs, running 1, waiting 0, done 1, failed 0, 4:10 left",
            " Run       Status       Step             Progress             Elapsed      Left  Fmax "
            "MHz",
            " synth_1   done         synth_design                             0:06",
            ">impl_1    running      route_design     [####......]  41 %      0:12      4:10     "
            "~55.1  routing, 312 arcs left",
            "", "q quit  ? help  / filter  s sort  r reverse  Enter log  k kill"}));
}

TEST_F(BoardViewTest, LeavesOutWhatMattersLeastOnANarrowScreen) {
    setWorking();
    const Texts wide = draw(80, 6);
    EXPECT_EQ(wide[1], " Run       Status       Step             Progress                Left");
    const Texts narrow = draw(30, 6);
    EXPECT_EQ(narrow[1], " Run       Status");
    EXPECT_EQ(narrow[0], "blinky: 2 runs, running 1, wai");
}

TEST_F(BoardViewTest, FillsTheScreenAndNeverMoreThanThat) {
    setWorking();
    m_board.setRows({row(std::string(200, 'n'), "done"), row("\u8a2d\u8a08", "running")});
    for (const int width : {1, 2, 7, 20, 40, 79, 80, 200}) {
        for (const int height : {1, 2, 3, 4, 24}) {
            m_board.setHeight(shell::boardRows(height));
            const auto lines = shell::drawBoard(m_board, width, height);
            ASSERT_EQ(lines.size(), static_cast<std::size_t>(height));
            for (const shell::BoardLine& line : lines) {
                std::size_t columns = 0;
                for (const shell::BoardSpan& span : line)
                    columns += shell::columnsOf(span.text);
                EXPECT_LE(columns, static_cast<std::size_t>(width));
            }
        }
    }
    EXPECT_TRUE(shell::drawBoard(m_board, 0, 5).empty());
}

TEST_F(BoardViewTest, ShowsTheEndOfALog) {
    press(BoardKey::kEnter);
    m_board.setLog({"one", "two", "three", "four"});
    EXPECT_EQ(draw(40, 6), (Texts{"blinky: 5 runs, running 1, waiting 1, do", " Log of b", "two",
                                  "three", "four", "Esc back"}));
}

TEST_F(BoardViewTest, AsksBeforeItStopsARun) {
    press('k');
    EXPECT_EQ(draw(80, 6).back(), "Stop b for certain? y/n");
}

TEST_F(BoardViewTest, TellsOrderAndFilter) {
    press('s');
    press('r');
    press('/');
    type("zz");
    const Texts lines = draw(100, 6);
    EXPECT_EQ(lines[0], "blinky: 5 runs, running 1, waiting 1, done 2, failed 1  (by name, "
                        "reversed)  (only 'zz')");
    EXPECT_EQ(lines[2], " No run passes the filter.");
    EXPECT_EQ(lines.back(), "/zz_   Enter keeps the filter, Esc drops it");
    m_board.setRows({});
    EXPECT_EQ(draw(100, 6)[2], " The project has no runs.");
}

TEST_F(BoardViewTest, ExplainsEveryKey) {
    press('?');
    const Texts lines = draw(80, 24);
    EXPECT_EQ(lines[1], " Keys");
    EXPECT_EQ(lines[2], "up, down          select a run");
    EXPECT_EQ(lines.back(), "Esc back");
}

}  // namespace
