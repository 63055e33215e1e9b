// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/verdictText.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "workbench/statistics/power.h"

namespace statistics {

namespace {

/// The digits behind the point that `uncertainty` leaves.
int decimalsFor(double uncertainty) {
    if (uncertainty <= 0)
        return 3;
    const int magnitude = static_cast<int>(std::floor(std::log10(uncertainty)));
    const bool beginsLow = uncertainty / std::pow(10.0, magnitude) < 2.95;
    return std::clamp((beginsLow ? 1 : 0) - magnitude, 0, 9);
}

/// Without zeros behind the last digit that counts.
std::string trimmed(double value) {
    return fmt::format("{:.4g}", value);
}

std::string differenceText(const Shift& shift) {
    const double size = std::abs(shift.estimate);
    const double uncertainty = shift.uncertainty();
    if (!shift.isBounded || uncertainty == 0)
        return trimmed(size);
    return fmt::format("{} ± {}", valueText(size, uncertainty),
                       valueText(uncertainty, uncertainty));
}

std::string directionWord(bool isHigher, Better better) {
    if (better == Better::kNeither)
        return isHigher ? "higher" : "lower";
    return isHigher == (better == Better::kHigher) ? "better" : "worse";
}

std::string cantTellText(const Verdict& verdict) {
    if (!verdict.moreSeeds)
        return fmt::format("can't tell: more than {} seeds needed", kMostSeeds);
    return fmt::format("can't tell: about {} more seed{} needed", *verdict.moreSeeds,
                       *verdict.moreSeeds == 1 ? "" : "s");
}

}  // namespace

std::string verdictText(const Verdict& verdict, Better better, const std::string& unit) {
    if (verdict.outcome == Outcome::kCantTell)
        return cantTellText(verdict);
    if (verdict.outcome == Outcome::kNoRealDifference)
        return "no real difference";
    return fmt::format("{} by {}{}{}", directionWord(verdict.outcome == Outcome::kHigher, better),
                       differenceText(verdict.shift), unit.empty() ? "" : " ", unit);
}

std::string testText(const Verdict& verdict) {
    const char* how = verdict.isExact ? "exact" : "approximate";
    const std::string level = percentText(verdict.level);
    if (verdict.isPaired)
        return fmt::format("{} signed-rank test (Wilcoxon) of {} pair{} of one seed, at the {} "
                           "level",
                           how, verdict.firstCount, verdict.firstCount == 1 ? "" : "s", level);
    return fmt::format("{} rank sum test (Mann-Whitney) of {} and {} values, at the {} level", how,
                       verdict.firstCount, verdict.secondCount, level);
}

std::string percentText(double share) {
    return fmt::format("{:.3g} %", share * 100);
}

std::string valueText(double value, double uncertainty) {
    return fmt::format("{:.{}f}", value, decimalsFor(uncertainty));
}

}  // namespace statistics
