// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/netlist.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/unit/workbench/ice40/reportData.h"

using namespace ice40;

namespace {

std::vector<std::string> namesOf(const Netlist& netlist) {
    std::vector<std::string> names;
    for (const PortBit& bit : netlist.ports)
        names.push_back(bit.name);
    return names;
}

std::string moduleWithPort(const std::string& port) {
    return R"({"modules":{"m":{"cells":{},"ports":{"p":)" + port + "}}}}";
}

TEST(NetlistTest, NamesEveryBitAsConstraintsDo) {
    Netlist netlist;
    std::string reason = "untouched";
    ASSERT_TRUE(parseNetlist(test::reportData("tiny.netlist.json"), "tiny", netlist, reason));
    EXPECT_EQ(reason, "untouched");
    EXPECT_EQ(netlist.top, "tiny");
    EXPECT_EQ(netlist.cells, 5);
    EXPECT_EQ(namesOf(netlist),
              (std::vector<std::string>{"always_on", "clk", "go[0]", "go[1]", "q[0]", "q[1]"}));
}

TEST(NetlistTest, TellsDirectionAndConstantBits) {
    Netlist netlist;
    std::string reason;
    ASSERT_TRUE(parseNetlist(test::reportData("tiny.netlist.json"), "tiny", netlist, reason));
    EXPECT_EQ(netlist.ports[0].direction, "output");
    EXPECT_EQ(netlist.ports[0].net, -1);
    EXPECT_EQ(netlist.ports[1].direction, "input");
    EXPECT_GE(netlist.ports[1].net, 0);
    EXPECT_EQ(netlist.ports[2].port, "go");
}

TEST(NetlistTest, FindsTheMarkedTopByItself) {
    Netlist netlist;
    std::string reason;
    ASSERT_TRUE(parseNetlist(test::reportData("tiny.netlist.json"), "", netlist, reason));
    EXPECT_EQ(netlist.top, "tiny");
}

TEST(NetlistTest, NumbersBitsAsDeclared) {
    Netlist netlist;
    std::string reason;
    ASSERT_TRUE(parseNetlist(moduleWithPort(R"({"direction":"input","bits":[2,3],"offset":4})"), "",
                             netlist, reason));
    EXPECT_EQ(namesOf(netlist), (std::vector<std::string>{"p[4]", "p[5]"}));
    ASSERT_TRUE(
        parseNetlist(moduleWithPort(R"({"direction":"input","bits":[2,3],"offset":4,"upto":1})"),
                     "", netlist, reason));
    EXPECT_EQ(namesOf(netlist), (std::vector<std::string>{"p[5]", "p[4]"}));
    ASSERT_TRUE(parseNetlist(moduleWithPort(R"({"direction":"input","bits":[2],"offset":3})"), "",
                             netlist, reason));
    EXPECT_EQ(namesOf(netlist), (std::vector<std::string>{"p[3]"}));
}

TEST(NetlistTest, NumbersBitsBehindTheLargestOffset) {
    Netlist netlist;
    std::string reason;
    ASSERT_TRUE(parseNetlist(
        moduleWithPort(R"({"direction":"input","bits":[2,99999999999],"offset":2147483647})"), "m",
        netlist, reason));
    EXPECT_EQ(netlist.ports.at(1).name, "p[2147483648]");
    EXPECT_EQ(netlist.ports.at(1).net, -1);
}

TEST(NetlistTest, IsRefusedWithoutTheTopModule) {
    Netlist netlist;
    netlist.top = "kept";
    std::string reason;
    EXPECT_FALSE(parseNetlist(test::reportData("tiny.netlist.json"), "big", netlist, reason));
    EXPECT_EQ(reason, "it holds no module 'big', but tiny");
    EXPECT_EQ(netlist.top, "kept");
}

TEST(NetlistTest, IsRefusedWhenItIsCutAnywhere) {
    const std::string whole = test::reportData("tiny.netlist.json");
    for (std::size_t length = 0; length < whole.rfind('}'); length += 7) {
        Netlist netlist;
        std::string reason;
        EXPECT_FALSE(parseNetlist(whole.substr(0, length), "tiny", netlist, reason)) << length;
        EXPECT_EQ(reason, "it is not valid JSON; it may have been cut short");
    }
}

struct BadNetlist {
    const char* name;
    std::string text;
    const char* reason;
};

std::ostream& operator<<(std::ostream& os, const BadNetlist& row) {
    return os << row.name;
}

class BadNetlistTable : public ::testing::TestWithParam<BadNetlist> {};

TEST_P(BadNetlistTable, IsRefusedWithItsReason) {
    Netlist netlist;
    std::string reason;
    EXPECT_FALSE(parseNetlist(GetParam().text, "m", netlist, reason));
    EXPECT_EQ(reason, GetParam().reason);
}

constexpr const char* kBadPort = "port 'p' of module 'm' has no direction or no bits";

INSTANTIATE_TEST_SUITE_P(
    All, BadNetlistTable,
    ::testing::Values(
        BadNetlist{"NoModules", "{}", "it holds no modules, so it is not a netlist of yosys"},
        BadNetlist{"EmptyModules", R"({"modules":{}})",
                   "it holds no modules, so it is not a netlist of yosys"},
        BadNetlist{"NoCells", R"({"modules":{"m":{"ports":{}}}})",
                   "module 'm' has no ports or no cells"},
        BadNetlist{"PortIsText", moduleWithPort("1"), kBadPort},
        BadNetlist{"NoDirection", moduleWithPort(R"({"bits":[2]})"), kBadPort},
        BadNetlist{"BitsAreText", moduleWithPort(R"({"direction":"input","bits":"2"})"), kBadPort}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
