// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// The verb that shows all runs on the whole terminal.
#include <algorithm>
#include <csignal>
#include <memory>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <unistd.h>

#include "environment/errors/HEXAll.h"
#include "environment/process/clock.h"
#include "shell/board.h"
#include "shell/boardFeed.h"
#include "shell/boardView.h"
#include "shell/exitStatus.h"
#include "shell/fullScreen.h"
#include "shell/liveProject.h"
#include "shell/logTail.h"
#include "shell/runView.h"
#include "shell/terminal.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/printable.h"
#include "workbench/runStop.h"

namespace shell {

namespace {

/// Between two looks at the runs.
constexpr int kUpdateMs = 500;

class TopVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("--filter", m_filter,
                           "List only runs whose name, status or step holds this text");
    }

    int run(const Session& session) override {
        if (isatty(STDIN_FILENO) != 1 || !Terminal::output().isLive())
            throw CommandError(kExitUsage, "xp top needs a terminal for its whole screen. Follow "
                                           "the runs with: xp watch");
        LiveProject live(session.projectDir);
        BoardFeed feed(live);
        Board board(live.project().getName());
        board.setFilter(m_filter);
        int signal = 0;
        {
            FullScreen screen;
            signal = loop_(live, feed, board, screen);
        }
        if (signal == SIGINT)
            return kExitInterrupted;
        // The terminal is back: ends as the signal wanted it.
        if (signal != 0)
            std::raise(signal);
        return kExitDone;
    }

private:
    /// Until the user quits, or a signal does; its number, or 0.
    static int loop_(LiveProject& live, BoardFeed& feed, Board& board, FullScreen& screen) {
        long updated = process::clock().nowMs() - kUpdateMs;
        while (screen.endSignal() == 0) {
            board.setHeight(boardRows(screen.height()));
            const long now = process::clock().nowMs();
            if (now - updated >= kUpdateMs) {
                updated = now;
                feed.update(board);
                readLog_(live, board, screen);
            }
            screen.show(drawBoard(board, screen.width(), screen.height()));
            const auto left = static_cast<int>(
                std::clamp<long>(updated + kUpdateMs - process::clock().nowMs(), 1, kUpdateMs));
            for (const BoardKey& key : screen.wait(left)) {
                const Board::Action action = board.press(key);
                if (action == Board::Action::kQuit)
                    return 0;
                if (action == Board::Action::kKill)
                    kill_(live, board, screen);
                if (board.getMode() == Board::Mode::kLog && board.getLog().empty())
                    readLog_(live, board, screen);
            }
        }
        return screen.endSignal();
    }

    static void readLog_(const LiveProject& live, Board& board, const FullScreen& screen) {
        if (board.getMode() != Board::Mode::kLog)
            return;
        const HAXPExpRun* run = live.project().findRun(board.selectedName());
        std::string reason;
        std::vector<std::string> lines;
        if (run == nullptr || logPath(*run).empty())
            reason = "it was never launched";
        else
            lines = lastLines(logPath(*run), boardRows(screen.height()), reason);
        for (std::string& line : lines)
            line = workbench::printableLines(line);
        if (lines.empty())
            lines = {reason.empty() ? "(empty)" : fmt::format("(no log: {})", reason)};
        board.setLog(std::move(lines));
    }

    static void kill_(const LiveProject& live, Board& board, FullScreen& screen) {
        const std::string name = board.selectedName();
        HAXPExpRun* run = live.project().findRun(name);
        if (run == nullptr)
            return;
        board.setNote(fmt::format("Stopping {} ...", name));
        screen.show(drawBoard(board, screen.width(), screen.height()));
        try {
            const workbench::StopResult result = workbench::stopRun(*run);
            board.setNote(result.wasIdle ? fmt::format("{} isn't at work", name)
                                         : fmt::format("{}: {}", name, statusWord(*run)));
        } catch (const HEXAll& error) {
            board.setNote(workbench::printable(error.what()));
        }
    }

    std::string m_filter;
};

}  // namespace

std::unique_ptr<Verb> makeTopVerb() {
    return std::make_unique<TopVerb>();
}

}  // namespace shell
