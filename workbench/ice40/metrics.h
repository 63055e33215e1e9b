// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ice40 {

/// The timing of one clock, as the tool reported it.
struct ClockTiming {
    std::string name;  ///< the clock's net, in the tool's spelling
    double fmaxMhz = 0;
    double targetMhz = 0;

    /// What is left of the target's period: below 0 the target is missed.
    double slackNs() const { return 1000.0 / targetMhz - 1000.0 / fmaxMhz; }
};

/// Names in StepMetrics::counts.
namespace counts {
inline constexpr const char* kLuts = "luts";
inline constexpr const char* kFlipFlops = "flip_flops";
inline constexpr const char* kCarries = "carries";
inline constexpr const char* kBlockRams = "block_rams";
inline constexpr const char* kBlockRamsAvailable = "block_rams_available";
inline constexpr const char* kDsps = "dsps";
inline constexpr const char* kSprams = "sprams";
inline constexpr const char* kCells = "cells";
inline constexpr const char* kLogicCells = "logic_cells";
inline constexpr const char* kLogicCellsAvailable = "logic_cells_available";
inline constexpr const char* kIos = "ios";
inline constexpr const char* kGlobalBuffers = "global_buffers";
inline constexpr const char* kPlls = "plls";
inline constexpr const char* kPortBits = "port_bits";
inline constexpr const char* kConstrainedBits = "constrained_bits";
inline constexpr const char* kBitstreamBytes = "bitstream_bytes";
}  // namespace counts

/// Kinds of files in StepMetrics::files.
namespace files {
inline constexpr const char* kNetlist = "netlist";
inline constexpr const char* kConstraints = "constraints";
inline constexpr const char* kStat = "stat";            ///< yosys' cell counts
inline constexpr const char* kPlacement = "placement";  ///< placement record
inline constexpr const char* kReport = "report";        ///< nextpnr's JSON report
inline constexpr const char* kRouted = "asc";           ///< routed design
inline constexpr const char* kTiming = "timing";        ///< icetime's report
}  // namespace files

/// Kinds of inputs in StepMetrics::meanings.
namespace meanings {
inline constexpr const char* kSources = "sources";
inline constexpr const char* kNetlist = "netlist";
inline constexpr const char* kConstraints = "constraints";
}  // namespace meanings

/// What one step has to tell in numbers, read from its tool's reports.
///
/// A step program leaves it as a small JSON file, "<step>.metrics.json", when
/// it ends well; statistics of a run read it back. A number that the tool did
/// not report is absent, never 0.
struct StepMetrics {
    std::string step;    ///< "synth_design", "place_design" ...
    std::string tool;    ///< name and version, as the tool gives them; may be empty
    double seconds = 0;  ///< wall time of the step
    std::map<std::string, long> counts;
    std::vector<ClockTiming> clocks;
    std::optional<double> icetimeMhz;  ///< the second opinion of icetime on Fmax
    /// The files that the step read and left, by their kind (see files::kNetlist
    /// ...), named as they were given to it.
    std::map<std::string, std::string> files;
    /// What the inputs that the step read mean, by their kind (see meanings::kSources ...), as
    /// meaning.h has it.
    std::map<std::string, std::string> meanings;

    std::optional<long> count(const std::string& name) const;

    /// The name of the file of that kind; empty when the step has none.
    std::string file(const std::string& kind) const;

    /// The clock that is nearest to missing its target; null without a clock.
    const ClockTiming* worstClock() const;
};

/// The metrics as the text of their file.
std::string formatMetrics(const StepMetrics& metrics);

/// Reads such a text. On refusal `reason` tells what is wrong with it and
/// `metrics` stays as it was.
bool parseMetrics(const std::string& text, StepMetrics& metrics, std::string& reason);

/// Reads the file `path`; the same, and a file that isn't there or is of a
/// newer version is refused with that as its reason.
bool readMetrics(const std::string& path, StepMetrics& metrics, std::string& reason);

/// The file name of a step's metrics: "place_design.metrics.json".
std::string metricsFileName(const std::string& step);

}  // namespace ice40
