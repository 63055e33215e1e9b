// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/statistics/verdict.h"

/// Verdicts in words.
namespace statistics {

/// Which values of a figure are the better ones.
enum class Better { kNeither, kHigher, kLower };

/// "better by 3.1 ± 0.8 MHz", "no real difference", "can't tell: about 12 more seeds
/// needed"; "higher" and "lower" where neither is better. `unit` may be empty.
std::string verdictText(const Verdict& verdict, Better better, const std::string& unit);

/// Which test was made, of what and at which level: "exact signed-rank test (Wilcoxon) of 6
/// pairs of one seed, at the 5 % level".
std::string testText(const Verdict& verdict);

/// "5 %", "1.67 %".
std::string percentText(double share);

/// `value` with as many digits as `uncertainty` leaves any sense: two digits of it when it
/// begins with 1 or 2, else one.
std::string valueText(double value, double uncertainty);

}  // namespace statistics
