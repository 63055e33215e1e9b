// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "workbench/failures/runFailure.h"

class HAXPExpRun;
class Project;

/// Why a run is as it is, and what to do next.
namespace shell {

/// A line of a log or a source.
struct QuotedLine {
    long number = 0;
    std::string text;
};

/// The slowest path of a run that misses its goal.
struct SlowPath {
    std::string clock;
    double ns = 0;
    double goalNs = 0;
    double clockToQ = 0;
    double logic = 0;
    double routing = 0;
    double setup = 0;
    /// Its slowest hop: "routing of net count_3", and where that comes from.
    std::string worstHop;
    double worstNs = 0;
    std::string worstSource;
};

struct Explanation {
    /// "not started", "at work", "unknown", "failed", "lost", "stopped", "abandoned", "stale",
    /// "goal missed" or "fine".
    std::string verdict;
    std::string what;  ///< a sentence without its full stop
    std::vector<std::string> notes;
    std::optional<workbench::RunFailure> failure;
    std::optional<QuotedLine> source;  ///< the line that the failure's place names
    std::vector<QuotedLine> log;       ///< around the first error, or the last lines
    std::optional<SlowPath> path;
    std::vector<std::string> next;  ///< commands and advice, the best first
};

/// Looks at `run` and what its directory holds, and brings its status up to date. It may take a
/// minute when the run is at work elsewhere.
Explanation explain(const Project& project, HAXPExpRun& run);

/// What "xp explain" prints.
std::string explanationText(const HAXPExpRun& run, const Explanation& all);
nlohmann::json explanationJson(const HAXPExpRun& run, const Explanation& all);

/// Why a run that is running may never end, as its log tells, without a full stop; else empty.
/// Its status is up to date.
std::string standstillText(const HAXPExpRun& run);
/// What to do about that.
std::string standstillAdvice(const HAXPExpRun& run);

}  // namespace shell
