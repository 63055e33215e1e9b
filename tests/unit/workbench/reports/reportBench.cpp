// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/workbench/reports/reportBench.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "workbench/ice40/metrics.h"
#include "workbench/ice40/placement.h"
#include "workbench/reports/reportCommands.h"

namespace test {

namespace {

namespace files = ice40::files;

ice40::StepMetrics metricsOf(const std::string& step) {
    ice40::StepMetrics metrics;
    metrics.step = step;
    metrics.tool = step == "synth_design" ? "Yosys 0.23" : "nextpnr-ice40 0.4";
    metrics.counts[ice40::counts::kLuts] = 3;
    metrics.counts[ice40::counts::kFlipFlops] = 4;
    metrics.files[files::kNetlist] = "top.json";
    return metrics;
}

const reports::Section* findSection(const reports::Report& report, const std::string& title) {
    const auto found =
        std::find_if(report.sections.begin(), report.sections.end(),
                     [&](const reports::Section& section) { return section.title == title; });
    EXPECT_NE(found, report.sections.end()) << "no section " << title;
    return found == report.sections.end() ? nullptr : &*found;
}

}  // namespace

ReportBench::ReportBench() : m_before(std::filesystem::current_path().string()) {
    std::filesystem::current_path(m_dir.path());
    writeMetrics_();
    place(netlist(), constraints());
    m_dir.mark("synth_design.stat.json",
               R"({"creator":"Yosys 0.23","design":{"num_cells":9,"num_cells_by_type":
                  {"SB_DFFE":3,"SB_DFFN":1,"SB_LUT4":3,"SB_CARRY":1,"SB_RAM40_4K":1}}})");
    m_dir.mark("place_design.report.json",
               R"({"critical_paths":[],"fmax":{},"utilization":
                  {"ICESTORM_LC":{"used":5,"available":10},"SB_GB":{"used":1,"available":8},
                   "SB_WARMBOOT":{"used":0,"available":1}}})");
    m_dir.mark("route_design.report.json", pnrReport());
    m_dir.mark("top.asc", routed());
    m_dir.mark("route_design.timing.rpt", icetime());
}

ReportBench::~ReportBench() {
    std::filesystem::current_path(m_before);
}

void ReportBench::writeMetrics_() const {
    ice40::StepMetrics synth = metricsOf("synth_design");
    synth.files[files::kStat] = "synth_design.stat.json";
    ice40::StepMetrics place = metricsOf("place_design");
    place.clocks = {{"clk$SB_IO_IN_$glb_clk", 110, 125}};
    place.files[files::kPlacement] = "place_design.json";
    place.files[files::kReport] = "place_design.report.json";
    place.files[files::kConstraints] = "top.pcf";
    ice40::StepMetrics route = place;
    route.step = "route_design";
    route.clocks = {{"clk$SB_IO_IN_$glb_clk", 100, 125}};
    route.icetimeMhz = 95.0;
    route.files[files::kReport] = "route_design.report.json";
    route.files[files::kRouted] = "top.asc";
    route.files[files::kTiming] = "route_design.timing.rpt";
    for (const ice40::StepMetrics* metrics : {&synth, &place, &route})
        m_dir.mark(ice40::metricsFileName(metrics->step), formatMetrics(*metrics));
}

void ReportBench::place(const std::string& netlist, const std::string& constraints) const {
    m_dir.mark("top.json", netlist);
    m_dir.mark("top.pcf", constraints);
    ice40::Placement placement;
    placement.top = "top";
    placement.device = "hx8k";
    placement.package = "ct256";
    placement.netlist = "top.json";
    placement.constraints = "top.pcf";
    placement.freqMhz = 125;
    placement.inputs = ice40::fingerprintInputs("top.json", "top.pcf");
    placement.checksums = {"0x1"};
    m_dir.mark("place_design.json", formatPlacement(placement));
}

std::string ReportBench::otherNetlist() {
    std::string text = netlist();
    const std::string bits = R"("bits":[10,11])";
    return text.replace(text.find(bits), bits.size(), R"("bits":[11,10])");
}

std::string ReportBench::netlist() {
    return R"({"creator":"Yosys 0.23","modules":{"top":{"attributes":{"top":1},
  "ports":{
    "clk":{"direction":"input","bits":[2]},
    "go":{"direction":"input","bits":[3]},
    "unread":{"direction":"input","bits":[4]},
    "led":{"direction":"output","bits":[10,11]},
    "quiet":{"direction":"output","bits":["0"]}},
  "cells":{
    "core.a":{"type":"SB_DFFE","attributes":{"src":"/home/me/core.v:7.5-9.8|/usr/bin/../share/yosys/ice40/ff_map.v:5.5-5.9"},
      "port_directions":{"C":"input","D":"input","E":"input","Q":"output"},
      "connections":{"C":[2],"D":[20],"E":[3],"Q":[10]}},
    "core.b":{"type":"SB_DFFE","attributes":{},
      "port_directions":{"C":"input","D":"input","E":"input","Q":"output"},
      "connections":{"C":[2],"D":[21],"E":[3],"Q":[11]}},
    "core.sub.c":{"type":"SB_DFFE","attributes":{},
      "port_directions":{"C":"input","D":"input","E":"input","Q":"output"},
      "connections":{"C":[2],"D":[21],"E":[22],"Q":[23]}},
    "d":{"type":"SB_DFFN","attributes":{},
      "port_directions":{"C":"input","D":"input","Q":"output"},
      "connections":{"C":[2],"D":[23],"Q":[24]}},
    "lut_a":{"type":"SB_LUT4","attributes":{"src":"/usr/share/yosys/ice40/cells_map.v:1.1-1.2"},
      "port_directions":{"I0":"input","I1":"input","I2":"input","I3":"input","O":"output"},
      "connections":{"I0":[10],"I1":[3],"I2":["0"],"I3":[25],"O":[20]}},
    "lut_b":{"type":"SB_LUT4","attributes":{},
      "port_directions":{"I0":"input","I1":"input","I2":"input","I3":"input","O":"output"},
      "connections":{"I0":[11],"I1":[24],"I2":["0"],"I3":["0"],"O":[21]}},
    "lut_c":{"type":"SB_LUT4","attributes":{},
      "port_directions":{"I0":"input","I1":"input","I2":"input","I3":"input","O":"output"},
      "connections":{"I0":[24],"I1":["0"],"I2":["0"],"I3":["0"],"O":[22]}},
    "carry":{"type":"SB_CARRY","attributes":{},
      "port_directions":{"CI":"input","I0":"input","I1":"input","CO":"output"},
      "connections":{"CI":["0"],"I0":[24],"I1":["1"],"CO":[25]}},
    "ram":{"type":"SB_RAM40_4K","attributes":{},
      "port_directions":{"RCLK":"input","WCLK":"input","WCLKE":"input","RDATA":"output"},
      "connections":{"RCLK":[2],"WCLK":[2],"WCLKE":[22],"RDATA":[30,31]}}},
  "netnames":{
    "clk":{"hide_name":0,"bits":[2],"attributes":{"src":"/home/me/top.v:3.1-3.4"}},
    "core.clk":{"hide_name":0,"bits":[2],"attributes":{}},
    "go":{"hide_name":0,"bits":[3],"attributes":{}},
    "led":{"hide_name":0,"bits":[10,11],"attributes":{"src":"/home/me/top.v:5.1-5.4"}},
    "core.next":{"hide_name":0,"bits":[20,21],"attributes":{}},
    "$abc$1":{"hide_name":1,"bits":[22],"attributes":{}},
    "core.c":{"hide_name":0,"bits":[23],"attributes":{}}}}}})";
}

std::string ReportBench::constraints() {
    return "# Pins\nset_io clk J3\nset_io go B1\nset_io unread C1\nset_io led[0] B5\n"
           "set_io quiet A1\nset_frequency clk 125\n";
}

std::string ReportBench::pnrReport() {
    return R"({"critical_paths":[
  {"from":"posedge clk$SB_IO_IN_$glb_clk","to":"posedge clk$SB_IO_IN_$glb_clk","path":[
    {"type":"clk-to-q","delay":0.5,"from":{"cell":"lut_a_LC","port":"CLK","loc":[1,2]},
     "to":{"cell":"core.a_DFFLC","port":"O","loc":[1,2]}},
    {"type":"routing","delay":4,"net":"led[0]$SB_IO_OUT","budget":3.5,
     "from":{"cell":"core.a_DFFLC","port":"O","loc":[1,2]},
     "to":{"cell":"lut_a_LC","port":"I0","loc":[3,4]}},
    {"type":"logic","delay":2.5,"from":{"cell":"lut_a_LC","port":"I0","loc":[3,4]},
     "to":{"cell":"lut_a_LC","port":"O","loc":[3,4]}},
    {"type":"routing","delay":2,"net":"core.next[0]",
     "from":{"cell":"lut_a_LC","port":"O","loc":[3,4]},
     "to":{"cell":"core.a_DFFLC","port":"I0","loc":[1,2]}},
    {"type":"setup","delay":1,"from":{"cell":"core.a_DFFLC","port":"I0","loc":[1,2]},
     "to":{"cell":"core.a_DFFLC","port":"I0","loc":[1,2]}}]},
  {"from":"<async>","to":"negedge clk$SB_IO_IN_$glb_clk","path":[
    {"type":"source","delay":0,"from":{"cell":"go$sb_io","port":"D_IN_0"},
     "to":{"cell":"go$sb_io","port":"D_IN_0"}},
    {"type":"routing","delay":1.25,"net":"go$SB_IO_IN",
     "from":{"cell":"go$sb_io","port":"D_IN_0"},"to":{"cell":"d_LC","port":"I0"}}]}],
 "detailed_net_timings":[
  {"driver":"lut_a_LC","event":"posedge clk","net":"core.next[0]","port":"O","endpoints":[
    {"budget":1,"cell":"core.a_DFFLC","delay":9,"event":"posedge clk","port":"I0"}]},
  {"driver":"core.a_DFFLC","event":"posedge clk","net":"led[0]$SB_IO_OUT","port":"O","endpoints":[
    {"budget":1,"cell":"lut_a_LC","delay":4.5,"event":"posedge clk","port":"I0"}]}],
 "fmax":{"clk$SB_IO_IN_$glb_clk":{"achieved":100,"constraint":125}},
 "utilization":{"ICESTORM_LC":{"used":5,"available":10},"SB_GB":{"used":1,"available":8},
  "SB_WARMBOOT":{"used":0,"available":1}}})";
}

std::string ReportBench::routed() {
    return ".comment from next-pnr\n.device 8k\n.logic_tile 1 1\n0000\n\n"
           ".sym 7 clk$SB_IO_IN_$glb_clk\n.sym 8 core.next[0]\n.sym 9 core.next[0]\n"
           ".sym 10 core.next[0]\n.sym 11 reset_$glb_sr\n";
}

std::string ReportBench::icetime() {
    return "icetime topological timing analysis report\n\n"
           "Total number of logic levels: 1\nTotal path delay: 10.53 ns (95.00 MHz)\n\n";
}

reports::Report ReportBench::make(const std::string& command, const std::string& step,
                                  const std::vector<std::string>& words) const {
    const auto& all = reports::reportCommands();
    const auto found = std::find_if(all.begin(), all.end(), [&](const reports::ReportCommand& one) {
        return command == one.name;
    });
    EXPECT_NE(found, all.end()) << command;
    const reports::StepResults results(step);
    return makeReport(*found, results, reports::ReportOptions(command, allOptions(*found), words));
}

std::vector<std::string> columnOf(const reports::Report& report, const std::string& section,
                                  const std::string& column) {
    const reports::Section* found = findSection(report, section);
    std::vector<std::string> texts;
    if (found == nullptr)
        return texts;
    const auto at = std::find_if(found->columns.begin(), found->columns.end(),
                                 [&](const reports::Column& one) { return one.title == column; });
    EXPECT_NE(at, found->columns.end()) << "no column " << column;
    const auto index = static_cast<std::size_t>(at - found->columns.begin());
    for (const std::vector<reports::Cell>& row : found->rows)
        texts.push_back(row.at(index).text);
    return texts;
}

std::string linesOf(const reports::Report& report, const std::string& section) {
    const reports::Section* found = findSection(report, section);
    std::string text;
    if (found != nullptr)
        for (const std::string& line : found->lines)
            text += line + "\n";
    return text;
}

double figureOf(const reports::Report& report, const std::string& name) {
    for (const reports::Figure& figure : report.figures)
        if (figure.name == name)
            return figure.value;
    ADD_FAILURE() << "no figure " << name;
    return 0;
}

bool hasFigure(const reports::Report& report, const std::string& name) {
    return std::any_of(report.figures.begin(), report.figures.end(),
                       [&](const reports::Figure& figure) { return figure.name == name; });
}

}  // namespace test
