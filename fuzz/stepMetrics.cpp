// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// The numbers that a step leaves: refused with a reason and nothing changed, or the same
// when they are written and read again.
#include <string>

#include "fuzz/fuzzSupport.h"
#include "workbench/ice40/metrics.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ice40::StepMetrics metrics;
    metrics.step = "before";
    std::string reason;
    if (!ice40::parseMetrics({reinterpret_cast<const char*>(data), size}, metrics, reason)) {
        fuzz::require(!reason.empty(), "a refusal has a reason");
        fuzz::require(metrics.step == "before", "a refusal changes nothing");
        return 0;
    }
    ice40::StepMetrics again;
    const std::string text = ice40::formatMetrics(metrics);
    fuzz::require(ice40::parseMetrics(text, again, reason), "what was written can be read");
    fuzz::require(again.step == metrics.step && again.counts == metrics.counts,
                  "what was written is read back equal");
    fuzz::require(ice40::formatMetrics(again) == text, "it is written again in the same way");
    static_cast<void>(metrics.worstClock());
    return 0;
}
