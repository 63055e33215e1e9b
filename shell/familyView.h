// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "shell/familyComparison.h"

/// A comparison of families, for people and for scripts.
namespace shell {

/// A table for each pair, with medians, quartiles and verdicts, and below it which test was
/// made, at which level, and what was left out.
std::string familyTables(const std::vector<ComparedFamily>& families,
                         const std::vector<FamilyPair>& pairs, const statistics::Question& question,
                         bool isWhole);

/// What the pairs come to in the figure of that name, a line a pair.
std::vector<std::string> pairVerdicts(const std::vector<FamilyPair>& pairs,
                                      const std::string& figure);

/// "better by 3.1 ± 0.8 MHz", "no real difference" and the like.
std::string verdictWords(const FamilyRow& row);

/// The verdict of one figure: "Fmax of a against b: better by 3.1 ± 0.8 MHz (...)".
std::string verdictLine(const FamilyPair& pair, const FamilyRow& row);

/// A list of pairs with their figures.
nlohmann::json pairsJson(const std::vector<FamilyPair>& pairs);

nlohmann::json familiesJson(const std::vector<ComparedFamily>& families,
                            const std::vector<FamilyPair>& pairs,
                            const statistics::Question& question);

}  // namespace shell
