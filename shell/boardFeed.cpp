// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/boardFeed.h"

#include <algorithm>

#include "shell/liveProject.h"
#include "shell/runView.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/OpenStats.h"
#include "workbench/history/History.h"
#include "workbench/ice40/metrics.h"

namespace shell {

namespace {

/// What doesn't need a look at the log of `run`.
BoardRow plainRow(const HAXPExpRun& run) {
    BoardRow row;
    row.name = run.getName();
    row.status = statusWord(run);
    row.step = stepWord(run);
    double value = 0;
    if (OpenStats::valueOf(run, OpenStats::kFmaxMhz, value)) {
        row.fmaxMhz = value;
        row.isEstimate = run.getInfo().getMetrics().step == "place_design";
    }
    if (isDone(run) && OpenStats::valueOf(run, OpenStats::kRunTime, value))
        row.elapsed = value;
    return row;
}

}  // namespace

BoardFeed::BoardFeed(LiveProject& live) : m_live(live) {
    readAll_();
}

void BoardFeed::readAll_() {
    m_runs = m_live.project().getRuns();
    m_rows.clear();
    m_places.clear();
    m_next = 0;
    m_rows.reserve(m_runs.size());
    for (const HAXPExpRun* run : m_runs) {
        m_places[run->getName()] = m_rows.size();
        m_rows.push_back(plainRow(*run));
    }
    // Those that ended while nobody looked.
    workbench::rememberEnds(m_live.project(), m_runs);
}

std::set<std::size_t> BoardFeed::due_(const Board& board) {
    std::set<std::size_t> due;
    for (std::size_t i = 0; i < m_runs.size(); ++i) {
        if (m_runs[i]->isAtWork())
            due.insert(i);
    }
    for (const BoardRow* row : board.visible()) {
        const auto place = m_places.find(row->name);
        if (place != m_places.end())
            due.insert(place->second);
    }
    for (std::size_t i = 0; i < kOthers && !m_runs.empty(); ++i) {
        m_next = (m_next + 1) % m_runs.size();
        due.insert(m_next);
    }
    return due;
}

void BoardFeed::look_(HAXPExpRun& run, std::size_t place) {
    const bool wasAtWork = run.isAtWork();
    run.updateRun();
    run.lookForLifeNowAndThen();
    if (wasAtWork && !run.isAtWork()) {
        workbench::rememberEnds(m_live.project(), {&run});
        m_live.forgetTimes();
    }
    BoardRow row = plainRow(run);
    if (isRunning(run)) {
        const RunProgress progress = m_live.progress().look(run);
        row.elapsed = workbench::secondsSinceLaunch(run);
        row.left = progress.left;
        row.text = progress.tool.text;
        if (progress.tool.isKnown)
            row.fraction = progress.tool.fraction;
    }
    m_rows[place] = std::move(row);
}

void BoardFeed::update(Board& board) {
    if (m_live.refresh())
        readAll_();
    const std::set<std::size_t> due = due_(board);
    m_lookedAt = due.size();
    std::vector<HAXPExpRun*> running;
    std::vector<HAXPExpRun*> waiting;
    std::vector<std::optional<double>> left;
    for (const std::size_t place : due) {
        HAXPExpRun& run = *m_runs[place];
        look_(run, place);
        if (isRunning(run)) {
            running.push_back(&run);
            left.push_back(m_rows[place].left);
        } else if (run.isAtWork())
            waiting.push_back(&run);
    }
    m_live.progress().keepOnly(running);
    const bool isIdle = running.empty() && waiting.empty();
    board.setTimeLeft(isIdle ? std::nullopt
                             : m_live.progress().secondsLeft(running, left, waiting, 0));
    board.setRows(m_rows);
}

}  // namespace shell
