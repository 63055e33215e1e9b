// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <future>
#include <optional>
#include <string>
#include <vector>

#include "shell/page/criticalPath.h"

class HAXPExpRun;

namespace shell {

/// What the larger files of a run tell for the page.
struct RunFiles {
    RoutedReport routed;
    /// How many different warnings its tools gave; nothing without a run directory.
    std::optional<long> warnings;
    /// The end of its log; of a failed run from the first error on.
    std::vector<std::string> log;
};

/// Reads the files of many runs ahead, with the processors that its user leaves idle.
class RunFilesAhead {
public:
    /// Begins with the files of `runs`, whose status is up to date. What they tell of their
    /// files is copied: the runs may change, or go, meanwhile.
    explicit RunFilesAhead(const std::vector<HAXPExpRun*>& runs);
    /// Ends once the files that are being read have been.
    ~RunFilesAhead();

    RunFilesAhead(const RunFilesAhead&) = delete;
    RunFilesAhead& operator=(const RunFilesAhead&) = delete;

    /// The files of the run at `index`, each once; reads them when nobody has begun to. What
    /// can't be read is missing.
    RunFiles take(std::size_t index);

private:
    /// Where the files of a run lie, and what is wanted of them.
    struct Wanted {
        bool hasDir = false;
        RoutedPlaces routed;
        std::string log;
        bool hasFailed = false;
        bool isAtWork = false;
    };
    struct Entry {
        Wanted wanted;
        std::atomic<bool> isBegun{false};
        std::promise<RunFiles> files;
    };

    static RunFiles read_(const Wanted& wanted);
    void readAhead_();

    std::deque<Entry> m_entries;
    std::atomic<std::size_t> m_next{0};
    std::atomic<bool> m_isOver{false};
    std::vector<std::future<void>> m_readers;
};

}  // namespace shell
