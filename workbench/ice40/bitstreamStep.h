// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

namespace ice40 {

/// The command line of `ice40_bitstream`.
struct BitstreamOptions {
    std::string asc;
    std::string bin;
    std::string metrics = "write_bitstream.metrics.json";
    bool noDeepSleep = false;
    bool skipRamInit = false;
};

/// The words of icepack.
std::vector<std::string> bitstreamWords(const BitstreamOptions& options, const std::string& bin);

/// Does the step. @throws StepFailure, StepStopped
void runBitstream(const BitstreamOptions& options);

/// The program `ice40_bitstream`.
int bitstreamMain(int argc, char** argv);

}  // namespace ice40
