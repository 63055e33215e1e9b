// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/tarnel.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace reports;
using ::testing::ElementsAre;

namespace {

using Words = std::vector<std::string>;

const Words kScriptCall{"-nolog",      "-nojournal", "-notrace",    "-mode",
                        "batch",       "-product",   "tarnel",      "-source",
                        "reports.tcl", "-tclargs",   "route_design"};

std::string callRefusal(const Words& words) {
    TarnelCall call;
    call.source = "kept";
    std::string reason;
    EXPECT_FALSE(parseTarnelCall(words, {}, call, reason));
    EXPECT_EQ(call.source, "kept");
    return reason;
}

TEST(TarnelTest, ReadsTheCommandLineOfAReportScript) {
    TarnelCall call;
    std::string reason = "untouched";
    ASSERT_TRUE(parseTarnelCall(kScriptCall, {}, call, reason));
    EXPECT_EQ(reason, "untouched");
    EXPECT_EQ(call.source, "reports.tcl");
    EXPECT_THAT(call.arguments, ElementsAre("route_design"));
}

TEST(TarnelTest, PassesOverTheLoadersArguments) {
    Words words{"-loader", "opt"};
    words.insert(words.end(), kScriptCall.begin(), kScriptCall.end());
    TarnelCall call;
    std::string reason;
    ASSERT_TRUE(parseTarnelCall(words, {"-loader", "opt"}, call, reason)) << reason;
    EXPECT_EQ(call.source, "reports.tcl");
    EXPECT_FALSE(parseTarnelCall(words, {"-loader", "other"}, call, reason));
}

TEST(TarnelTest, GivesTheScriptEveryWordBehindItsArguments) {
    TarnelCall call;
    std::string reason;
    ASSERT_TRUE(parseTarnelCall({"-mode", "batch", "-source", "s", "-tclargs", "-mode", "", "-x"},
                                {}, call, reason));
    EXPECT_THAT(call.arguments, ElementsAre("-mode", "", "-x"));
}

TEST(TarnelTest, SaysWhatIsWrongWithACommandLine) {
    const std::string end = ". Call it with -help for its options.";
    EXPECT_EQ(callRefusal({}), "-source is missing" + end);
    EXPECT_EQ(callRefusal({"-source", "s"}), "-mode batch is missing" + end);
    EXPECT_EQ(callRefusal({"-mode", "gui", "-source", "s"}), "there is no mode 'gui'" + end);
    EXPECT_EQ(callRefusal({"-mode"}), "-mode needs a value" + end);
    EXPECT_EQ(callRefusal({"-mode", "batch", "-source", "-tclargs", "x"}),
              "-source needs a value" + end);
    EXPECT_EQ(callRefusal({"-mode", "batch", "-source", "a", "-source", "b"}),
              "-source stands twice" + end);
    EXPECT_EQ(callRefusal({"-product", "other"}), "there is no product 'other'" + end);
    EXPECT_EQ(callRefusal({"-fast"}), "there is no option '-fast'" + end);
    EXPECT_EQ(callRefusal({"stray"}), "there is no option 'stray'" + end);
}

TEST(TarnelTest, AsksForNoScriptWhenItsHelpIsWanted) {
    TarnelCall call;
    std::string reason;
    EXPECT_TRUE(parseTarnelCall({"-help"}, {}, call, reason));
    EXPECT_TRUE(call.wantsHelp);
    EXPECT_TRUE(parseTarnelCall({"-version"}, {}, call, reason));
    EXPECT_TRUE(call.wantsVersion);
}

TEST(TarnelTest, IsKnownByTheLastPartOfItsName) {
    EXPECT_TRUE(isTarnel("tarnel"));
    EXPECT_TRUE(isTarnel("/opt/bin/tarnel"));
    EXPECT_FALSE(isTarnel("/opt/tarnel/xp"));
    EXPECT_FALSE(isTarnel("xp"));
}

}  // namespace
