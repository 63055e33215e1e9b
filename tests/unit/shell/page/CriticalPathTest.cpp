// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/criticalPath.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/workbench/TestBench.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/ice40/metrics.h"
#include "workbench/ice40/placement.h"

namespace {

/// Two paths: the slower one isn't of a clock.
const char kReport[] = R"({"utilization": {"SB_IO": {"used": 3, "available": 206},
  "ICESTORM_LC": {"used": 40, "available": 7680}, "ODD": {"used": 1, "available": 2},
  "NONE": {"used": 0, "available": 0}},
 "fmax": {"clk$SB_IO_IN_$glb_clk": {"achieved": 100.0, "constraint": 50.0}},
 "critical_paths": [
  {"from": "posedge clk$SB_IO_IN_$glb_clk", "to": "<async>", "path": [
    {"type": "clk-to-q", "delay": 90, "from": {"cell": "a", "port": "C"}, "to": {"cell": "a", "port": "O"}}]},
  {"from": "posedge clk$SB_IO_IN_$glb_clk", "to": "posedge clk$SB_IO_IN_$glb_clk", "path": [
    {"type": "clk-to-q", "delay": 0.5, "from": {"cell": "count_LC", "port": "C"},
     "to": {"cell": "count_DFFLC", "port": "O", "loc": [1, 2]}},
    {"type": "routing", "delay": 1.5, "net": "count[3]", "from": {"cell": "count_DFFLC", "port": "O"},
     "to": {"cell": "sum_LC", "port": "I0", "loc": [3, 4]}},
    {"type": "logic", "delay": 0.25, "from": {"cell": "sum_LC", "port": "I0", "loc": [3, 4]},
     "to": {"cell": "sum_LC", "port": "O", "loc": [3, 4]}},
    {"type": "setup", "delay": 0.125, "from": {"cell": "x_LC", "port": "I0"},
     "to": {"cell": "x_LC", "port": "I0", "loc": [3, 5]}}]}]})";

const char kNetlist[] = R"({"modules": {"blinky": {"attributes": {"top": "1"}, "ports": {},
 "cells": {
  "count": {"type": "SB_DFF", "attributes": {"src": "/home/me/blinky.v:7.3-9.4"}, "port_directions": {}, "connections": {}},
  "sum": {"type": "SB_LUT4", "attributes": {"src": "/usr/share/yosys/x.v:1.1|/home/me/blinky.v:12.1"}, "port_directions": {}, "connections": {}}},
 "netnames": {"count": {"hide_name": 0, "bits": [2, 3, 4, 5], "attributes": {"src": "/home/me/blinky.v:3.7-3.9"}}}}}})";

/// An implementation that was routed from a netlist.
class CriticalPathTest : public ::testing::Test {
protected:
    CriticalPathTest() : m_run(m_bench.makeRun(test::TestBench::implementation())) {
        m_bench.folder().mark("netlist.json", kNetlist);
        DesignInputs inputs = m_bench.inputs();
        inputs.netlist = m_bench.path("netlist.json");
        m_run->setRunDir(m_bench.path("run"), false);
        m_bench.folder().folder("run");
        m_run->getInfo().setInputs(inputs);
        leave(kReport);
        m_bench.finish(*m_run, 1000000);
        m_run->getInfo().readMetrics();
    }

    /// What place and route leave, with `report` as nextpnr's.
    void leave(const std::string& report) const {
        const DesignInputs& inputs = m_run->getInfo().getInputs();
        ice40::Placement placed;
        placed.top = "blinky";
        placed.device = "hx8k";
        placed.package = "ct256";
        placed.netlist = inputs.netlist;
        placed.constraints = inputs.constraints;
        placed.freqMhz = 12;
        placed.inputs = ice40::fingerprintInputs(inputs.netlist, inputs.constraints);
        placed.checksums = {"0x1"};
        m_bench.folder().mark("run/placed.json", ice40::formatPlacement(placed));
        ice40::StepMetrics metrics;
        metrics.step = "route_design";
        metrics.files = {{ice40::files::kReport, "report.json"},
                         {ice40::files::kPlacement, "placed.json"}};
        m_bench.folder().mark("run/route_design.metrics.json", ice40::formatMetrics(metrics));
        m_bench.folder().mark("run/report.json", report);
    }
    shell::RoutedFacts facts() {
        shell::PathSources sources;
        return shell::routedFacts(*m_run, shell::readRouted(shell::routedPlaces(*m_run)), sources);
    }

    test::TestBench m_bench;
    std::unique_ptr<HAXPExpRun> m_run;
};

TEST_F(CriticalPathTest, APathOfAClockCountsBeforeASlowerOneOfNone) {
    const shell::RoutedFacts found = facts();
    ASSERT_TRUE(found.path);
    EXPECT_EQ(found.path->clock, "clk");
    EXPECT_DOUBLE_EQ(found.path->ns, 2.375);
    EXPECT_EQ(found.path->levels, 1);
}

TEST_F(CriticalPathTest, ItsPartsAreTheSumsOfItsHops) {
    const shell::RoutedFacts found = facts();
    EXPECT_DOUBLE_EQ(found.path->clockToQ, 0.5);
    EXPECT_DOUBLE_EQ(found.path->routing, 1.5);
    EXPECT_DOUBLE_EQ(found.path->logic, 0.25);
    EXPECT_DOUBLE_EQ(found.path->setup, 0.125);
}

TEST_F(CriticalPathTest, HopsTellCellNetPlaceAndSource) {
    const shell::RoutedFacts found = facts();
    ASSERT_EQ(found.path->stops.size(), 4U);
    const shell::PathStop& start = found.path->stops[0];
    EXPECT_EQ(start.cell, "count_DFFLC");
    EXPECT_EQ(start.source, "blinky.v:7");
    EXPECT_EQ(start.place, std::make_pair(1, 2));
    const shell::PathStop& net = found.path->stops[1];
    EXPECT_EQ(net.net, "count[3]");
    EXPECT_EQ(net.cell, "");
    EXPECT_EQ(net.source, "blinky.v:3");
    EXPECT_EQ(found.path->stops[2].source, "blinky.v:12");
    EXPECT_EQ(found.path->stops[3].source, "");
}

TEST_F(CriticalPathTest, ANetlistThatWasNotPlacedTellsNoSources) {
    std::string other = kNetlist;
    other.replace(other.find("SB_DFF"), 6, "SB_DFFE");
    m_bench.folder().mark("netlist.json", other);
    const shell::RoutedFacts found = facts();
    ASSERT_TRUE(found.path);
    for (const shell::PathStop& stop : found.path->stops)
        EXPECT_EQ(stop.source, "");
}

TEST_F(CriticalPathTest, WhatTheDeviceHasIsToldInWords) {
    const shell::RoutedFacts found = facts();
    ASSERT_EQ(found.use.size(), 3U);
    EXPECT_EQ(found.use[0].name, "logic cells");
    EXPECT_EQ(found.use[0].used, 40);
    EXPECT_EQ(found.use[0].of, 7680);
    EXPECT_EQ(found.use[1].name, "I/O cells");
    EXPECT_EQ(found.use[2].name, "ODD");
}

TEST_F(CriticalPathTest, AReportThatIsCutShortTellsNothing) {
    const std::string report = kReport;
    for (std::size_t size = 0; size + 1 < report.size(); size += 7) {
        leave(report.substr(0, size));
        const shell::RoutedFacts found = facts();
        EXPECT_FALSE(found.path) << size;
        EXPECT_TRUE(found.use.empty()) << size;
    }
}

TEST_F(CriticalPathTest, AReportOutsideTheRunDirectoryIsNoneOfTheRuns) {
    m_bench.folder().mark("report.json", kReport);
    ice40::StepMetrics metrics;
    metrics.step = "route_design";
    metrics.files = {{ice40::files::kReport, "../report.json"}};
    m_bench.folder().mark("run/route_design.metrics.json", ice40::formatMetrics(metrics));
    m_run->getInfo().readMetrics();
    EXPECT_FALSE(facts().path);
}

}  // namespace
