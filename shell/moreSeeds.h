// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "shell/familyComparison.h"

class HAXPExpRun;
class Project;

/// The seeds that a verdict asks for, made and launched.
namespace shell {

/// What it takes to tell families apart that can't be told apart yet.
struct MoreSeeds {
    /// The figure that isn't clear, for people.
    std::string label;
    /// Those that get further runs, the base first; empty when nothing is needed.
    std::vector<std::string> families;
    /// How many each gets.
    std::size_t count = 0;
    /// Of those that no number of seeds worth speaking of would tell apart.
    std::vector<std::string> hopeless;

    bool empty() const { return families.empty(); }
    std::size_t runs() const { return families.size() * count; }
};

/// What the figure called `figure` takes in `pairs`: as many seeds as the pair that needs
/// most, for every family of a pair that can't be told apart.
MoreSeeds moreSeedsFor(const std::vector<FamilyPair>& pairs, const std::string& figure);

/// "Make 24 more runs, seeds 7 to 18 of a and b, and launch them?"
std::string moreSeedsQuestion(const MoreSeeds& more, const std::vector<long>& seeds);

/// The next numbers behind every seed of the families, so that both get the same ones.
std::vector<long> nextSeeds(const Project& project, const MoreSeeds& more);

/// Adds the runs with `seeds` to each of the families, with strategy, options, synthesis, last
/// step and report strategy of the family's first run; the project isn't saved.
/// @throws CommandError the runs of a family differ in more than their seed, or there would
/// be too many. @throws HEXUserException a run can't be made.
std::vector<HAXPExpRun*> makeMoreSeeds(Project& project, const MoreSeeds& more,
                                       const std::vector<long>& seeds);

/// Whether somebody sits in front of a terminal who can be asked.
bool canAsk();

/// Asks on standard error and reads a line; only "y" and "yes" agree.
bool agrees(const std::string& question);

}  // namespace shell
