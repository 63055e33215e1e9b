// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/design.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/unit/workbench/reports/reportBench.h"

using namespace reports;

namespace {

Design parsedDesign(const std::string& text = test::ReportBench::netlist()) {
    Design design;
    std::string reason = "untouched";
    EXPECT_TRUE(parseDesign(text, "", design, reason)) << reason;
    EXPECT_EQ(reason, "untouched");
    return design;
}

std::string designRefusal(const std::string& text) {
    Design design;
    design.top = "kept";
    std::string reason;
    EXPECT_FALSE(parseDesign(text, "", design, reason));
    EXPECT_EQ(design.top, "kept");
    return reason;
}

std::string withModule(const std::string& cells, const std::string& names) {
    return R"({"modules":{"m":{"ports":{},"cells":)" + cells + R"(,"netnames":)" + names + "}}}";
}

TEST(DesignTest, HoldsPortsAndCellsOfTheTopModule) {
    const Design design = parsedDesign();
    EXPECT_EQ(design.top, "top");
    EXPECT_EQ(design.ports.size(), 6u);
    EXPECT_EQ(design.cells.size(), 9u);
    ASSERT_NE(design.findCell("core.a"), nullptr);
    EXPECT_EQ(design.findCell("core.a")->type, "SB_DFFE");
    EXPECT_EQ(design.findCell("core.a")->netOf("Q"), 10);
    EXPECT_EQ(design.findCell("core.a")->netOf("R"), kNoNet);
    EXPECT_EQ(design.findCell("lut_a")->netOf("I2"), kConstantNet);
    EXPECT_EQ(design.findCell("nobody"), nullptr);
}

TEST(DesignTest, NamesANetByItsHighestName) {
    const Design design = parsedDesign();
    EXPECT_EQ(design.netName(2), "clk");
    EXPECT_EQ(design.netName(11), "led[1]");
    EXPECT_EQ(design.netName(22), "$abc$1");
    EXPECT_EQ(design.netName(99), "net 99");
}

TEST(DesignTest, TellsWhereANetIsDeclared) {
    const Design design = parsedDesign();
    EXPECT_EQ(design.netSource("clk"), "top.v:3");
    EXPECT_EQ(design.netSource("led[1]"), "top.v:5");
    EXPECT_EQ(design.netSource("go"), "");
}

TEST(DesignTest, CountsBusBitsFromTheirOffset) {
    const Design design = parsedDesign(withModule("{}", R"({"up":{"bits":[5,6],"offset":4},
        "down":{"bits":[7,8],"upto":1}})"));
    EXPECT_EQ(design.netName(5), "up[4]");
    EXPECT_EQ(design.netName(6), "up[5]");
    EXPECT_EQ(design.netName(7), "down[1]");
    EXPECT_EQ(design.netName(8), "down[0]");
}

TEST(DesignTest, NamesTheDesignersPlaceAmongThoseOfTheLibrary) {
    EXPECT_EQ(ownSource("/home/me/uart.v:37.5-39.29|/usr/bin/../share/yosys/ice40/ff.v:5.1-5.2"),
              "uart.v:37");
    EXPECT_EQ(ownSource("/usr/bin/../share/yosys/ice40/ff.v:5.1-5.2|a b.v:3.1-3.4"), "a b.v:3");
    EXPECT_EQ(ownSource("/usr/share/yosys/ice40/ff.v:5.1-5.2"), "");
    EXPECT_EQ(ownSource("odd"), "odd");
    EXPECT_EQ(ownSource(""), "");
}

TEST(DesignTest, FindsTheInstanceInAFlattenedName) {
    EXPECT_EQ(instanceOf("uart.rx.count"), "uart.rx");
    EXPECT_EQ(instanceOf("count"), "");
}

TEST(DesignTest, RefusesATextThatIsCutShortAnywhere) {
    const std::string text = test::ReportBench::netlist();
    for (std::size_t size = 0; size < text.size(); size += 7) {
        Design design;
        std::string reason;
        ASSERT_FALSE(parseDesign(text.substr(0, size), "", design, reason)) << size;
    }
}

TEST(DesignTest, RefusesWhatItCantUnderstand) {
    EXPECT_EQ(designRefusal("{}"), "it holds no modules, so it is not a netlist of yosys");
    EXPECT_EQ(designRefusal(withModule(R"({"c":{"type":"X"}})", "{}")),
              "cell 'c' has no type or no connections");
    EXPECT_EQ(designRefusal(withModule(R"({"c":{"type":"X","connections":{"A":7},
                                     "port_directions":{}}})",
                                       "{}")),
              "cell 'c' has no type or no connections");
    EXPECT_EQ(designRefusal(withModule("{}", R"({"n":{}})")), "net 'n' has no bits");
    EXPECT_EQ(designRefusal(withModule("{}", "7")), "it holds no names of nets");
}

TEST(DesignTest, TakesANetNumberOutOfRangeForNoNet) {
    const Design design = parsedDesign(withModule(R"({"c":{"type":"X","connections":{"A":
        [99999999999999999999, -5, "x", 3.5]},"port_directions":{"A":"input"}}})",
                                                  "{}"));
    for (const DesignPin& pin : design.findCell("c")->pins)
        EXPECT_EQ(pin.net, kNoNet);
}

}  // namespace
