// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/pcf.h"

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace ice40;

namespace ice40 {

bool operator==(const PcfProblem& one, const PcfProblem& other) {
    return one.line == other.line && one.text == other.text;
}

std::ostream& operator<<(std::ostream& os, const PcfProblem& problem) {
    return os << problem.line << ": " << problem.text;
}

}  // namespace ice40

namespace {

using Problems = std::vector<PcfProblem>;

const std::vector<PortBit> kPorts{
    {"clk", "clk", "input", 2}, {"led[0]", "led", "output", 3}, {"led[1]", "led", "output", 4}};
const std::set<std::string> kPins{"A1", "A2", "B1", "J3"};

/// The problems of a file whose design has clk, led[0] and led[1].
Problems problemsOf(const std::string& text, bool allowUnconstrained = true) {
    Problems problems;
    const Constraints constraints = parsePcf(text, problems);
    for (const PcfProblem& problem :
         checkPins(constraints, kPorts, kPins, "ct256", allowUnconstrained))
        problems.push_back(problem);
    return problems;
}

TEST(PcfTest, ReadsPinsClocksAndComments) {
    Problems problems;
    const Constraints constraints =
        parsePcf("# pins\n\n  set_io -nowarn -pullup yes clk J3 # clock\n"
                 "set_io -pullup_resistor 10K led[0] A1\r\nset_frequency clk 12.5",
                 problems);
    EXPECT_EQ(problems, Problems());
    ASSERT_EQ(constraints.pins.size(), 2u);
    EXPECT_EQ(constraints.pins[0].line, 3);
    EXPECT_EQ(constraints.pins[0].port, "clk");
    EXPECT_EQ(constraints.pins[0].pin, "J3");
    EXPECT_TRUE(constraints.pins[0].mayBeUnused);
    EXPECT_EQ(constraints.pins[1].pin, "A1");
    EXPECT_FALSE(constraints.pins[1].mayBeUnused);
    ASSERT_EQ(constraints.clocks.size(), 1u);
    EXPECT_EQ(constraints.clocks[0].net, "clk");
    EXPECT_DOUBLE_EQ(constraints.clocks[0].mhz, 12.5);
}

struct BadLine {
    const char* name;
    const char* line;
    const char* text;
};

std::ostream& operator<<(std::ostream& os, const BadLine& row) {
    return os << row.name;
}

class BadLineTable : public ::testing::TestWithParam<BadLine> {};

TEST_P(BadLineTable, GivesOneProblem) {
    EXPECT_EQ(problemsOf(std::string("# head\n") + GetParam().line),
              (Problems{{2, GetParam().text}}));
}

constexpr const char* kTwoWords = "set_io needs a port and a pin. Write 'set_io port pin'.";
constexpr const char* kFrequency = "set_frequency needs a net and a frequency above 0 in MHz. "
                                   "Write 'set_frequency net MHz'.";

INSTANTIATE_TEST_SUITE_P(
    All, BadLineTable,
    ::testing::Values(
        BadLine{"Command", "set_pin clk J3",
                "unknown command 'set_pin'. Use 'set_io port pin' or 'set_frequency net MHz'."},
        BadLine{"Option", "set_io -slow clk J3",
                "unknown option '-slow' of set_io. Use -nowarn, -pullup or -pullup_resistor."},
        BadLine{"OptionValue", "set_io -pullup maybe clk J3",
                "option '-pullup' needs one of yes, no, 1, 0. Correct its value."},
        BadLine{"OptionAtTheEnd", "set_io -pullup_resistor",
                "option '-pullup_resistor' needs one of 3P3K, 6P8K, 10K, 100K. Correct its "
                "value."},
        BadLine{"NoPin", "set_io clk", kTwoWords}, BadLine{"Nothing", "set_io", kTwoWords},
        BadLine{"ThreeWords", "set_io clk J3 A1", kTwoWords},
        BadLine{"NoFrequency", "set_frequency clk", kFrequency},
        BadLine{"FrequencyIsText", "set_frequency clk fast", kFrequency},
        BadLine{"FrequencyWithUnit", "set_frequency clk 12MHz", kFrequency},
        BadLine{"FrequencyOfZero", "set_frequency clk 0", kFrequency},
        BadLine{"PinThatDoesNotExist", "set_io clk Z99",
                "package ct256 has no pin 'Z99'. Use one of its pins, for example A1."},
        BadLine{"PortThatDoesNotExist", "set_io clock J3",
                "the top module has no port 'clock'. Its ports are clk, led[0], led[1]."},
        BadLine{"WholeVector", "set_io led J3",
                "'led' is a port of 2 bits. Give each bit its pin: led[0], led[1]."}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(PinCheckTest, FindsNothingWrongWithGoodConstraints) {
    EXPECT_EQ(problemsOf("set_io clk J3\nset_io led[0] A1\nset_io led[1] A2\n", false), Problems());
}

TEST(PinCheckTest, RefusesAPortThatHasTwoPins) {
    EXPECT_EQ(problemsOf("set_io clk J3\nset_io clk A1\n"),
              (Problems{{2, "port 'clk' has a pin already from line 1. Remove one of the two "
                            "lines."}}));
}

TEST(PinCheckTest, RefusesAPinForTwoPorts) {
    EXPECT_EQ(problemsOf("set_io clk J3\nset_io led[0] J3\n"),
              (Problems{{2, "pin 'J3' is given to 'clk' already in line 1. Give 'led[0]' a pin of "
                            "its own."}}));
}

TEST(PinCheckTest, LetsABoardFileNamePortsThatTheDesignLacks) {
    EXPECT_EQ(problemsOf("set_io clk J3\nset_io -nowarn button J3\nset_io -nowarn tx Z99\n"),
              Problems());
}

TEST(PinCheckTest, NamesThePortsWithoutAPin) {
    EXPECT_EQ(problemsOf("set_io clk J3\n", false),
              (Problems{{0, "2 of 3 port bits have no pin: led[0], led[1]. Add a 'set_io' line for "
                            "each, or allow unconstrained ports."}}));
}

TEST(PinCheckTest, CountsTheNamesThatItDoesNotList) {
    std::vector<PortBit> ports;
    for (int i = 0; i < 15; ++i)
        ports.push_back({"d[" + std::to_string(i) + "]", "d", "input", 2 + i});
    const Problems problems = checkPins({}, ports, kPins, "ct256", false);
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_NE(problems[0].text.find("d[11] and 3 more. Add"), std::string::npos)
        << problems[0].text;
}

}  // namespace
