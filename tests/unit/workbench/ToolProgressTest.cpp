// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/toolProgress.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/RunDir.h"

namespace {

using workbench::ToolLines;
using workbench::ToolProgress;
using workbench::ToolProgressReader;

/// The lines of a log that the real tools wrote.
std::vector<std::string> linesOf(const std::string& name) {
    std::ifstream file(std::string(PROGRESS_TEST_DATA) + "/" + name);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

/// What `step` is told to do, each text once in a row, over the whole log.
std::vector<std::string> progressTexts(const std::string& name, const std::string& step) {
    ToolLines tool;
    std::vector<std::string> texts;
    for (const std::string& line : linesOf(name)) {
        tool.read(line, step);
        const ToolProgress progress = tool.progress(step);
        if (progress.isKnown && (texts.empty() || texts.back() != progress.text))
            texts.push_back(progress.text);
    }
    return texts;
}

bool holds(const std::vector<std::string>& texts, const std::string& text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

/// A line of a log, the step that is at work then, and how far it is said to be.
struct LineCase {
    const char* name;
    const char* log;
    const char* step;
    /// The beginning of the last line that was read, and which one of those.
    const char* line;
    int which;
    const char* text;
    double atLeast;
    double atMost;
};

std::ostream& operator<<(std::ostream& os, const LineCase& row) {
    return os << row.name;
}

class ToolLinesTable : public ::testing::TestWithParam<LineCase> {};

TEST_P(ToolLinesTable, TellsHowFarTheStepIs) {
    const LineCase& row = GetParam();
    ToolLines tool;
    int left = row.which;
    for (const std::string& line : linesOf(row.log)) {
        tool.read(line, row.step);
        if (line.rfind(row.line, 0) == 0 && --left == 0)
            break;
    }
    ASSERT_EQ(left, 0) << "the log has no such line";
    const ToolProgress progress = tool.progress(row.step);
    ASSERT_TRUE(progress.isKnown);
    EXPECT_EQ(progress.text, row.text);
    EXPECT_GE(progress.fraction, row.atLeast);
    EXPECT_LE(progress.fraction, row.atMost);
    EXPECT_LE(progress.atLeast, progress.fraction);
    EXPECT_GE(progress.atMost, progress.fraction);
}

constexpr char kHeap[] = "heap_router1.log";
constexpr char kAnneal[] = "annealing_router2.log";
constexpr char kSynth[] = "synthesis.log";
constexpr char kPlace[] = "place_design";
constexpr char kRoute[] = "route_design";

INSTANTIATE_TEST_SUITE_P(
    Logs, ToolLinesTable,
    ::testing::Values(
        LineCase{"Packing", kHeap, kPlace, "Info: Packing carries", 1, "packing", 0, 0.05},
        LineCase{"Heap", kHeap, kPlace, "Info:     at iteration #15", 1, "placing, iteration 15",
                 0.2, 0.4},
        LineCase{"Refinement", kHeap, kPlace, "Info:   at iteration #10", 1,
                 "refining the placement, iteration 10", 0.6, 0.8},
        LineCase{"PlacementReports", kHeap, kPlace, "Command: tarnel", 1, "writing reports", 0.95,
                 0.99},
        LineCase{"PlacedAgain", kHeap, kRoute, "Info:     at iteration #15", 2,
                 "placing, iteration 15 of 30 again", 0.05, 0.12},
        LineCase{"RouterBegins", kHeap, kRoute, "Info: Routing 4336 arcs", 1,
                 "routing, 4336 arcs left", 0.25, 0.35},
        LineCase{"RouterTable", kHeap, kRoute, "Info:       6000 |", 1, "routing, 1990 arcs left",
                 0.5, 0.75},
        LineCase{"RouterEnds", kHeap, kRoute, "Info: Routing complete", 1, "routed", 0.9, 0.96},
        LineCase{"Icetime", kHeap, kRoute, "// Reading input .asc", 1, "timing", 0.9, 0.96},
        LineCase{"RouteReports", kHeap, kRoute, "Command: tarnel", 2, "writing reports", 0.95,
                 0.99},
        LineCase{"Bitstream", kHeap, "write_bitstream", "Command: icepack", 1,
                 "packing the bitstream", 0, 0.5},
        LineCase{"Annealing", kAnneal, kPlace, "Info:   at iteration #150", 1,
                 "placing by annealing, iteration 150", 0.4, 0.6},
        LineCase{"AnnealingAgain", kAnneal, kRoute, "Info:   at iteration #150", 2,
                 "placing by annealing, iteration 150 of 294 again", 0.35, 0.5},
        LineCase{"Router2", kAnneal, kRoute, "Info:     iter=2 ", 1,
                 "routing, iteration 2, 408 wires overused", 0.85, 0.93},
        LineCase{"Router2Check", kAnneal, kRoute, "Info: Router1 time", 1, "routed", 0.9, 0.96},
        LineCase{"Synthesis", kSynth, "synth_design", "4.19. Executing TECHMAP", 1,
                 "TECHMAP pass (map to technology primitives)", 0.05, 0.15},
        LineCase{"SynthesisAbc", kSynth, "synth_design", "4.34. Executing ABC", 1,
                 "ABC pass (technology mapping using ABC)", 0.7, 0.8},
        LineCase{"SynthesisEnd", kSynth, "synth_design", "5. Executing JSON", 1, "JSON backend",
                 0.9, 0.95}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ToolLinesTest, TellsOfEveryArcThatIsLeft) {
    const std::vector<std::string> texts = progressTexts("router1_ripup.log", kRoute);
    EXPECT_TRUE(holds(texts, "routing, 120 arcs left"));
    EXPECT_TRUE(holds(texts, "routing, 0 arcs left"));
    EXPECT_EQ(texts.back(), "routed");
}

TEST(ToolLinesTest, SaysOneWireAndSeveral) {
    const std::vector<std::string> texts = progressTexts(kAnneal, kRoute);
    EXPECT_TRUE(holds(texts, "routing, iteration 1, 856 wires overused"));
    ToolLines tool;
    tool.read("Info:     iter=27 wires=15827 overused=1 overuse=1 archfail=NA", kRoute);
    EXPECT_EQ(tool.progress(kRoute).text, "routing, iteration 27, 1 wire overused");
}

TEST(ToolLinesTest, KnowsNothingBeforeTheFirstLine) {
    const ToolLines tool;
    EXPECT_FALSE(tool.progress(kRoute).isKnown);
    EXPECT_FALSE(tool.progress("").isKnown);
}

TEST(ToolLinesTest, DoesNotTakeTheStepBeforeForTheOneThatBegan) {
    ToolLines tool;
    tool.read("Command: nextpnr-ice40 --hx8k --no-route", kPlace);
    tool.read("Command: tarnel -mode batch", kPlace);
    EXPECT_TRUE(tool.progress(kPlace).isKnown);
    EXPECT_FALSE(tool.progress(kRoute).isKnown);
}

TEST(ToolLinesTest, AsksTheStepWhoseLinesTheyAreWhenTheStartIsMissing) {
    ToolLines tool;
    tool.read("Info:       6000 |     2227       3717 |  501   497 |      1990|  0.44  3.00|",
              kRoute);
    EXPECT_EQ(tool.progress(kRoute).text, "routing, 1990 arcs left");
}

TEST(ToolLinesTest, MakesNothingOfLinesThatOnlyLookAlike) {
    ToolLines tool;
    for (const char* line :
         {"1990", "| | | |", "Info: |||||", "4.19. Executing", ". Executing ABC pass",
          "Info: ", "Info: at iteration #", "Info: at iteration #-3", "Info: iter= overused=x",
          "Info: Routing", "Info: Running"})
        tool.read(line, kRoute);
    EXPECT_FALSE(tool.progress(kRoute).isKnown);
}

TEST(ToolLinesTest, EscapesWhatATerminalWouldObey) {
    ToolLines tool;
    tool.read("4.1. Executing X\x1b[2J pass", "synth_design");
    EXPECT_EQ(tool.progress("synth_design").text, "X\\x1b[2J pass");
}

/// A log that grows.
class ToolProgressReaderTest : public ::testing::Test {
protected:
    void append(const std::string& text) const {
        std::ofstream(m_dir.path("runme.log"), std::ios::app | std::ios::binary) << text;
    }
    std::string textOf(const std::string& step) { return m_reader.read(step).text; }

    static std::string row(int arcs) {
        return "Info:       6000 |     2227       3717 |  501   497 |      " +
               std::to_string(arcs) + "|       0.44       3.00|\n";
    }
    void route(int arcs) const {
        append("Command: nextpnr-ice40 --asc x --placer heap\nInfo: Routing " +
               std::to_string(arcs) + " arcs.\n");
    }

    test::RunDir m_dir;
    ToolProgressReader m_reader{m_dir.path("runme.log")};
};

TEST_F(ToolProgressReaderTest, KnowsNothingWithoutALog) {
    EXPECT_FALSE(m_reader.read(kRoute).isKnown);
    append("");
    EXPECT_FALSE(m_reader.read(kRoute).isKnown);
}

TEST_F(ToolProgressReaderTest, ReadsOnlyWhatWasAppended) {
    route(4000);
    append(row(3000));
    EXPECT_EQ(textOf(kRoute), "routing, 3000 arcs left");
    const std::size_t before = m_reader.bytesRead();
    EXPECT_EQ(textOf(kRoute), "routing, 3000 arcs left");
    EXPECT_EQ(m_reader.bytesRead(), before);
    append(row(17));
    EXPECT_EQ(textOf(kRoute), "routing, 17 arcs left");
    EXPECT_EQ(m_reader.bytesRead(), before + row(17).size());
}

TEST_F(ToolProgressReaderTest, WaitsForTheEndOfALine) {
    route(4000);
    const std::string whole = row(3000);
    append(whole.substr(0, 60));
    EXPECT_EQ(textOf(kRoute), "routing, 4000 arcs left");
    append(whole.substr(60));
    EXPECT_EQ(textOf(kRoute), "routing, 3000 arcs left");
}

TEST_F(ToolProgressReaderTest, NeverFallsBackWithinAStep) {
    route(4000);
    append(row(1000));
    const double before = m_reader.read(kRoute).fraction;
    append(row(2000));
    const ToolProgress after = m_reader.read(kRoute);
    EXPECT_EQ(after.fraction, before);
    EXPECT_EQ(after.text, "routing, 2000 arcs left");
}

TEST_F(ToolProgressReaderTest, StartsAnewWhenTheToolIsStartedAnew) {
    route(4000);
    append(row(10));
    EXPECT_GT(m_reader.read(kRoute).fraction, 0.8);
    append("Command: nextpnr-ice40 --asc x --placer heap\n");
    EXPECT_LT(m_reader.read(kRoute).fraction, 0.1);
}

TEST_F(ToolProgressReaderTest, ReadsAShorterLogFromItsStart) {
    route(4000);
    append(row(10));
    m_reader.read(kRoute);
    ASSERT_EQ(truncate(m_dir.path("runme.log").c_str(), 0), 0);
    route(500);
    EXPECT_EQ(textOf(kRoute), "routing, 500 arcs left");
}

TEST_F(ToolProgressReaderTest, ReadsAReplacedLogFromItsStart) {
    route(4000);
    append(row(10));
    m_reader.read(kRoute);
    std::ofstream(m_dir.path("next")) << "Command: nextpnr-ice40 --no-route\n"
                                      << std::string(4000, 'x') << '\n';
    ASSERT_EQ(rename(m_dir.path("next").c_str(), m_dir.path("runme.log").c_str()), 0);
    EXPECT_FALSE(m_reader.read(kRoute).isKnown);
    EXPECT_EQ(textOf(kPlace), "packing");
}

TEST_F(ToolProgressReaderTest, ForgetsALogThatWentAway) {
    route(4000);
    m_reader.read(kRoute);
    ASSERT_EQ(unlink(m_dir.path("runme.log").c_str()), 0);
    EXPECT_FALSE(m_reader.read(kRoute).isKnown);
}

TEST_F(ToolProgressReaderTest, PassesOverTheStartOfAHugeLog) {
    route(4000);
    append(std::string(9000000, 'x') + "\n" + row(77));
    EXPECT_EQ(textOf(kRoute), "routing, 77 arcs left");
    EXPECT_LE(m_reader.bytesRead(), 4U * 1024 * 1024);
}

TEST_F(ToolProgressReaderTest, SurvivesALineThatNeverEnds) {
    route(4000);
    for (int i = 0; i < 40; ++i) {
        append(std::string(1000000, 'y'));
        EXPECT_EQ(textOf(kRoute), "routing, 4000 arcs left");
    }
    append("\n" + row(5));
    EXPECT_EQ(textOf(kRoute), "routing, 5 arcs left");
}

TEST_F(ToolProgressReaderTest, SurvivesABinaryLog) {
    std::string noise;
    unsigned state = 1;
    for (int i = 0; i < 300000; ++i) {
        state = state * 1103515245U + 12345U;
        noise += static_cast<char>(state >> 16U);
    }
    append(noise);
    const ToolProgress progress = m_reader.read(kRoute);
    EXPECT_GE(progress.fraction, 0);
    EXPECT_LE(progress.fraction, 1);
}

TEST_F(ToolProgressReaderTest, LeavesAPipeAlone) {
    ASSERT_EQ(mkfifo(m_dir.path("runme.log").c_str(), 0600), 0);
    EXPECT_FALSE(m_reader.read(kRoute).isKnown);
}

TEST_F(ToolProgressReaderTest, KeepsAFractionBetween0And1WhereverALogIsCut) {
    for (const char* name : {kHeap, kAnneal, kSynth, "router1_ripup.log"}) {
        for (const char* step : {"synth_design", kPlace, kRoute, "write_bitstream"}) {
            ToolLines tool;
            for (const std::string& line : linesOf(name)) {
                tool.read(line, step);
                const ToolProgress progress = tool.progress(step);
                ASSERT_GE(progress.atLeast, 0) << line;
                ASSERT_LE(progress.atLeast, progress.fraction + 1e-9) << line;
                ASSERT_LE(progress.fraction, 1) << line;
                ASSERT_LE(progress.fraction, progress.atMost + 1e-9) << line;
            }
        }
    }
}

}  // namespace
