// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "environment/threads/threadAnnotations.h"

namespace shell {

/// The page of a project as it was at one moment, and which files it may show.
struct PageSnapshot {
    std::shared_ptr<const std::string> page;
    std::shared_ptr<const std::string> data;
    std::string tag;  ///< differs from that of every other moment with other data
    /// Paths by the name of the run, and by those of run and report.
    std::map<std::string, std::string> logs;
    std::map<std::pair<std::string, std::string>, std::string> reports;
    /// Why there is nothing to show; empty when there is.
    std::string trouble;
};

/// Hands the page from the one thread that looks at the project to those that answer. Who asks
/// waits for a look that began after the question, so that nobody is told what was; while nobody
/// asks, nobody needs to look.
class FreshPage {
public:
    using Snapshot = std::shared_ptr<const PageSnapshot>;

    /// The page as the next look finds it; that of the last one if none ends within ten
    /// seconds; null before the first.
    Snapshot get();

    /// Whether somebody waits for a look. Who asks then calls publish().
    bool isWanted();
    /// The end of a look that began after the last isWanted().
    void publish(Snapshot snapshot);

    /// Nobody looks any more: who waits gets the last page at once, and so does who asks.
    void close();

private:
    std::mutex m_mutex;
    std::condition_variable m_looked;
    Snapshot m_current;
    /// Questions so far, those that the look under way answers, and those that were answered.
    long m_asked = 0;
    long m_taken = 0;
    long m_answered = 0;
    bool m_isClosed = false;
};

}  // namespace shell
