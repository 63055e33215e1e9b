// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/metrics.h"

#include <string>

#include <gtest/gtest.h>

#include <unistd.h>

#include "tests/support/RunDir.h"

using namespace ice40;

namespace {

StepMetrics routed() {
    StepMetrics metrics;
    metrics.step = "route_design";
    metrics.tool = "nextpnr-ice40 0.4";
    metrics.seconds = 12.5;
    metrics.counts[counts::kLuts] = 1076;
    metrics.counts[counts::kBlockRams] = 12;
    metrics.clocks = {{"clk", 50, 40}, {"fast", 90, 100}};
    metrics.icetimeMhz = 48.59;
    metrics.files = {{files::kNetlist, "top.json"}, {files::kRouted, "top.asc"}};
    return metrics;
}

TEST(MetricsTest, SurviveWritingAndReading) {
    StepMetrics read;
    std::string reason = "untouched";
    ASSERT_TRUE(parseMetrics(formatMetrics(routed()), read, reason));
    EXPECT_EQ(reason, "untouched");
    EXPECT_EQ(read.step, "route_design");
    EXPECT_EQ(read.tool, "nextpnr-ice40 0.4");
    EXPECT_DOUBLE_EQ(read.seconds, 12.5);
    EXPECT_EQ(read.counts, routed().counts);
    ASSERT_EQ(read.clocks.size(), 2u);
    EXPECT_EQ(read.clocks[1].name, "fast");
    EXPECT_DOUBLE_EQ(read.clocks[1].fmaxMhz, 90);
    EXPECT_DOUBLE_EQ(read.clocks[1].targetMhz, 100);
    EXPECT_DOUBLE_EQ(read.icetimeMhz.value(), 48.59);
    EXPECT_EQ(read.files, routed().files);
}

TEST(MetricsTest, NameNoFileThatTheStepDidNotTell) {
    EXPECT_EQ(routed().file(files::kRouted), "top.asc");
    EXPECT_EQ(routed().file(files::kTiming), "");
}

TEST(MetricsTest, RefuseAFileWhoseNameIsNoText) {
    StepMetrics read;
    std::string reason;
    EXPECT_FALSE(parseMetrics(R"({"format":"xperiment-step-metrics","version":1,"step":"s",
        "tool":"","seconds":1,"counts":{},"clocks":[],"files":{"asc":7}})",
                              read, reason));
    EXPECT_EQ(reason, "a value of it is missing or of the wrong kind");
}

TEST(MetricsTest, ReadTheSameTextTwice) {
    StepMetrics read;
    std::string reason;
    ASSERT_TRUE(parseMetrics(formatMetrics(routed()), read, reason));
    EXPECT_EQ(formatMetrics(read), formatMetrics(routed()));
}

TEST(MetricsTest, GiveTheSlackInNanoseconds) {
    EXPECT_DOUBLE_EQ((ClockTiming{"clk", 50, 40}).slackNs(), 5);
    EXPECT_DOUBLE_EQ((ClockTiming{"clk", 40, 50}).slackNs(), -5);
}

TEST(MetricsTest, AreWrittenAgainInTheSameWayWhenAFrequencyHasManyDigits) {
    StepMetrics metrics = routed();
    metrics.clocks = {{"clk", 50, 40.1844674407}};
    StepMetrics read;
    std::string reason;
    const std::string text = formatMetrics(metrics);
    ASSERT_TRUE(parseMetrics(text, read, reason)) << reason;
    EXPECT_EQ(formatMetrics(read), text);
    // That of 40.184 MHz, which is what the file holds.
    EXPECT_NE(text.find("\"slack_ns\": 4.886"), std::string::npos) << text;
}

TEST(MetricsTest, NameTheClockWithTheLeastSlackTheWorst) {
    EXPECT_EQ(routed().worstClock()->name, "fast");
    EXPECT_EQ(StepMetrics().worstClock(), nullptr);
}

TEST(MetricsTest, TellAnAbsentCountFromZero) {
    StepMetrics metrics = routed();
    metrics.counts[counts::kDsps] = 0;
    EXPECT_EQ(metrics.count(counts::kDsps), 0);
    EXPECT_EQ(metrics.count(counts::kPlls), std::nullopt);
}

TEST(MetricsTest, RefuseAFileThatIsCutAnywhere) {
    const std::string whole = formatMetrics(routed());
    const std::size_t end = whole.rfind('}');
    for (std::size_t length = 0; length <= end; ++length) {
        StepMetrics read;
        read.step = "kept";
        std::string reason;
        EXPECT_FALSE(parseMetrics(whole.substr(0, length), read, reason)) << length;
        EXPECT_EQ(reason, "it is not valid JSON; it may have been cut short");
        EXPECT_EQ(read.step, "kept");
    }
}

TEST(MetricsTest, RefuseAVeryDeepFileWithoutHarm) {
    const std::size_t depth = 1000000;
    StepMetrics read;
    std::string reason;
    EXPECT_FALSE(parseMetrics(std::string(depth, '[') + std::string(depth, ']'), read, reason));
    EXPECT_EQ(reason, "it is not valid JSON; it may have been cut short");
}

struct BadMetrics {
    const char* name;
    const char* text;
    const char* reason;
};

std::ostream& operator<<(std::ostream& os, const BadMetrics& row) {
    return os << row.name;
}

class BadMetricsTable : public ::testing::TestWithParam<BadMetrics> {};

TEST_P(BadMetricsTable, IsRefusedWithItsReason) {
    StepMetrics read;
    std::string reason;
    EXPECT_FALSE(parseMetrics(GetParam().text, read, reason));
    EXPECT_EQ(reason, GetParam().reason);
}

constexpr const char* kWrongKind = "a value of it is missing or of the wrong kind";
#define METRICS_HEAD R"({"format":"xperiment-step-metrics","version":1,"step":"s","tool":"")"

INSTANTIATE_TEST_SUITE_P(
    All, BadMetricsTable,
    ::testing::Values(
        BadMetrics{"List", "[]", "it is not valid JSON; it may have been cut short"},
        BadMetrics{"OtherFormat", R"({"format":"x","version":1})",
                   "it does not hold the metrics of a step"},
        BadMetrics{"NoVersion", R"({"format":"xperiment-step-metrics"})",
                   "it does not hold the metrics of a step"},
        BadMetrics{"NewerVersion", R"({"format":"xperiment-step-metrics","version":2})",
                   "it has version 2, and this program reads up to 1"},
        BadMetrics{"NoSeconds", METRICS_HEAD R"(,"counts":{},"clocks":[]})", kWrongKind},
        BadMetrics{"CountIsText", METRICS_HEAD R"(,"seconds":1,"counts":{"luts":"1"},"clocks":[]})",
                   kWrongKind},
        BadMetrics{"ClockIsText", METRICS_HEAD R"(,"seconds":1,"counts":{},"clocks":["clk"]})",
                   kWrongKind},
        BadMetrics{
            "ClockOfZeroMhz",
            METRICS_HEAD
            R"(,"seconds":1,"counts":{},"clocks":[{"name":"c","fmax_mhz":0,"target_mhz":1}]})",
            kWrongKind},
        BadMetrics{"CountBeyondAll",
                   METRICS_HEAD
                   R"(,"seconds":1,"counts":{"luts":18446744073709551615},"clocks":[]})",
                   kWrongKind},
        BadMetrics{"CountBelowZero",
                   METRICS_HEAD R"(,"seconds":1,"counts":{"luts":-1},"clocks":[]})", kWrongKind},
        BadMetrics{"SecondsBelowZero", METRICS_HEAD R"(,"seconds":-1,"counts":{},"clocks":[]})",
                   kWrongKind},
        BadMetrics{"SecondsBeyondAll", METRICS_HEAD R"(,"seconds":1e300,"counts":{},"clocks":[]})",
                   kWrongKind},
        BadMetrics{
            "ClockThatWouldBeWrittenAsZero",
            METRICS_HEAD
            R"(,"seconds":1,"counts":{},"clocks":[{"name":"c","fmax_mhz":1e-320,"target_mhz":1}]})",
            kWrongKind},
        BadMetrics{
            "ClockBeyondAll",
            METRICS_HEAD
            R"(,"seconds":1,"counts":{},"clocks":[{"name":"c","fmax_mhz":1,"target_mhz":1e308}]})",
            kWrongKind},
        BadMetrics{"IcetimeIsText",
                   METRICS_HEAD R"(,"seconds":1,"counts":{},"clocks":[],"icetime_mhz":"1"})",
                   kWrongKind}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(MetricsFileTest, IsReadFromItsFolder) {
    const test::RunDir dir;
    dir.mark(metricsFileName("route_design"), formatMetrics(routed()));
    StepMetrics read;
    std::string reason;
    EXPECT_TRUE(readMetrics(dir.path("route_design.metrics.json"), read, reason));
    EXPECT_EQ(read.count(counts::kLuts), 1076);
}

TEST(MetricsFileTest, IsRefusedWithItsPathWhenItHoldsAGigabyte) {
    const test::RunDir dir;
    // The disk holds its beginning alone.
    dir.mark("large.json", "{\"format\":\"");
    ASSERT_EQ(::truncate(dir.path("large.json").c_str(), off_t{1} << 30), 0);
    StepMetrics read;
    std::string reason;
    EXPECT_FALSE(readMetrics(dir.path("large.json"), read, reason));
    EXPECT_EQ(reason.rfind("'" + dir.path("large.json") + "' can't be read: ", 0), 0U) << reason;
}

TEST(MetricsFileTest, IsRefusedWithItsPathWhenItIsNotThere) {
    const test::RunDir dir;
    StepMetrics read;
    std::string reason;
    EXPECT_FALSE(readMetrics(dir.path("none.json"), read, reason));
    EXPECT_EQ(reason, "'" + dir.path("none.json") + "' can't be read: No such file or directory");
}

}  // namespace
