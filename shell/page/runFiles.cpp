// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/runFiles.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <system_error>
#include <thread>

#include "shell/logTail.h"
#include "shell/runView.h"
#include "shell/runs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/toolWarnings.h"

namespace shell {

namespace {

/// Lines of a log: of a run that works, and of others.
constexpr std::size_t kWorkLines = 8;
constexpr std::size_t kEndLines = 4;
/// As many lines before the end are looked through for the first error.
constexpr std::size_t kSearchedLines = 60;
/// More share one disk. A thread isn't worth it for fewer runs.
constexpr std::size_t kMostThreads = 8;
constexpr std::size_t kRunsOfThread = 16;

std::vector<std::string> logEnd(const std::string& path, bool hasFailed, bool isAtWork) {
    std::string unreadable;
    if (path.empty())
        return {};
    if (hasFailed)
        return failureLines(lastLines(path, kSearchedLines, unreadable), kSearchedLines);
    return lastLines(path, isAtWork ? kWorkLines : kEndLines, unreadable);
}

}  // namespace

RunFilesAhead::RunFilesAhead(const Runs& runs) {
    for (const HAXPExpRun* run : runs)
        m_entries.emplace_back().wanted = {!run->getDir().empty(), routedPlaces(*run),
                                           logPath(*run), hasFailed(*run), run->isAtWork()};
    const std::size_t processors{std::thread::hardware_concurrency()};
    const std::size_t count = std::min({processors, kMostThreads, runs.size() / kRunsOfThread});
    try {
        // The caller works too.
        while (m_readers.size() + 1 < count)
            m_readers.push_back(std::async(std::launch::async, &RunFilesAhead::readAhead_, this));
    } catch (const std::system_error&) {
        // Those that there are do it, or the caller alone.
    }
}

RunFilesAhead::~RunFilesAhead() {
    m_isOver = true;
    for (const std::future<void>& reader : m_readers)
        reader.wait();
}

RunFiles RunFilesAhead::read_(const Wanted& wanted) {
    RunFiles files;
    files.routed = readRouted(wanted.routed);
    if (wanted.hasDir)
        files.warnings = static_cast<long>(workbench::warningsOfLog(wanted.log).size());
    files.log = logEnd(wanted.log, wanted.hasFailed, wanted.isAtWork);
    return files;
}

void RunFilesAhead::readAhead_() {
    for (std::size_t i = m_next++; i < m_entries.size() && !m_isOver; i = m_next++) {
        Entry& entry = m_entries[i];
        if (entry.isBegun.exchange(true))
            continue;
        try {
            entry.files.set_value(read_(entry.wanted));
        } catch (...) {
            entry.files.set_exception(std::current_exception());
        }
    }
}

RunFiles RunFilesAhead::take(std::size_t index) {
    Entry& entry = m_entries.at(index);
    if (!entry.isBegun.exchange(true))
        return read_(entry.wanted);
    return entry.files.get_future().get();
}

}  // namespace shell
