// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/fullScreen.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fmt/format.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <curses.h>
#include <term.h>

// Macros that other headers would stumble over.
#undef lines
#undef columns

#include "shell/exitStatus.h"

namespace shell {

namespace {

constexpr std::array<int, 4> kEndSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr std::array<int, 5> kCrashes{SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL};

volatile std::sig_atomic_t s_endSignal = 0;

/// What brings the terminal back, for a crash: nothing else may be called then.
termios s_before;
char s_leave[128];
std::size_t s_leaveSize = 0;

extern "C" void onEndSignal(int number) {
    s_endSignal = number;
}

extern "C" void onCrash(int number) {
    const ssize_t ignored = write(STDOUT_FILENO, s_leave, s_leaveSize);
    static_cast<void>(ignored);
    tcsetattr(STDIN_FILENO, TCSANOW, &s_before);
    std::signal(number, SIG_DFL);
    std::raise(number);
}

void keepForCrash(const char* capability) {
    const char* text = tigetstr(capability);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): so curses tells that it is no string.
    if (text == nullptr || text == reinterpret_cast<const char*>(-1))
        return;
    const std::size_t size = std::strlen(text);
    if (s_leaveSize + size > sizeof s_leave)
        return;
    std::copy_n(text, size, s_leave + s_leaveSize);
    s_leaveSize += size;
}

BoardKey keyOf(int code) {
    switch (code) {
    case KEY_UP:
        return {BoardKey::kUp};
    case KEY_DOWN:
        return {BoardKey::kDown};
    case KEY_PPAGE:
        return {BoardKey::kPageUp};
    case KEY_NPAGE:
        return {BoardKey::kPageDown};
    case KEY_HOME:
        return {BoardKey::kHome};
    case KEY_END:
        return {BoardKey::kEnd};
    case KEY_ENTER:
    case '\r':
    case '\n':
        return {BoardKey::kEnter};
    case KEY_BACKSPACE:
    case '\b':
    case 0x7F:
        return {BoardKey::kBackspace};
    case 0x1B:
        return {BoardKey::kEscape};
    default:
        break;
    }
    if (code >= 0x20 && code < 0x7F)
        return {BoardKey::kText, static_cast<char>(code)};
    return {};
}

enum Colours : short { kGreen = 1, kRed, kYellow };

attr_t attributesOf(const BoardSpan& span) {
    const attr_t base = span.isReversed ? A_REVERSE : A_NORMAL;
    switch (span.style) {
    case Style::kGood:
        return base | static_cast<attr_t>(COLOR_PAIR(kGreen));
    case Style::kBad:
        return base | static_cast<attr_t>(COLOR_PAIR(kRed)) | A_BOLD;
    case Style::kWarn:
        return base | static_cast<attr_t>(COLOR_PAIR(kYellow));
    case Style::kDim:
        return base | A_DIM;
    case Style::kStrong:
        return base | A_BOLD;
    case Style::kPlain:
        break;
    }
    return base;
}

void startColours() {
    if (!Terminal::output().hasColour() || !has_colors())
        return;
    start_color();
    use_default_colors();
    init_pair(kGreen, COLOR_GREEN, -1);
    init_pair(kRed, COLOR_RED, -1);
    init_pair(kYellow, COLOR_YELLOW, -1);
}

/// A terminal that isn't of UTF-8 shows nothing but ASCII.
std::string displayable(const std::string& text) {
    if (Terminal::output().hasUnicode())
        return text;
    std::string plain;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80U)
            plain += c;
        else if ((byte & 0xC0U) != 0x80U)
            plain += '?';
    }
    return plain;
}

}  // namespace

struct FullScreen::State {
    SCREEN* screen = nullptr;
    sigset_t maskBefore{};
    std::array<struct sigaction, kEndSignals.size()> endsBefore{};
    std::array<struct sigaction, kCrashes.size()> crashesBefore{};

    void keepSignals();
    void takeSignals();
    void giveSignalsBack() const;
};

void FullScreen::State::keepSignals() {
    for (std::size_t i = 0; i < kEndSignals.size(); ++i)
        sigaction(kEndSignals[i], nullptr, &endsBefore[i]);
    for (std::size_t i = 0; i < kCrashes.size(); ++i)
        sigaction(kCrashes[i], nullptr, &crashesBefore[i]);
}

void FullScreen::State::takeSignals() {
    s_endSignal = 0;
    // Blocked but while wait() waits: between a look and a wait none gets lost.
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGWINCH);
    struct sigaction action {};
    action.sa_handler = onEndSignal;
    sigemptyset(&action.sa_mask);
    for (const int number : kEndSignals) {
        sigaddset(&blocked, number);
        sigaction(number, &action, nullptr);
    }
    sigprocmask(SIG_BLOCK, &blocked, &maskBefore);
    action.sa_handler = onCrash;
    for (const int number : kCrashes)
        sigaction(number, &action, nullptr);
}

void FullScreen::State::giveSignalsBack() const {
    for (std::size_t i = 0; i < kCrashes.size(); ++i)
        sigaction(kCrashes[i], &crashesBefore[i], nullptr);
    for (std::size_t i = 0; i < kEndSignals.size(); ++i)
        sigaction(kEndSignals[i], &endsBefore[i], nullptr);
    sigprocmask(SIG_SETMASK, &maskBefore, nullptr);
}

FullScreen::FullScreen() : m_state(std::make_unique<State>()) {
    std::setlocale(LC_CTYPE, "");
    tcgetattr(STDIN_FILENO, &s_before);
    // In front of newterm(), which has handlers of its own, as those of takeSignals() stand
    // behind it.
    m_state->keepSignals();
    // Asked first, since newterm() loses what it took for a terminal that it doesn't know.
    int found = 0;
    if (setupterm(nullptr, STDOUT_FILENO, &found) == OK) {
        del_curterm(cur_term);
        m_state->screen = newterm(nullptr, stdout, stdin);
    }
    if (m_state->screen == nullptr) {
        const char* term = std::getenv("TERM");
        throw CommandError(kExitUsage,
                           fmt::format("The terminal '{}' isn't known here. Set TERM to one that "
                                       "is, or follow the runs with: xp watch",
                                       term == nullptr ? "" : term));
    }
    s_leaveSize = 0;
    keepForCrash("sgr0");
    keepForCrash("rmcup");
    keepForCrash("cnorm");
    keepForCrash("rmkx");
    m_state->takeSignals();
    cbreak();
    noecho();
    nonl();
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    set_escdelay(25);
    curs_set(0);
    startColours();
}

FullScreen::~FullScreen() {
    endwin();
    delscreen(m_state->screen);
    m_state->giveSignalsBack();
}

int FullScreen::width() const {
    return COLS;
}

int FullScreen::height() const {
    return LINES;
}

void FullScreen::show(const std::vector<BoardLine>& lines) {
    erase();
    for (std::size_t row = 0; row < lines.size(); ++row) {
        wmove(stdscr, static_cast<int>(row), 0);
        for (const BoardSpan& span : lines[row]) {
            attrset(static_cast<int>(attributesOf(span)));
            addstr(displayable(span.text).c_str());
        }
    }
    attrset(A_NORMAL);
    refresh();
}

std::vector<BoardKey> FullScreen::wait(int ms) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    timespec time{};
    time.tv_sec = ms / 1000;
    time.tv_nsec = (ms % 1000) * 1000000L;
    if (s_endSignal == 0)
        ppoll(&input, 1, &time, &m_state->maskBefore);
    // A terminal that went away always has something to read.
    if ((input.revents & (POLLHUP | POLLERR)) != 0 && s_endSignal == 0)
        s_endSignal = SIGHUP;
    std::vector<BoardKey> keys;
    for (int code = getch(); code != ERR; code = getch()) {
        if (code != KEY_RESIZE)
            keys.push_back(keyOf(code));
    }
    return keys;
}

int FullScreen::endSignal() const {
    return s_endSignal;
}

}  // namespace shell
