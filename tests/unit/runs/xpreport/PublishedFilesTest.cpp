// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <map>
#include <ostream>

#include "tests/unit/runs/xpreport/reportCommandFixture.h"

namespace {

using reportConfigUtil::getRunReportMap;
using reportConfigUtil::RunReportMap;
using reportConfigUtil::updateImplConfigFileNames_;
using reportConfigUtil::updateSynthConfigFileNames_;
using test::Ids;
using test::TestParam;
using test::reports::text;

using Files = std::map<std::string, std::string>;

/// A run in which report configurations are in use.
class PublishedFilesTest : public test::ReportCommandFixture {
protected:
    /// A report on disk, whose files are "<stem>.rpt", ".rpx" and ".pb".
    HAXRReportConfig* made(const std::string& stepId, const std::string& report,
                           const std::string& stem) {
        HAXRReportConfig* const config = add(stepId, report, {}, {text("rpx"), text("pb")});
        generate(config, stem + ".rpt");
        return config;
    }
    /// The files by the ids of their types; those that are set to nothing too.
    Files published() const {
        Files files;
        const std::unique_ptr<HSTFwdKeyIter<HAXPTypes::FileType>> types(
            m_run->info().createFileTypeIter());
        while (types->hasNext()) {
            const HAXPTypes::FileType type = types->next();
            files[HAXPTypes::getFileTypeId(type)] = m_run->info().getFile(type);
        }
        return files;
    }
    /// Those that have a file.
    Files filled() const {
        Files files;
        for (const auto& [type, file] : published()) {
            if (!file.empty())
                files[type] = file;
        }
        return files;
    }
    void publish(const std::string& type, const std::string& file) {
        m_run->info().setFile(HAXPTypes::getFileType(type), file);
    }
    /// The entries as "step report rpt rpx pb".
    Ids mapped() const {
        RunReportMap map;
        getRunReportMap(m_run.get(), map);
        Ids lines;
        for (const auto& [stepId, reports] : map) {
            for (const auto& [name, files] : reports) {
                std::string line = stepId;
                for (const std::string& part : {name, files.rptFile, files.rpxFile, files.pbFile})
                    line.append(" ").append(part);
                lines.push_back(line);
            }
        }
        return lines;
    }

    const TestParam m_inUse{"project.enableReportConfiguration", true};
};

// The reports of a run -------------------------------------------------------

TEST_F(PublishedFilesTest, HoldsTheFilesOfEveryGeneratedReport) {
    made("place_design", "report_io", "a");
    made("route_design", "report_drc", "b");
    made("route_design", "report_power", "c");
    EXPECT_EQ(mapped(), (Ids{"place_design report_io a.rpt a.rpx a.pb",
                             "route_design report_drc b.rpt b.rpx b.pb",
                             "route_design report_power c.rpt c.rpx c.pb"}));
}

TEST_F(PublishedFilesTest, HoldsEmptyNamesForOutputsThatAReportLacks) {
    generate(add("route_design", "report_drc", {}, {text("pb")}), "a.rpt");
    generate(add("route_design", "report_io"), "b.rpt");
    EXPECT_EQ(mapped(),
              (Ids{"route_design report_drc a.rpt  a.pb", "route_design report_io b.rpt  "}));
}

TEST_F(PublishedFilesTest, FindsOutputsByTheirExactNames) {
    generate(add("route_design", "report_drc", {}, {text("PB"), text("RPX")}), "a.rpt");
    EXPECT_EQ(mapped(), (Ids{"route_design report_drc a.rpt  "}));
}

TEST_F(PublishedFilesTest, HoldsStaleReports) {
    made("route_design", "report_drc", "a");
    step("init_design")->updateStaleReasonsForSwParamChange();
    EXPECT_EQ(mapped(), (Ids{"route_design report_drc a.rpt a.rpx a.pb"}));
}

TEST_F(PublishedFilesTest, LeavesOutReportsNotGenerated) {
    add("route_design", "report_drc")->setReportFile("a.rpt", false);
    EXPECT_EQ(mapped(), Ids{});
}

TEST_F(PublishedFilesTest, LeavesOutAFailedReportWhoseFileIsThere) {
    HAXRReportConfig* const config = made("route_design", "report_drc", "a");
    m_dir.mark("." + config->getName() + ".fail");
    ASSERT_TRUE(config->update(false));
    ASSERT_TRUE(m_dir.has("a.rpt"));
    EXPECT_EQ(mapped(), Ids{});
}

TEST_F(PublishedFilesTest, LeavesOutADisabledReport) {
    made("route_design", "report_drc", "a")->setEnabled(false, false);
    EXPECT_EQ(mapped(), Ids{});
}

TEST_F(PublishedFilesTest, HoldsTheFirstOfTwoReportsOfAName) {
    made("route_design", "report_drc", "a");
    made("route_design", "report_drc", "b");
    EXPECT_EQ(mapped(), (Ids{"route_design report_drc a.rpt a.rpx a.pb"}));
}

TEST_F(PublishedFilesTest, HoldsTheSecondWhereTheFirstIsLeftOut) {
    made("route_design", "report_drc", "a")->setEnabled(false, false);
    made("route_design", "report_drc", "b");
    EXPECT_EQ(mapped(), (Ids{"route_design report_drc b.rpt b.rpx b.pb"}));
}

TEST_F(PublishedFilesTest, LeavesOutAReportWithoutAnyFile) {
    made("route_design", "report_drc", "a")->setReportFile("", false);
    EXPECT_EQ(mapped(), Ids{});
    made("route_design", "report_drc", "b");
    EXPECT_EQ(mapped(), (Ids{"route_design report_drc b.rpt b.rpx b.pb"}));
}

TEST_F(PublishedFilesTest, HoldsAReportWithAnOutputAlone) {
    HAXRReportConfig* const config = made("route_design", "report_drc", "a");
    config->setReportFile("", true);
    EXPECT_EQ(mapped(), (Ids{"route_design report_drc  a.rpx a.pb"}));
}

TEST_F(PublishedFilesTest, LeavesOtherEntriesOfTheMap) {
    made("route_design", "report_drc", "a");
    RunReportMap map;
    map["place_design"]["report_io"].rptFile = "kept.rpt";
    getRunReportMap(m_run.get(), map);
    EXPECT_EQ(map.size(), 2U);
    EXPECT_EQ(map["place_design"]["report_io"].rptFile, "kept.rpt");
}

TEST_F(PublishedFilesTest, HoldsNothingOfNoRun) {
    RunReportMap map;
    getRunReportMap(nullptr, map);
    EXPECT_TRUE(map.empty());
}

// Where the files are published ----------------------------------------------

/// A report, and the types of its files; empty for a file that isn't published.
struct PublishedCase {
    const char* stepId;
    const char* report;
    const char* rpt;
    const char* rpx;
    const char* pb;
};

std::ostream& operator<<(std::ostream& os, const PublishedCase& row) {
    return os << row.stepId << " " << row.report;
}

std::string caseName(const ::testing::TestParamInfo<PublishedCase>& row) {
    return std::string(row.param.stepId) + "_" + row.param.report;
}

class PublishedTable : public PublishedFilesTest,
                       public ::testing::WithParamInterface<PublishedCase> {
protected:
    static Files expected() {
        Files files;
        for (const auto& [type, file] : {std::pair(GetParam().rpt, "x.rpt"),
                                         {GetParam().rpx, "x.rpx"},
                                         {GetParam().pb, "x.pb"}}) {
            if (*type != '\0')
                files[type] = file;
        }
        return files;
    }
};

class ImplementationFiles : public PublishedTable {};

TEST_P(ImplementationFiles, ArePublished) {
    made(GetParam().stepId, GetParam().report, "x");
    updateImplConfigFileNames_(m_run.get());
    EXPECT_EQ(filled(), expected());
}

TEST_P(ImplementationFiles, AreNotThoseOfASynthesis) {
    made(GetParam().stepId, GetParam().report, "x");
    updateSynthConfigFileNames_(m_run.get());
    EXPECT_EQ(published(), Files{});
}

INSTANTIATE_TEST_SUITE_P(
    All, ImplementationFiles,
    ::testing::Values(
        PublishedCase{"init_design", "report_timing_summary", "INIT-TIMING", "", ""},
        PublishedCase{"opt_design", "report_drc", "OPT-DRC", "", ""},
        PublishedCase{"opt_design", "report_methodology", "OPT-METHODOLOGY-DRC", "", ""},
        PublishedCase{"opt_design", "report_timing_summary", "OPT-TIMING", "", ""},
        PublishedCase{"power_opt_design", "report_drc", "PWROPT-DRC", "", ""},
        PublishedCase{"power_opt_design", "report_timing_summary", "PWROPT-TIMING", "", ""},
        PublishedCase{"place_design", "report_utilization", "PLACE-UTIL", "", "PLACE-UTIL-PB"},
        PublishedCase{"place_design", "report_io", "PLACE-IO", "", ""},
        PublishedCase{"place_design", "report_timing_summary", "PLACE-TIMING", "", ""},
        PublishedCase{"place_design", "report_clock_utilization", "PLACE-CLK", "", ""},
        PublishedCase{"place_design", "report_incremental_reuse", "PLACE-SIMILARITY", "", ""},
        PublishedCase{"place_design", "report_control_sets", "PLACE-CTRL", "", ""},
        PublishedCase{"post_place_power_opt_design", "report_timing_summary",
                      "POSTPLACE-PWROPT-TIMING", "", ""},
        PublishedCase{"phys_opt_design", "report_timing_summary", "PHYSOPT-TIMING", "", ""},
        PublishedCase{"phys_opt_design", "report_drc", "PHYSOPT-DRC", "", ""},
        PublishedCase{"route_design", "report_timing_summary", "ROUTE-TIMINGSUMMARY",
                      "ROUTE-TIMING-RPX", ""},
        PublishedCase{"route_design", "report_route_status", "ROUTE-STATUS", "", "ROUTE-STATUS-PB"},
        PublishedCase{"route_design", "report_drc", "ROUTE-DRC", "ROUTE-DRC-RPX", "ROUTE-DRC-PB"},
        PublishedCase{"route_design", "report_power", "ROUTE-PWR", "ROUTE-PWR-RPX",
                      "ROUTE-PWR-SUM"},
        PublishedCase{"route_design", "report_methodology", "ROUTE-METHODOLOGY-DRC",
                      "ROUTE-METHODOLOGY-DRC-RPX", "ROUTE-METHODOLOGY-DRC-PB"},
        PublishedCase{"route_design", "report_incremental_reuse", "ROUTE-SIMILARITY", "", ""},
        PublishedCase{"route_design", "report_clock_utilization", "ROUTE-CLK", "", ""},
        PublishedCase{"route_design", "report_bus_skew", "ROUTE-BUS-SKEW", "ROUTE-BUS-SKEW-RPX",
                      "ROUTE-BUS-SKEW-PB"},
        PublishedCase{"post_route_phys_opt_design", "report_timing_summary",
                      "POSTROUTE-PHYSOPT-TIMING", "POSTROUTE-PHYSOPT-TIMING-RPX",
                      "POSTROUTE-PHYSOPT-TIMING-PB"},
        PublishedCase{"post_route_phys_opt_design", "report_bus_skew", "POSTROUTE-PHYSOPT-BUS-SKEW",
                      "POSTROUTE-PHYSOPT-BUS-SKEW-RPX", "POSTROUTE-PHYSOPT-BUS-SKEW-PB"}),
    caseName);

class SynthesisFiles : public PublishedTable {};

TEST_P(SynthesisFiles, ArePublished) {
    made(GetParam().stepId, GetParam().report, "x");
    updateSynthConfigFileNames_(m_run.get());
    EXPECT_EQ(filled(), expected());
}

TEST_P(SynthesisFiles, AreNotThoseOfAnImplementation) {
    made(GetParam().stepId, GetParam().report, "x");
    updateImplConfigFileNames_(m_run.get());
    EXPECT_EQ(published(), Files{});
}

INSTANTIATE_TEST_SUITE_P(All, SynthesisFiles,
                         ::testing::Values(PublishedCase{"synth_design", "report_drc",
                                                         "TDS-DRC-RPT", "", ""},
                                           PublishedCase{"synth_design", "report_utilization",
                                                         "KDS-UTIL", "", "KDS-UTIL-PB"},
                                           PublishedCase{"synth_design", "report_timing_summary",
                                                         "TDS-TIMINGSUMMARY", "", "TDS-TIMING-PB"}),
                         caseName);

TEST_F(PublishedFilesTest, HasTheSummaryOfThePowerReport) {
    made("route_design", "report_power", "top_power_routed");
    updateImplConfigFileNames_(m_run.get());
    EXPECT_EQ(filled()["ROUTE-PWR-SUM"], "top_power_summary_routed.pb");
}

TEST_F(PublishedFilesTest, HasTheFirstOfTwoReportsOfAName) {
    made("route_design", "report_drc", "a");
    made("route_design", "report_drc", "b");
    updateImplConfigFileNames_(m_run.get());
    EXPECT_EQ(filled()["ROUTE-DRC"], "a.rpt");
}

TEST_F(PublishedFilesTest, ClearsTheTypesOfAReportThatWentAndNoOthers) {
    HAXRReportConfig* const drc = made("route_design", "report_drc", "drc");
    made("route_design", "report_route_status", "status");
    updateImplConfigFileNames_(m_run.get());
    ASSERT_EQ(filled()["ROUTE-DRC-PB"], "drc.pb");
    m_run->deleteReportConfig(drc);
    updateImplConfigFileNames_(m_run.get());
    EXPECT_EQ(filled(), (Files{{"ROUTE-STATUS", "status.rpt"}, {"ROUTE-STATUS-PB", "status.pb"}}));
}

TEST_F(PublishedFilesTest, ClearsTheTypeOfAnOutputThatAReportLacks) {
    publish("ROUTE-DRC-PB", "old.pb");
    generate(add("route_design", "report_drc"), "a.rpt");
    updateImplConfigFileNames_(m_run.get());
    EXPECT_EQ(filled(), (Files{{"ROUTE-DRC", "a.rpt"}}));
}

TEST_F(PublishedFilesTest, KeepsTheTypesOfAStepWithoutReports) {
    HAXRReportConfig* const drc = made("route_design", "report_drc", "drc");
    made("place_design", "report_io", "io");
    updateImplConfigFileNames_(m_run.get());
    drc->setEnabled(false, false);
    updateImplConfigFileNames_(m_run.get());
    EXPECT_EQ(filled(), (Files{{"PLACE-IO", "io.rpt"},
                               {"ROUTE-DRC", "drc.rpt"},
                               {"ROUTE-DRC-RPX", "drc.rpx"},
                               {"ROUTE-DRC-PB", "drc.pb"}}));
}

TEST_F(PublishedFilesTest, KeepsTheTypesOfASynthesisWithoutReports) {
    publish("KDS-UTIL", "old.rpt");
    made("route_design", "report_drc", "drc");
    updateSynthConfigFileNames_(m_run.get());
    EXPECT_EQ(published(), (Files{{"KDS-UTIL", "old.rpt"}}));
}

TEST_F(PublishedFilesTest, ClearsTheTypesOfAStepWithAStaticReportAlone) {
    publish("ROUTE-DRC", "old.rpt");
    publish("PLACE-IO", "old_io.rpt");
    generate(addStatic("route_design", "implementation_log"), "top.tdi");
    updateImplConfigFileNames_(m_run.get());
    EXPECT_EQ(mapped(), (Ids{"route_design  top.tdi  "}));
    EXPECT_EQ(filled(), (Files{{"PLACE-IO", "old_io.rpt"}}));
}

TEST_F(PublishedFilesTest, HasNothingOfAReportOutsideTheTable) {
    made("odd_step", "report_drc", "a");
    made("route_design", "report_cdc", "b");
    updateImplConfigFileNames_(m_run.get());
    EXPECT_EQ(filled(), Files{});
}

TEST_F(PublishedFilesTest, LeavesTypesOutsideTheTableAlone) {
    publish("RL-TCL", "run.tcl");
    made("route_design", "report_drc", "a");
    updateImplConfigFileNames_(m_run.get());
    EXPECT_EQ(filled()["RL-TCL"], "run.tcl");
    EXPECT_EQ(published().count(""), 0U);
}

TEST_F(PublishedFilesTest, StayAsTheyAreWhileReportConfigurationsAreOff) {
    const TestParam off("project.enableReportConfiguration", false);
    made("route_design", "report_drc", "a");
    made("synth_design", "report_drc", "b");
    updateImplConfigFileNames_(m_run.get());
    updateSynthConfigFileNames_(m_run.get());
    EXPECT_EQ(published(), Files{});
}

TEST_F(PublishedFilesTest, NeedInformationAndARun) {
    made("route_design", "report_drc", "a");
    m_run->setExpInfoBase(nullptr);
    EXPECT_NO_THROW(updateImplConfigFileNames_(m_run.get()));
    EXPECT_NO_THROW(updateSynthConfigFileNames_(m_run.get()));
    EXPECT_NO_THROW(updateImplConfigFileNames_(nullptr));
    EXPECT_NO_THROW(updateSynthConfigFileNames_(nullptr));
}

}  // namespace
