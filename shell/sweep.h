// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

class HAXPExpRun;
class HAXPFlow;
class Project;

/// Families of runs: the same design with several strategies, each with several seeds.
namespace shell {

/// The option in which the runs of a family differ.
inline constexpr char kSeedOption[] = "place_design.seed";

/// How many runs are made at once at most.
inline constexpr std::size_t kMostSweepRuns = 1000;

/// The seed of `run`; nothing when its flow has none.
std::optional<long> seedOf(const HAXPExpRun& run);

/// What a sweep is to be made of.
struct SweepRequest {
    std::string name;
    const HAXPFlow* flow = nullptr;
    std::vector<std::string> strategies;
    /// The syntheses to start from, which the runs share; none takes the project's first one.
    std::vector<std::string> syntheses;
    /// In the place of these: strategies of syntheses. One that the project has already, with
    /// the strategy's values, is shared; the others are made.
    std::vector<std::string> synthesisStrategies;
    std::vector<long> seeds;
    /// As xp create takes them; empty for the whole flow, and the flow's own reports.
    std::string toStep;
    std::string reportStrategy;
    /// "option=value"
    std::vector<std::string> settings;
};

/// The seeds that `text` means, in its order: "1-6", "1,3,7-9".
/// @throws CommandError it is something else, or names a seed twice.
std::vector<long> readSeeds(const std::string& text);

/// The texts between the commas of `text`. @throws CommandError one is empty or stands
/// twice; `what` says what they are.
std::vector<std::string> readNames(const std::string& text, const std::string& what);

/// Adds the runs of a sweep to `project`, which isn't saved: NAME_STRATEGY_sSEED, in the
/// family NAME_STRATEGY; where there are several syntheses, NAME_SYNTHESIS_STRATEGY. What a
/// run's name can't hold of a strategy's becomes an underscore. A sweep that is there
/// already grows. The syntheses that are missing come first, as synth_STRATEGY, or
/// NAME_synth_STRATEGY where there is a run of that name.
/// @throws CommandError or HEXUserException something doesn't fit, such as a run that is
/// there; the project is not to be saved then.
std::vector<HAXPExpRun*> makeSweep(Project& project, const SweepRequest& wanted);

}  // namespace shell
