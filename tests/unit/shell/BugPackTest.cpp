// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/bugPack.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace shell;

namespace {

using Texts = std::vector<std::string>;

TEST(PathMapTest, ReplacesWholePathsTheLongestFirst) {
    PathMap paths;
    paths.add("/a", "A");
    paths.add("/a/b.v", "../design/b.v");
    paths.add("", "never");
    paths.add("/", "never");
    EXPECT_EQ(paths.apply("\"/a/b.v\" /a/c /ab /a/b.vh x/a /a"),
              "\"../design/b.v\" A/c /ab A/b.vh x/a A");
    EXPECT_EQ(paths.apply("in /a/b.v."), "in ../design/b.v.");
    EXPECT_EQ(paths.apply("-I/a -Ix/a"), "-IA -Ix/a");
    EXPECT_EQ(paths.apply(""), "");
}

TEST(PlainCommandsTest, AreThoseOfTheLastStep) {
    const Texts log{"Command: nextpnr-ice40 --json t.json --no-route", "Info: x",
                    "Command: /opt/tarnel -mode batch",
                    "Command: nextpnr-ice40 --json t.json --asc t.asc",
                    "Command: icetime -d hx8k -p .t.part -t -r r t.asc"};
    EXPECT_EQ(plainCommands(log, "route_design"),
              (Texts{"nextpnr-ice40 --json t.json --asc t.asc", "icetime -d hx8k -t -r r t.asc"}));
    EXPECT_EQ(plainCommands(log, "write_bitstream"), Texts{});
    EXPECT_EQ(plainCommands({log[0]}, "place_design"),
              Texts{"nextpnr-ice40 --json t.json --no-route"});
}

TEST(PlainCommandsTest, OfAStepThatCalledNoToolAreNone) {
    const Texts placed{"Command: nextpnr-ice40 --json t.json --no-route"};
    EXPECT_EQ(plainCommands(placed, "init_design"), Texts{});
    EXPECT_EQ(plainCommands(placed, "route_design"), Texts{});
    EXPECT_EQ(plainCommands({}, "synth_design"), Texts{});
}

TEST(PlainCommandsTest, WriteToFilesInThePlaceOfDescriptors) {
    EXPECT_EQ(
        plainCommands({"Command: yosys -L /dev/fd/1 -p 'tee -o /dev/fd/11 stat; write_json "
                       "/dev/fd/10; tee -o /dev/fd/12 stat'"},
                      "synth_design"),
        Texts{"yosys -L /dev/stdout -p 'tee -o before.json stat; write_json netlist.json; tee "
              "-o stat.json stat'"});
}

TEST(CutProjectTest, LeavesTheNamedRuns) {
    const std::string project = "<Project>\n  <Run Name=\"a\">\n    <X/>\n  </Run>\n  <Run "
                                "Name=\"b\" Dir=\"d\"/>\n  <Run Name=\"c\"/>\n</Project>\n";
    EXPECT_EQ(cutProject(project, {"b"}), "<Project>\n  <Run Name=\"b\" Dir=\"d\"/>\n</Project>\n");
    EXPECT_EQ(cutProject(project, {"a"}),
              "<Project>\n  <Run Name=\"a\">\n    <X/>\n  </Run>\n</Project>\n");
    EXPECT_EQ(cutProject(project, {"a", "b", "c"}), project);
}

TEST(CommonFolderTest, IsTheDeepestThatHoldsAll) {
    EXPECT_EQ(commonFolder({"/a/b/c.v"}), "/a/b");
    EXPECT_EQ(commonFolder({"/a/b/c.v", "/a/b/d/e.v"}), "/a/b");
    EXPECT_EQ(commonFolder({"/a/b/c.v", "/a/bc/e.v"}), "/a");
    EXPECT_EQ(commonFolder({"/a/c.v", "/b/c.v"}), "");
    EXPECT_EQ(commonFolder({}), "");
}

}  // namespace
