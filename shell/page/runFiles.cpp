// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/runFiles.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <system_error>
#include <thread>

#include "shell/logTail.h"
#include "shell/runView.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/toolWarnings.h"

namespace shell {

namespace {

using Runs = std::vector<HAXPExpRun*>;

/// Lines of a log: of a run that works, and of others.
constexpr std::size_t kWorkLines = 8;
constexpr std::size_t kEndLines = 4;
/// As many lines before the end are looked through for the first error.
constexpr std::size_t kSearchedLines = 60;
/// More share one disk. A thread isn't worth it for fewer runs.
constexpr std::size_t kMostThreads = 8;
constexpr std::size_t kRunsOfThread = 16;

std::vector<std::string> logEnd(const HAXPExpRun& run) {
    const std::string path = logPath(run);
    std::string unreadable;
    if (path.empty())
        return {};
    if (hasFailed(run))
        return failureLines(lastLines(path, kSearchedLines, unreadable), kSearchedLines);
    return lastLines(path, run.isAtWork() ? kWorkLines : kEndLines, unreadable);
}

RunFiles readFiles(const HAXPExpRun& run) {
    RunFiles files;
    files.routed = readRouted(run);
    if (!run.getDir().empty())
        files.warnings = static_cast<long>(workbench::warningsOf(run).size());
    files.log = logEnd(run);
    return files;
}

/// Takes run after run, until none is left.
void readSome(const Runs& runs, std::atomic<std::size_t>& next, std::vector<RunFiles>& files) {
    for (std::size_t i = next++; i < runs.size(); i = next++)
        files[i] = readFiles(*runs[i]);
}

}  // namespace

std::vector<RunFiles> readRunFiles(const Runs& runs) {
    std::vector<RunFiles> files(runs.size());
    std::atomic<std::size_t> next{0};
    std::vector<std::future<void>> others;
    const std::size_t count = std::min({std::size_t{std::thread::hardware_concurrency()},
                                        kMostThreads, runs.size() / kRunsOfThread});
    try {
        while (others.size() + 1 < count)
            others.push_back(std::async(std::launch::async, readSome, std::cref(runs),
                                        std::ref(next), std::ref(files)));
    } catch (const std::system_error&) {
        // Those that there are do it alone.
    }
    readSome(runs, next, files);
    for (std::future<void>& other : others)
        other.get();
    return files;
}

}  // namespace shell
