// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

namespace reports {

/// A key figure of a report, fit for comparing runs.
struct Figure {
    /// What a bigger value means.
    enum Better { kNeither, kHigher, kLower };

    std::string name;   ///< for programs: "fmax", "luts"
    std::string label;  ///< for people: "Fmax"
    double value = 0;
    std::string unit;  ///< "MHz", "ns", "%"; empty for a count
    Better better = kNeither;
};

/// "higher", "lower" or empty.
std::string betterText(Figure::Better better);

/// Every figure that a report or a step of ours may tell, each name once; the values mean nothing.
const std::vector<Figure>& possibleFigures();

/// The figures of a report and where they come from.
struct ReportFigures {
    std::string report;  ///< "report_timing_summary"
    std::string step;    ///< "route_design"
    std::vector<Figure> figures;
};

/// Takes the figures from the text of a report's JSON form. What no tool told is
/// absent. On refusal `reason` tells what is wrong and `figures` stays as it was.
bool parseFigures(const std::string& text, ReportFigures& figures, std::string& reason);

/// The same from the file `path`; a file that is missing, no regular file or
/// too big is refused with that as its reason.
bool readFigures(const std::string& path, ReportFigures& figures, std::string& reason);

}  // namespace reports
