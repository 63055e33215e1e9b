// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/stepTables.h"

namespace workbench {

namespace {

/// What a killed step leaves of files that weren't whole yet; a pattern.
const char kParts[] = R"(\..*\.part)";

OptionTable flag(const char* name, const char* switchText, const char* description) {
    return {HATAttrTypes::kBool, name, switchText, "", {}, description};
}

OptionTable number(const char* name, const char* switchText, const char* defaultText,
                   const char* description) {
    return {HATAttrTypes::kInt, name, switchText, defaultText, {}, description};
}

OptionTable choice(const char* name, const char* switchText, std::vector<const char*> values,
                   const char* description) {
    const char* first = values.front();
    return {HATAttrTypes::kEnum, name, switchText, first, std::move(values), description};
}

StepTable synthDesign() {
    return {"synth_design",
            "Synthesis",
            "synth",
            "ice40_synth",
            false,
            {flag("abc9", "--abc9", "Map to LUTs with abc9, which knows the device's delays"),
             flag("abc2", "--abc2", "Map to LUTs in two passes, for slightly fewer of them"),
             flag("dff", "--dff", "Let the mapper move logic across flip-flops"),
             flag("retime", "--retime", "Move flip-flops for speed; loses initial values"),
             flag("noflatten", "--noflatten", "Keep the module hierarchy"),
             flag("nocarry", "--nocarry", "Use no carry cells"),
             flag("nodffe", "--nodffe", "Use no flip-flops with enable"),
             flag("nobram", "--nobram", "Use no block RAM"),
             flag("spram", "--spram", "Infer the large RAMs of UltraPlus devices"),
             flag("dsp", "--dsp", "Use the multipliers of UltraPlus devices"),
             flag("flowmap", "--flowmap", "Map to LUTs with FlowMap"),
             flag("no_rw_check", "--no-rw-check",
                  "Let a read that collides with a write return anything"),
             choice("device_family", "--device-family", {"auto", "hx", "lp", "u"},
                    "Timing model that abc9 optimises for"),
             number("dffe_min_ce_use", "--dffe-min-ce-use", "0",
                    "Least flip-flops that share an enable for it to be used; 0 leaves it to the "
                    "tool")},
            {{"Cell usage", HAXPTypes::FILE_KDS_UTIL}},
            {HAXPTypes::FILE_KDS_DCP},
            {"synth_design.stat.json", "synth_design.metrics.json", kParts}};
}

StepTable initDesign() {
    return {"init_design",
            "Check Design",
            "init",
            "ice40_init",
            false,
            {flag("allow_unconstrained", "--allow-unconstrained",
                  "Let the placer choose pins for ports without one")},
            {},
            {},
            {"init_design.metrics.json", kParts}};
}

StepTable placeDesign() {
    return {"place_design",
            "Place Design",
            "place",
            "ice40_place",
            false,
            {number("seed", "--seed", "1", "Start of the random numbers"),
             choice("placer", "--placer", {"heap", "sa"},
                    "heap is analytical, sa is simulated annealing and slow"),
             number("heap_timingweight", "--placer-heap-timingweight", "10",
                    "Weight of timing against wire length in the heap placer"),
             number("heap_critexp", "--placer-heap-critexp", "2",
                    "How sharply the heap placer prefers critical nets"),
             flag("no_tmdriv", "--no-tmdriv", "Place for wire length only"),
             flag("opt_timing", "--opt-timing", "Move cells of critical paths after placing"),
             flag("no_promote_globals", "--no-promote-globals",
                  "Leave clocks, enables and resets off the global nets"),
             flag("promote_logic", "--promote-logic", "Let other logic use the global nets too"),
             flag("placer_budgets", "--placer-budgets",
                  "Weigh nets by their timing budget instead of their criticality"),
             flag("ignore_loops", "--ignore-loops", "Leave combinational loops out of the timing")},
            {{"Placement", HAXPTypes::FILE_PLACE_UTIL}},
            {HAXPTypes::FILE_PLACE_DCP},
            {"place_design.report.json", "place_design.metrics.json", kParts}};
}

StepTable routeDesign() {
    return {
        "route_design",
        "Route Design",
        "route",
        "ice40_route",
        false,
        {choice("router", "--router", {"router1", "router2"}, "Routing algorithm"),
         flag("tmg_ripup", "--tmg-ripup", "Rip up and route again for timing; slow"),
         flag("detailed_timing", "--detailed-timing", "Add the timing of every net to the report"),
         flag("skip_icetime", "--skip-icetime", "Don't ask icetime for a second opinion"),
         flag("require_timing", "--require-timing", "Fail when a clock misses its frequency")},
        {{"Timing", HAXPTypes::FILE_ROUTE_TIMINGSUMMARY},
         {"Routing", HAXPTypes::FILE_ROUTE_STATUS}},
        {HAXPTypes::FILE_ROUTE_DCP},
        {"route_design.report.json", "route_design.timing.rpt", "route_design.metrics.json",
         kParts}};
}

StepTable writeBitstream() {
    return {"write_bitstream",
            "Write Bitstream",
            "bitstream",
            "ice40_bitstream",
            true,
            {flag("no_deep_sleep", "--no-deep-sleep",
                  "Leave the configuration flash awake after loading"),
             flag("skip_ram_init", "--skip-ram-init", "Leave out the contents of block RAMs")},
            {{"Bitstream", HAXPTypes::FILE_BG_BIN}},
            {HAXPTypes::FILE_BG_BIN},
            {"write_bitstream.metrics.json", kParts}};
}

}  // namespace

const std::vector<StepTable>& synthesisSteps() {
    static const std::vector<StepTable> steps{synthDesign()};
    return steps;
}

const std::vector<StepTable>& implementationSteps() {
    static const std::vector<StepTable> steps{initDesign(), placeDesign(), routeDesign(),
                                              writeBitstream()};
    return steps;
}

}  // namespace workbench
