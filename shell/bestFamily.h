// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "shell/bestRun.h"
#include "shell/familyComparison.h"

namespace shell {

/// Which family is best by its medians, and whether it really is.
struct FamilyChoice {
    /// A family each, as if it were a run; the choice points into them.
    std::vector<ComparedRun> medians;
    Choice choice;
    /// The best family against each of the others; none when none is best.
    std::vector<FamilyPair> pairs;
};

/// Chooses from `families`, into which the choice points, by rules as chooseBy() takes them. The
/// verdicts answer `question`. @throws CommandError as chooseBy(), or there is no family.
FamilyChoice chooseFamily(const std::vector<ComparedFamily>& families,
                          const std::vector<std::string>& requirements,
                          const std::vector<std::string>& rules,
                          const statistics::Question& question);

nlohmann::json familyChoiceJson(const FamilyChoice& chosen);

}  // namespace shell
