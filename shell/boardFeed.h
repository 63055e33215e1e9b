// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "shell/board.h"

class HAXPExpRun;

namespace shell {

class LiveProject;

/// Keeps the rows of a board up to date with the run directories, and looks no more often
/// than is worth it: at the runs on the screen and those at work each time, at a few of the
/// others in turn.
class BoardFeed {
public:
    /// The others that are looked at in one turn.
    static constexpr std::size_t kOthers = 20;

    /// `live` isn't owned.
    explicit BoardFeed(LiveProject& live);

    /// Brings `board` up to date: its rows and the time that is left.
    void update(Board& board);

    /// How many runs the last update looked at.
    std::size_t lookedAt() const { return m_lookedAt; }

private:
    void readAll_();
    void look_(HAXPExpRun& run, std::size_t place);
    std::set<std::size_t> due_(const Board& board);

    LiveProject& m_live;
    std::vector<HAXPExpRun*> m_runs;
    std::vector<BoardRow> m_rows;
    std::map<std::string, std::size_t> m_places;
    std::size_t m_next = 0;
    std::size_t m_lookedAt = 0;
};

}  // namespace shell
