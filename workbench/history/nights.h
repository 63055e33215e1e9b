// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/history/launchRecord.h"

/// How the results of a project went from night to night.
namespace workbench {

/// A figure whose trend is looked at.
struct TrendFigure {
    const char* name;  ///< as LaunchRecord::figures have it
    const char* label;
    const char* unit;
    bool isHigherBetter;
    /// Whether a night that is worse is marked: a time says more of the host than of the design.
    bool isJudged;
};

WORKBENCH_API const std::vector<TrendFigure>& trendFigures();

/// What the launches of a night that were done came to in one figure.
struct NightFigure {
    std::size_t count = 0;
    double best = 0;
    double median = 0;
};

/// The launches of one family, or of one run that belongs to none, in a night.
struct NightFamily {
    std::string name;
    /// Whether `name` is that of a run.
    bool isRun = false;
    std::size_t launches = 0;
    std::size_t done = 0;
    std::size_t failed = 0;
    /// By the figure's name; of each run its last launch that was done.
    std::map<std::string, NightFigure> figures;
};

/// A change from an earlier night that isn't chance.
struct NightMark {
    std::string family;  ///< or the run
    std::string figure;
    bool isWorse = false;
    /// What changed, by how much, against which night, and the rule that says so.
    std::string text;
};

/// From noon to noon by local time.
struct Night {
    std::string date;  ///< of the noon that it begins with, "2026-11-20"
    std::size_t launches = 0;
    std::size_t done = 0;
    std::size_t failed = 0;  ///< failed or lost, not stopped
    /// Of all implementations that were done.
    std::map<std::string, NightFigure> figures;
    std::vector<NightFamily> families;
    std::vector<NightMark> marks;
};

/// The night in which something happened at `time`, in seconds since the epoch.
WORKBENCH_API std::string nightOf(long time);

/// The nights in which something was launched, the oldest first.
///
/// A family is judged against the last earlier night in which it was done: by the tests of
/// families at the level of 5 %, seed by seed when both nights have the same seeds, and
/// marked when it differs for certain, and by more than 1 %. What has a single value in either
/// night, such as a run without a family, is judged against all its values of earlier nights:
/// marked when these are three at least and the new one lies outside of them all by more than 1 %.
WORKBENCH_API std::vector<Night> nightsOf(const std::vector<LaunchRecord>& records);

}  // namespace workbench
