// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "workbench/ice40/placeStep.h"
#include "workbench/ice40/placement.h"
#include "workbench/ice40/pnrTool.h"
#include "workbench/ice40/routeStep.h"

using namespace ice40;

namespace {

using Words = std::vector<std::string>;

TEST(PlacementWordsTest, NameSeedAndPlacer) {
    EXPECT_EQ(placementWords({}),
              (Words{"--seed", "1", "--placer", "heap", "--placer-heap-timingweight", "10",
                     "--placer-heap-critexp", "2"}));
}

TEST(PlacementWordsTest, LeaveOutWhatOnlyTheOtherPlacerKnows) {
    PlaceOptions options;
    options.placer = "sa";
    options.seed = 7;
    options.switches = {"--opt-timing"};
    EXPECT_EQ(placementWords(options), (Words{"--seed", "7", "--placer", "sa", "--opt-timing"}));
}

TEST(PnrWordsTest, StartTheToolOnTheInputsOfThePlacement) {
    Placement placement;
    placement.device = "hx8k";
    placement.package = "ct256";
    placement.netlist = "n.json";
    placement.freqMhz = 12;
    placement.words = {"--seed", "1"};
    EXPECT_EQ(pnrWords(placement, "r.json"),
              (Words{"nextpnr-ice40", "--hx8k", "--package", "ct256", "--json", "n.json",
                     "--pcf-allow-unconstrained", "--freq", "12", "--timing-allow-fail", "--report",
                     "r.json", "--seed", "1"}));
    placement.top = "top";
    placement.constraints = "p.pcf";
    placement.freqMhz = 12.5;
    EXPECT_EQ(pnrWords(placement, "r.json"),
              (Words{"nextpnr-ice40", "--hx8k", "--package", "ct256", "--json", "n.json", "--top",
                     "top", "--pcf", "p.pcf", "--pcf-allow-unconstrained", "--freq", "12.5",
                     "--timing-allow-fail", "--report", "r.json", "--seed", "1"}));
}

TEST(RoutingWordsTest, NameTheRouterAndItsSwitches) {
    RouteOptions options;
    EXPECT_EQ(routingWords(options), (Words{"--router", "router1"}));
    options.router = "router2";
    options.timingRipup = true;
    options.detailedTiming = true;
    EXPECT_EQ(routingWords(options),
              (Words{"--router", "router2", "--tmg-ripup", "--detailed-timing-report"}));
}

TEST(IcetimeWordsTest, NameDevicePackageAndPins) {
    Placement placement;
    placement.device = "hx8k";
    placement.package = "ct256";
    EXPECT_EQ(icetimeWords(placement, "a.asc", "t.rpt"),
              (Words{"icetime", "-d", "hx8k", "-P", "ct256", "-t", "-r", "t.rpt", "a.asc"}));
    placement.constraints = "p.pcf";
    EXPECT_EQ(icetimeWords(placement, "a.asc", "t.rpt"),
              (Words{"icetime", "-d", "hx8k", "-P", "ct256", "-p", "p.pcf", "-t", "-r", "t.rpt",
                     "a.asc"}));
}

}  // namespace
