// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/placement.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/RunDir.h"
#include "tests/unit/workbench/ice40/reportData.h"
#include "workbench/ice40/routeStep.h"
#include "workbench/ice40/stepFailure.h"

using namespace ice40;

namespace {

Placement sample() {
    Placement placement;
    placement.top = "top";
    placement.device = "hx8k";
    placement.package = "ct256";
    placement.netlist = "a b.json";
    placement.constraints = "\"pins\".pcf";
    placement.freqMhz = 12.5;
    placement.inputs = "0123456789abcdef";
    placement.words = {"--seed", "3", "--no-tmdriv"};
    placement.checksums = {"0x1", "0x2", "0x3"};
    return placement;
}

TEST(PlacementTest, SurvivesWritingAndReading) {
    Placement read;
    std::string reason = "untouched";
    ASSERT_TRUE(parsePlacement(formatPlacement(sample()), read, reason));
    EXPECT_EQ(reason, "untouched");
    EXPECT_EQ(read.netlist, "a b.json");
    EXPECT_EQ(read.constraints, "\"pins\".pcf");
    EXPECT_DOUBLE_EQ(read.freqMhz, 12.5);
    EXPECT_EQ(read.words, sample().words);
    EXPECT_EQ(read.checksums, sample().checksums);
    EXPECT_EQ(formatPlacement(read), formatPlacement(sample()));
}

TEST(PlacementTest, IsRefusedWhenItIsCutAnywhere) {
    const std::string whole = formatPlacement(sample());
    for (std::size_t length = 0; length <= whole.rfind('}'); ++length) {
        Placement read;
        std::string reason;
        EXPECT_FALSE(parsePlacement(whole.substr(0, length), read, reason)) << length;
    }
}

TEST(PlacementTest, IsRefusedWhenItIsOfAnotherKind) {
    Placement read;
    std::string reason;
    EXPECT_FALSE(parsePlacement("{}", read, reason));
    EXPECT_EQ(reason, "it is not a placement record that this program can read");
    EXPECT_FALSE(parsePlacement(R"({"format":"xperiment-placement","version":1})", read, reason));
    EXPECT_EQ(reason, "a value of it is missing or of the wrong kind");
    Placement empty = sample();
    empty.checksums.clear();
    EXPECT_FALSE(parsePlacement(formatPlacement(empty), read, reason));
    EXPECT_EQ(reason, "a value of it is missing or of the wrong kind");
}

TEST(PlacementTest, IsTheSameWhenTheRoutedChecksumsBeginWithIts) {
    EXPECT_TRUE(isSamePlacement({"1", "2"}, {"1", "2", "3"}));
    EXPECT_FALSE(isSamePlacement({"1", "2"}, {"1", "4", "3"}));
    EXPECT_FALSE(isSamePlacement({"1", "2"}, {"1"}));
}

std::string printOf(const test::RunDir& dir, const std::string& constraints) {
    return fingerprintInputs(
        inputMeanings(dir.path("n.json"), constraints.empty() ? "" : dir.path(constraints)));
}

TEST(InputsTest, HaveAnotherFingerprintAfterAChangeOfWhatTheyMean) {
    const test::RunDir dir;
    dir.mark("n.json", "net");
    dir.mark("p.pcf", "set_io clk 1");
    const std::string before = printOf(dir, "p.pcf");
    EXPECT_EQ(before, printOf(dir, "p.pcf"));
    EXPECT_NE(before, printOf(dir, ""));
    dir.mark("p.pcf", "set_io clk 2");
    EXPECT_NE(before, printOf(dir, "p.pcf"));
    dir.mark("p.pcf", "# the clock\n set_io  clk 1 # fast\n");
    EXPECT_EQ(before, printOf(dir, "p.pcf"));
    dir.mark("n.json", "nEt");
    EXPECT_NE(before, printOf(dir, "p.pcf"));
}

TEST(InputsTest, AreRefusedWhenOneIsMissing) {
    const test::RunDir dir;
    EXPECT_EQ(test::failureOf<StepFailure>([&] { inputMeanings(dir.path("n.json"), ""); }),
              "'" + dir.path("n.json") +
                  "' can't be read: No such file or directory. Run the synthesis again, or correct "
                  "the file's name.");
}

}  // namespace
