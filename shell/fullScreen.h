// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <csignal>
#include <memory>
#include <vector>

#include "shell/board.h"
#include "shell/boardView.h"

namespace shell {

/// The whole terminal, for as long as the object lives: keys one by one, and lines anywhere.
///
/// The terminal is as it was before once the object is gone; also when the program is ended
/// by a signal, that of a crash included, and while it is stopped by Ctrl-Z. One at a time.
class FullScreen {
public:
    /// @throws CommandError the terminal isn't known, or can't do this.
    FullScreen();
    ~FullScreen();

    FullScreen(const FullScreen&) = delete;
    FullScreen& operator=(const FullScreen&) = delete;

    int width() const;
    int height() const;

    /// Puts `lines` on the screen; only what changed is sent.
    void show(const std::vector<BoardLine>& lines);

    /// Waits `ms` milliseconds at most for keys; those that were pressed. Comes back at once
    /// when the size has changed, or a signal asks to end.
    std::vector<BoardKey> wait(int ms);

    /// The signal that asks to end; 0 as long as none does.
    int endSignal() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

}  // namespace shell
