// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/bitstreamStep.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include "workbench/ice40/stepFailure.h"
#include "workbench/ice40/stepFiles.h"
#include "workbench/ice40/stepProgram.h"

namespace ice40 {

namespace {

/// Every bitstream holds these four bytes where the device begins to listen.
const std::string kSync = "\x7e\xaa\x99\x7e";

void requireRouted(const std::string& path) {
    std::string text;
    std::string reason;
    if (!readText(path, text, reason))
        throw StepFailure(fmt::format("routed design '{}' can't be read: {}", path, reason),
                          "Run the routing first");
    if (text.find(".device ") == std::string::npos)
        throw StepFailure(fmt::format("'{}' is not a routed design", path),
                          "Run the routing again");
}

/// The size of the bitstream, after a look that it is one.
long requireBitstream(const OutputFile& bin) {
    std::string bytes;
    std::string reason;
    if (!readText(bin.partPath(), bytes, reason) || bytes.find(kSync) == std::string::npos)
        throw StepFailure(fmt::format("icepack wrote no bitstream to '{}'", bin.path()),
                          "Look at the lines above for what the tool says, and at the free space "
                          "of the disk");
    return static_cast<long>(bytes.size());
}

void declareBitstreamOptions(CLI::App& app, BitstreamOptions& options) {
    app.add_option("--asc", options.asc, "Routed design of ice40_route")->required();
    app.add_option("--bin", options.bin, "Bitstream to write")->required();
    app.add_option("--metrics", options.metrics, "Metrics to write")->capture_default_str();
    app.add_flag("--no-deep-sleep", options.noDeepSleep,
                 "Leave the configuration flash awake after loading");
    app.add_flag("--skip-ram-init", options.skipRamInit, "Leave out the contents of block RAMs");
}

}  // namespace

std::vector<std::string> bitstreamWords(const BitstreamOptions& options, const std::string& bin) {
    std::vector<std::string> words{"icepack"};
    if (options.noDeepSleep)
        words.emplace_back("-s");
    if (options.skipRamInit)
        words.emplace_back("-n");
    words.insert(words.end(), {options.asc, bin});
    return words;
}

void runBitstream(const BitstreamOptions& options) {
    const StepClock clock;
    requireRouted(options.asc);
    OutputFile bin(options.bin);
    OutputFile metricsFile(options.metrics);
    ToolCommand command;
    command.words = bitstreamWords(options, bin.partPath());
    runLoggedTool(command);
    bin.requireSpace();

    StepMetrics metrics;
    metrics.step = "write_bitstream";
    metrics.counts[counts::kBitstreamBytes] = requireBitstream(bin);
    metrics.seconds = clock.seconds();
    metricsFile.write(formatMetrics(metrics));
    bin.commit();
    metricsFile.commit();
    printLine(fmt::format("Bitstream '{}': {} bytes", options.bin,
                          metrics.counts[counts::kBitstreamBytes]));
}

int bitstreamMain(int argc, char** argv) {
    BitstreamOptions options;
    CLI::App app("Packs a routed iCE40 design into a bitstream with icepack.", "ice40_bitstream");
    declareBitstreamOptions(app, options);
    return runStep(app, "write_bitstream", argc, argv, [&] { runBitstream(options); });
}

}  // namespace ice40
