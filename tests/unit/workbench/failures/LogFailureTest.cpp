// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/failures/logFailure.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace workbench;

namespace {

using Lines = std::vector<std::string>;
using Indices = std::vector<std::size_t>;

struct PlaceCase {
    const char* name;
    const char* text;
    const char* file;  ///< null when there is no place
    int line;
};

std::ostream& operator<<(std::ostream& os, const PlaceCase& row) {
    return os << row.name;
}

class PlaceTable : public ::testing::TestWithParam<PlaceCase> {};

TEST_P(PlaceTable, IsRead) {
    SourcePlace place{"as before", 7};
    const bool found = readPlace(GetParam().text, place);
    EXPECT_EQ(found, GetParam().file != nullptr);
    EXPECT_EQ(place.file, found ? GetParam().file : "as before");
    EXPECT_EQ(place.line, found ? GetParam().line : 7);
}

INSTANTIATE_TEST_SUITE_P(
    All, PlaceTable,
    ::testing::Values(PlaceCase{"Line", "a/b.v:12: syntax error", "a/b.v", 12},
                      PlaceCase{"Range", "b.v:1.25-1.26", "b.v", 1},
                      PlaceCase{"TwoRanges", "b.v:1.25-1.26|c.v:3.1-3.4", "b.v", 1},
                      PlaceCase{"UnknownLine", "b.v:0: no file", "b.v", 0},
                      PlaceCase{"BlankInTheName", "my design.v:3: x", "my design.v", 3},
                      PlaceCase{"ColonInTheName", "a:b.v:3: x", "a:b.v", 3},
                      PlaceCase{"NoLine", "b.v: x", nullptr, 0},
                      PlaceCase{"NoFile", ":3: x", nullptr, 0},
                      PlaceCase{"NumberInASentence", "ratio:3 of it", nullptr, 0},
                      PlaceCase{"HugeNumber", "b.v:12345678901234567890: x", nullptr, 0},
                      PlaceCase{"Empty", "", nullptr, 0}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(LogFailureTest, FindsTheToolsErrorBeforeThatOfItsStep) {
    const FailureLines lines = findFailureLines(
        {"Command: yosys -q", "reading", "a.v:1: ERROR: syntax error",
         "ERROR: ice40_synth: yosys ended with status 1: a.v:1: syntax error. Correct it.",
         "ZUMWrap.sh: step 'ice40_synth' failed: ended with status 1"});
    EXPECT_EQ(lines.toolErrors, Indices{2});
    EXPECT_EQ(lines.stepErrors, Indices{3});
    EXPECT_EQ(lines.wrapperReason, "ended with status 1");
}

TEST(LogFailureTest, LeavesOutWhatAnEarlierLaunchSaid) {
    const FailureLines lines = findFailureLines(
        {"Command: nextpnr-ice40", "ERROR: old",
         "ERROR: ice40_place: nextpnr-ice40 ended with status 1",
         "ZUMWrap.sh: step 'ice40_place' failed: ended with status 1", "Command: nextpnr-ice40",
         "placing", "ZUMWrap.sh: step 'ice40_place' failed: killed by signal 9"});
    EXPECT_EQ(lines.toolErrors, Indices{});
    EXPECT_EQ(lines.stepErrors, Indices{});
    EXPECT_EQ(lines.wrapperReason, "killed by signal 9");
    EXPECT_EQ(lines.begin, 4U);
}

TEST(LogFailureTest, LeavesOutTheReportsOfTheStepBefore) {
    const FailureLines lines = findFailureLines(
        {"Command: nextpnr-ice40", "Command: /opt/bin/tarnel -mode batch", "ERROR: no such report",
         "ERROR: ice40_route: placement 'p' can't be read: gone. Run the placement first.",
         "ZUMWrap.sh: step 'ice40_route' failed: ended with status 1"});
    EXPECT_EQ(lines.toolErrors, Indices{});
    EXPECT_EQ(lines.stepErrors, Indices{3});
}

TEST(LogFailureTest, TakesEveryProblemThatAStepTells) {
    const FailureLines lines =
        findFailureLines({"Device hx8k", "ERROR: ice40_init: p.pcf:1: one",
                          "ERROR: ice40_init: p.pcf:2: two", "ERROR: ice40_init: 2 problems"});
    EXPECT_EQ(lines.stepErrors, (Indices{1, 2, 3}));
}

TEST(LogFailureTest, KnowsHowAProgramCrashes) {
    const FailureLines lines = findFailureLines(
        {"Command: yosys", "terminate called after throwing an instance of 'x'", "  what():  x",
         "ERROR: ice40_synth: yosys was killed by signal 6. Try."});
    EXPECT_EQ(lines.toolErrors, (Indices{1, 2}));
}

TEST(LogFailureTest, OfAnEmptyLogIsNothing) {
    const FailureLines lines = findFailureLines({});
    EXPECT_EQ(lines.begin, 0U);
    EXPECT_EQ(lines.end, 0U);
    EXPECT_EQ(lines.toolErrors, Indices{});
    EXPECT_EQ(lines.wrapperReason, "");
}

TEST(LogFailureTest, TakesTheMarkOffAnError) {
    EXPECT_EQ(withoutErrorMark("a.v:2: ERROR: x"), "a.v:2: x");
    EXPECT_EQ(withoutErrorMark("ERROR: ice40_init: x"), "ice40_init: x");
    EXPECT_EQ(withoutErrorMark("Error: x"), "x");
    EXPECT_EQ(withoutErrorMark("plain"), "plain");
}

}  // namespace
