// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ctime>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

class HAXPExpRun;
class Project;

/// Why results are out of date, as xp tells it everywhere.
namespace shell {

/// One thing that isn't as a result was made with.
struct StaleNote {
    /// "file", "option", "setting", "tool" or "synthesis".
    std::string kind;
    /// A path, or the name of the option, setting, tool or run.
    std::string name;
    /// What happened to a file: "changed", "missing" ...; else empty.
    std::string change;
    std::string before;
    std::string after;
    /// When it changed, in seconds since the epoch; 0 when nothing tells.
    std::time_t since = 0;
    /// All of it in a line for people.
    std::string text;
};

/// A step that is out of date for reasons of its own, or because it builds on one.
struct StaleStep {
    std::string id;
    /// The step that it builds on and that is stale; empty for one with reasons.
    std::string follows;
    std::vector<StaleNote> notes;
};

/// The same of a report.
struct StaleReport {
    std::string name;
    /// The stale step; empty when the report's own options changed only.
    std::string follows;
    std::vector<StaleNote> notes;
};

struct StaleView {
    /// Of the run as a whole.
    std::vector<StaleNote> notes;
    std::vector<StaleStep> steps;
    std::vector<StaleReport> reports;
    /// What changed without making anything stale, each as a line for people.
    std::vector<std::string> harmless;

    bool empty() const { return notes.empty() && steps.empty(); }
};

/// Which runs were found stale: most runs start from the same few syntheses, and who asks for
/// many of them looks at those once. For as long as a FileWatch::Moment.
using KnownStale = std::map<const HAXPExpRun*, bool>;

/// What of `run` is out of date; nothing for a run that isn't launched. Brings the
/// reasons up to date, those of its synthesis too unless that is `known`.
StaleView lookForStale(const Project& project, HAXPExpRun& run, KnownStale* known = nullptr);

/// Why the results of `run` are out of date, one text a reason.
std::vector<std::string> staleTexts(const Project& project, HAXPExpRun& run,
                                    KnownStale* known = nullptr);

/// The reasons of the steps in `view`, "place_design: option seed: ...", each once: where
/// several steps have the same one, at the first.
std::vector<std::string> stepTexts(const StaleView& view);

/// "2026-11-21 11:07:12 UTC".
std::string timeText(std::time_t time);

/// What "xp why" prints.
std::string whyText(const Project& project, HAXPExpRun& run);
nlohmann::json whyJson(const Project& project, HAXPExpRun& run);

}  // namespace shell
