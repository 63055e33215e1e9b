// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// What the open tools write, given to each reader of it: each refuses with a reason, or
// gives numbers that can be used.
#include <string>

#include "fuzz/fuzzSupport.h"
#include "workbench/ice40/metrics.h"
#include "workbench/ice40/netlist.h"
#include "workbench/ice40/placement.h"
#include "workbench/ice40/reports.h"

namespace {

void readPnrReport(const std::string& text) {
    ice40::StepMetrics metrics;
    std::string reason;
    fuzz::require(ice40::parsePnrReport(text, metrics, reason) || !reason.empty(),
                  "a place-and-route report that is refused has a reason");
    static_cast<void>(metrics.worstClock());
}

void readStatReport(const std::string& text) {
    ice40::CellCounts cells;
    ice40::StepMetrics metrics;
    std::string reason;
    fuzz::require(ice40::parseStatReport(text, cells, reason) || !reason.empty(),
                  "a synthesis report that is refused has a reason");
    ice40::addCounts(cells, metrics);
}

void readNetlist(const std::string& text) {
    ice40::Netlist netlist;
    std::string reason;
    fuzz::require(ice40::parseNetlist(text, "", netlist, reason) || !reason.empty(),
                  "a netlist that is refused has a reason");
}

void readPlacement(const std::string& text) {
    ice40::Placement placement;
    std::string reason;
    if (!ice40::parsePlacement(text, placement, reason)) {
        fuzz::require(!reason.empty(), "a placement that is refused has a reason");
        return;
    }
    fuzz::require(ice40::parsePlacement(ice40::formatPlacement(placement), placement, reason),
                  "a placement that was written can be read");
}

void readLog(const std::string& text) {
    ice40::PnrLog log;
    ice40::StepMetrics metrics;
    std::size_t begin = 0;
    for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
        end = text.find('\n', begin);
        const std::string line = text.substr(begin, end - begin);
        log.readLine(line);
        static_cast<void>(ice40::parseIcetimeLine(line));
    }
    log.addCounts(metrics);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    readPnrReport(text);
    readStatReport(text);
    readNetlist(text);
    readPlacement(text);
    readLog(text);
    return 0;
}
