// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/toolStamps.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/RunDir.h"
#include "workbench/ice40/toolVersion.h"

namespace {

using workbench::ToolChange;
using workbench::ToolStamp;
using workbench::ToolStamps;

/// A search path with tools of the test's own in front, which note when they are asked.
class ToolStampsTest : public ::testing::Test {
protected:
    ToolStampsTest() {
        const char* path = std::getenv("PATH");
        m_path = path != nullptr ? path : "";
        ::setenv("PATH", (m_dir.path() + ":" + m_path).c_str(), 1);
        install("yosys", "Yosys 0.23 (git sha1 0123)");
    }
    ~ToolStampsTest() override { ::setenv("PATH", m_path.c_str(), 1); }

    /// A program of that name which says `version`; in the place of an earlier one.
    void install(const std::string& tool, const std::string& version) const {
        m_dir.mark(tool + ".new", "#!/bin/sh\necho asked >>'" + m_dir.path("asked") + "'\necho '" +
                                      version + "'\n");
        ::chmod(m_dir.path(tool + ".new").c_str(), 0755);
        std::rename(m_dir.path(tool + ".new").c_str(), m_dir.path(tool).c_str());
    }
    void hideAll() const { ::setenv("PATH", m_dir.path("nothing").c_str(), 1); }
    /// How often a tool was asked.
    std::size_t asked() const {
        return m_dir.has("asked") ? m_dir.read("asked").size() / std::string("asked\n").size() : 0;
    }
    static ToolStamp stampOf(const std::string& tool) {
        ToolStamp stamp;
        EXPECT_TRUE(workbench::findTool(tool, {}, stamp)) << tool;
        return stamp;
    }

    test::RunDir m_dir;

private:
    std::string m_path;
};

TEST_F(ToolStampsTest, AToolThatIsThatOfTheLaunchIsNotAsked) {
    const ToolStamps launch{{"yosys", stampOf("yosys")}};
    EXPECT_TRUE(workbench::toolChanges("synth_design", launch, "Yosys 0.9").empty());
    EXPECT_EQ(asked(), 0U);
}

TEST_F(ToolStampsTest, AnotherVersionIsAChangeFromOneToTheOther) {
    const ToolStamps launch{{"yosys", stampOf("yosys")}};
    install("yosys", "Yosys 0.40 (git sha1 4567)");
    const std::vector<ToolChange> changes =
        workbench::toolChanges("synth_design", launch, "Yosys 0.23 (git sha1 0123)");
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes[0].tool, "yosys");
    EXPECT_EQ(changes[0].before, "Yosys 0.23 (git sha1 0123)");
    EXPECT_EQ(changes[0].after, "Yosys 0.40 (git sha1 4567)");
    EXPECT_GT(changes[0].since, 0);
}

TEST_F(ToolStampsTest, TheSameVersionInstalledAnewIsNoChange) {
    const ToolStamps launch{{"yosys", stampOf("yosys")}};
    install("yosys", "Yosys 0.23 (git sha1 0123)");
    EXPECT_TRUE(
        workbench::toolChanges("synth_design", launch, "Yosys 0.23 (git sha1 0123)").empty());
    EXPECT_EQ(asked(), 1U);
}

TEST_F(ToolStampsTest, AProgramIsAskedOnceForAsLongAsItStays) {
    const ToolStamp first = stampOf("yosys");
    workbench::toolVersion("yosys", first);
    workbench::toolVersion("yosys", first);
    EXPECT_EQ(asked(), 1U);
    install("yosys", "Yosys 0.40");
    EXPECT_EQ(workbench::toolVersion("yosys", stampOf("yosys")), "Yosys 0.40");
    EXPECT_EQ(asked(), 2U);
}

TEST_F(ToolStampsTest, WithoutARecordTheVersionOfTheResultsDecides) {
    EXPECT_TRUE(workbench::toolChanges("synth_design", {}, "Yosys 0.23 (git sha1 0123)").empty());
    EXPECT_EQ(workbench::toolChanges("synth_design", {}, "Yosys 0.1").size(), 1U);
    EXPECT_TRUE(workbench::toolChanges("synth_design", {}, "").empty());
}

TEST_F(ToolStampsTest, AToolWithoutAVersionIsKnownByItsContent) {
    install("icepack", "packed");
    const ToolStamps launch{{"icepack", stampOf("icepack")}};
    install("icepack", "packed");
    EXPECT_TRUE(workbench::toolChanges("write_bitstream", launch, "").empty());
    install("icepack", "packed otherwise");
    const std::vector<ToolChange> changes = workbench::toolChanges("write_bitstream", launch, "");
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_NE(changes[0].before, changes[0].after);
    EXPECT_EQ(changes[0].after.find(m_dir.path("icepack") + " with SHA-1 "), 0U);
    EXPECT_EQ(asked(), 0U);
}

TEST_F(ToolStampsTest, AToolThatIsMissingOrDoesNotTellIsNoChange) {
    const ToolStamps launch{{"yosys", stampOf("yosys")}};
    m_dir.mark("yosys", "#!/bin/sh\nexit 1\n");
    EXPECT_TRUE(workbench::toolChanges("synth_design", launch, "Yosys 0.1").empty());
    hideAll();
    EXPECT_TRUE(workbench::toolChanges("synth_design", launch, "Yosys 0.1").empty());
}

TEST_F(ToolStampsTest, StepsHaveTheToolsThatTheyStart) {
    using Names = std::vector<std::string>;
    EXPECT_EQ(workbench::toolsOfStep("synth_design"), Names{"yosys"});
    EXPECT_EQ(workbench::toolsOfStep("init_design"), Names{});
    EXPECT_EQ(workbench::toolsOfStep("route_design"), (Names{"nextpnr-ice40", "icetime"}));
}

TEST(ToolVersionTest, IsTakenFromWhatTheToolSays) {
    EXPECT_EQ(ice40::parseToolVersion("nextpnr-ice40",
                                      "nextpnr-ice40 -- Next Generation Place and Route (Version "
                                      "0.4-1+b1)"),
              "nextpnr-ice40 0.4-1+b1");
    EXPECT_EQ(ice40::parseToolVersion("yosys", "Yosys 0.23 (git sha1 7ce5011c24b)"),
              "Yosys 0.23 (git sha1 7ce5011c24b)");
    EXPECT_EQ(ice40::parseToolVersion("yosys", "(Version 1"), "(Version 1");
}

}  // namespace
