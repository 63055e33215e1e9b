// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/history/History.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include <SQLiteCpp/SQLiteCpp.h>

#include "environment/errors/HEXUserException.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/process/clock.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/fileTimes.h"
#include "workbench/history/historyCache.h"
#include "workbench/history/launchLines.h"
#include "workbench/launchDecision.h"
#include "workbench/launchLease.h"
#include "workbench/ownFolder.h"
#include "workbench/runFamily.h"
#include "workbench/statistics/summary.h"
#include "workbench/statusWord.h"

namespace workbench {

namespace {

/// As many earlier launches tell what the next one takes.
constexpr int kTellingLaunches = 10;

/// As long as one who only looks writes for others. Milliseconds.
constexpr long kCourtesyMs = 50;

/// Whether the launches of `run` were added to since its last launch was made. Times of one
/// tick tell nothing.
bool isRemembered(const HAXPExpRun& run) {
    struct stat lines {};
    struct stat lease {};
    if (::lstat(run.pathOf(kLeaseName).c_str(), &lease) != 0)
        return true;
    return ::lstat(run.pathOf(kLaunchesName).c_str(), &lines) == 0 &&
           isBefore(lease.st_mtim, lines.st_mtim);
}

bool recordOrTell(const Project& project, HAXPExpRun& run) {
    try {
        return recordLaunch(project, run);
    } catch (const HEXUserException& error) {
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                                 "@60-214@%s%s", run.getName(), error.what());
        return false;
    }
}

bool hasEnded(const HAXPExpRun& run) {
    return isOver(run.getStatus()->getCode());
}

/// Of a step: its last times under one condition.
statistics::Values lastSeconds(SQLite::Database& database, const std::string& condition,
                               const std::vector<std::string>& values) {
    SQLite::Statement query(database, "SELECT max(seconds) FROM step WHERE " + condition +
                                          " AND outcome = 'done' GROUP BY launch "
                                          "ORDER BY max(began) DESC LIMIT ?");
    int index = 0;
    for (const std::string& value : values)
        query.bind(++index, value);
    query.bind(++index, kTellingLaunches);
    statistics::Values seconds;
    while (query.executeStep())
        seconds.push_back(query.getColumn(0).getDouble());
    return seconds;
}

const StepRecord* stepRecordOf(const LaunchRecord& record, const std::string& step) {
    const auto found = std::find_if(record.steps.begin(), record.steps.end(),
                                    [&step](const auto& one) { return one.step == step; });
    return found == record.steps.end() ? nullptr : &*found;
}

/// What the figure became in the step `to`, as a share of what `from` told; nothing unless the
/// launch itself came that far.
std::optional<double> ratioOf(const LaunchRecord& record, const std::string& figure,
                              const std::string& from, const std::string& to) {
    const StepRecord* first = stepRecordOf(record, from);
    const StepRecord* last = stepRecordOf(record, to);
    if (first == nullptr || last == nullptr || last->outcome != "done")
        return std::nullopt;
    const auto before = first->figures.find(figure);
    const auto after = last->figures.find(figure);
    if (before == first->figures.end() || after == last->figures.end() || before->second == 0)
        return std::nullopt;
    return after->second / before->second;
}

}  // namespace

std::string removedLaunchesPath(const Project& project) {
    return ownFolder(project.getDir()) + "/removed.jsonl";
}

bool recordLaunch(const Project& project, HAXPExpRun& run) {
    const std::optional<LaunchRecord> record = recordOf(project, run);
    if (!record)
        return false;
    requireOwnDirectory(run, "recorded");
    return addLaunch(run.pathOf(kLaunchesName), *record);
}

void rememberEnds(const Project& project, const std::vector<HAXPExpRun*>& runs) {
    const long end = process::clock().nowMs() + kCourtesyMs;
    for (HAXPExpRun* run : notYetRemembered(runs)) {
        try {
            recordLaunch(project, *run);
        } catch (const HEXUserException&) {
            continue;
        }
        if (process::clock().nowMs() >= end)
            return;
    }
}

std::vector<HAXPExpRun*> notYetRemembered(const std::vector<HAXPExpRun*>& runs) {
    std::vector<HAXPExpRun*> found;
    std::copy_if(runs.begin(), runs.end(), std::back_inserter(found), [](const HAXPExpRun* run) {
        return !run->getDir().empty() && hasEnded(*run) && !isRemembered(*run) &&
               ::access(run->getDir().c_str(), W_OK) == 0;
    });
    return found;
}

void rememberBefore(const Project& project, HAXPExpRun& run) {
    recordOrTell(project, run);
}

struct History::Store {
    explicit Store(const Project& project) : cache(project.getDir()) {}

    HistoryCache cache;

    void update(const Project& project) {
        std::vector<HistoryCache::Source> sources{{"", removedLaunchesPath(project)}};
        for (const HAXPExpRun* run : project.getRuns()) {
            if (!run->getDir().empty())
                sources.push_back({run->getName(), run->pathOf(kLaunchesName)});
        }
        cache.update(sources);
    }
};

History::History(const Project& project)
    : m_project(project), m_store(std::make_unique<Store>(project)) {
    m_store->update(project);
}

History::~History() = default;

bool History::record(HAXPExpRun& run) {
    const bool isNew = recordLaunch(m_project, run);
    if (isNew)
        m_store->update(m_project);
    return isNew;
}

void History::recordAll() {
    bool isAnyNew = false;
    for (HAXPExpRun* run : m_project.getRuns()) {
        isAnyNew = recordOrTell(m_project, *run) || isAnyNew;
    }
    if (isAnyNew)
        m_store->update(m_project);
}

std::vector<LaunchRecord> History::launches(const std::string& runName) const {
    std::vector<LaunchRecord> all;
    m_store->cache.read([&](SQLite::Database& database) {
        all.clear();
        const std::string condition = runName.empty() ? "" : "WHERE run = ? ";
        SQLite::Statement query(database, "SELECT record FROM launch " + condition +
                                              "ORDER BY launched, line, run");
        if (!runName.empty())
            query.bind(1, runName);
        // A run that was removed and brought back stands in two files.
        std::set<std::pair<std::string, std::string>> seen;
        while (query.executeStep()) {
            LaunchRecord record = HistoryCache::recordOf(query.getColumn(0).getString());
            if (seen.emplace(record.run, record.launch).second)
                all.push_back(std::move(record));
        }
    });
    return all;
}

std::optional<double> History::expectedSeconds(const HAXPExpRun& run,
                                               const std::string& step) const {
    statistics::Values seconds;
    const std::string family = m_project.getFamilyOf(run).name;
    m_store->cache.read([&](SQLite::Database& database) {
        seconds = lastSeconds(database, "run = ? AND step = ?", {run.getName(), step});
        if (seconds.empty() && !family.empty())
            seconds = lastSeconds(database, "family = ? AND step = ?", {family, step});
        if (seconds.empty())
            seconds = lastSeconds(database, "strategy = ? AND step = ? AND flow = ?",
                                  {run.getStrategy()->getName(), step, flowWord(run)});
        if (seconds.empty())
            seconds = lastSeconds(database, "flow = ? AND step = ?", {flowWord(run), step});
    });
    if (seconds.empty())
        return std::nullopt;
    return statistics::median(seconds);
}

std::vector<double> History::estimateRatios(const std::string& flow, const std::string& figure,
                                            const std::string& from, const std::string& to) const {
    std::vector<double> ratios;
    for (const LaunchRecord& record : launches()) {
        if (record.flow != flow)
            continue;
        if (const std::optional<double> ratio = ratioOf(record, figure, from, to))
            ratios.push_back(*ratio);
    }
    return ratios;
}

}  // namespace workbench
