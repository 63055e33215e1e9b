// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "workbench/reports/reportFigures.h"
#include "workbench/toolWarnings.h"

class HAXPExpRun;
class Project;

/// What differs between two runs, or two families of runs, and nothing else.
namespace shell {

/// A name and what it is on one side, each name once.
using DiffTexts = std::vector<std::pair<std::string, std::string>>;

/// A run as it is held against another one, or a family as if it were one.
struct DiffSide {
    std::string name;
    bool isFamily = false;
    /// Strategy, synthesis, status and the like.
    DiffTexts run;
    DiffTexts options;
    /// Settings of the design, and the content of each file at the launch.
    DiffTexts inputs;
    DiffTexts tools;
    DiffTexts reports;
    std::vector<reports::Figure> figures;
    std::vector<workbench::ToolWarning> warnings;
};

/// What isn't the same on both sides; nothing where a side lacks it.
struct TextDifference {
    std::string name;
    std::optional<std::string> first;
    std::optional<std::string> second;
};

/// The same of a figure.
struct FigureDifference {
    reports::Figure figure;  ///< its value means nothing here
    std::optional<double> first;
    std::optional<double> second;
    /// Of families: the tested verdict in words.
    std::string verdict;

    /// The second less the first; nothing where one lacks it.
    std::optional<double> change() const;
    /// The same in percent of the first; nothing when that isn't above 0.
    std::optional<double> percent() const;
};

struct RunDiff {
    std::vector<TextDifference> run;
    std::vector<TextDifference> options;
    std::vector<TextDifference> inputs;
    std::vector<TextDifference> tools;
    std::vector<FigureDifference> figures;
    std::vector<TextDifference> reports;
    std::vector<workbench::ToolWarning> newWarnings;
    std::vector<workbench::ToolWarning> goneWarnings;

    /// Whether nothing differs but the time that the runs took.
    bool isEqual() const;
};

/// `run` as a side: its options and warnings with those of its synthesis. Files are known by
/// what the launch found; those of a run that was never launched by what they are now.
DiffSide diffSide(const Project& project, HAXPExpRun& run);

/// The runs `sides` of the family `name` as one: where they have several values these stand
/// together, and figures are medians.
DiffSide familySide(const std::string& name, const std::vector<DiffSide>& sides);

RunDiff diffOf(const DiffSide& first, const DiffSide& second);

}  // namespace shell
