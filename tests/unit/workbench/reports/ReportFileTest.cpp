// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/thrownText.h"
#include "tests/unit/workbench/reports/reportBench.h"
#include "workbench/ice40/stepFailure.h"
#include "workbench/reports/reportCommands.h"

namespace {

/// Where a report may go.
class ReportFileTest : public ::testing::Test {
protected:
    static std::string refusal(const std::string& path) {
        return test::thrownText<ice40::StepFailure>(
            [&] { reports::requireReportFile("report_x", path); });
    }

    static void expectRefused(const std::string& path, const std::string& why) {
        EXPECT_EQ(refusal(path), "report_x: the report can't go to '" + path + "': " + why +
                                     ". Name a file of its own in the run directory, such as "
                                     "timing.rpt.");
    }

    test::ReportBench m_bench;
};

constexpr const char* kAllowed = "nothing thrown";

TEST_F(ReportFileTest, IsANameInTheRunDirectory) {
    EXPECT_EQ(refusal("timing.rpt"), kAllowed);
    EXPECT_EQ(refusal("two words.rpt"), kAllowed);
    EXPECT_EQ(refusal(m_bench.dir().path("absolute.rpt")), kAllowed);
    m_bench.dir().folder("sub");
    EXPECT_EQ(refusal("sub/timing.rpt"), kAllowed);
}

TEST_F(ReportFileTest, CantLeaveTheRunDirectory) {
    expectRefused("../x.rpt", "'..' leads out of the folder that stands before it");
    expectRefused("sub/../x.rpt", "'..' leads out of the folder that stands before it");
    expectRefused("/tmp/x.rpt", "that folder isn't in the run directory");
    expectRefused("missing/x.rpt", "that folder isn't in the run directory");
}

TEST_F(ReportFileTest, CantLeaveThroughALinkedFolder) {
    const test::RunDir outside;
    std::filesystem::create_directory_symlink(outside.path(), "link");
    expectRefused("link/x.rpt", "that folder isn't in the run directory");
}

TEST_F(ReportFileTest, CantBeALinkOrAFolder) {
    const test::RunDir outside;
    outside.mark("precious.rpt", "Report report_x: old");
    std::filesystem::create_symlink(outside.path("precious.rpt"), "link.rpt");
    expectRefused("link.rpt", "that is no regular file");
    m_bench.dir().folder("sub");
    expectRefused("sub", "that is no regular file");
}

TEST_F(ReportFileTest, CantBeAMarkerOrNoName) {
    expectRefused(".route_design.end.rst", "hidden names are kept for the markers of the run");
    expectRefused("", "that is no name of a file");
    expectRefused("sub/", "that is no name of a file");
    expectRefused(".", "that is no name of a file");
}

TEST_F(ReportFileTest, TakesThePlaceOfNothingButAReport) {
    expectRefused("top.json", "that is a file of another kind, which would be lost");
    m_bench.dir().mark("old.rpt", "Report report_io: I/O placement\n");
    EXPECT_EQ(refusal("old.rpt"), kAllowed);
    m_bench.dir().mark("old.json", "{\n  \"format\": \"xperiment-report\",\n");
    EXPECT_EQ(refusal("old.json"), kAllowed);
    m_bench.dir().mark("empty.rpt");
    EXPECT_EQ(refusal("empty.rpt"), kAllowed);
}

}  // namespace
