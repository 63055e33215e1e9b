// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cerrno>
#include <memory>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include <unistd.h>

#include "environment/errors/HEXUserException.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"

namespace {

/// The file of a project with a synthesis and an implementation.
class ProjectFileTest : public ::testing::Test {
protected:
    ProjectFileTest() {
        const auto project = Project::create(dir(), m_bench.inputs());
        project->createRun("synth_1", *OpenFlows::getSynthesis(), "Area", "");
        HAXPExpRun& run =
            project->createRun("impl_1", *OpenFlows::getImplementation(), "Explore", "synth_1");
        project->setOption(run, "no_tmdriv", "true");
        project->save();
    }

    std::string dir() const { return m_bench.path("proj"); }
    std::string path() const { return dir() + "/project.xml"; }
    std::string text() const { return m_bench.folder().read("proj/project.xml"); }
    void write(const std::string& content) const {
        m_bench.folder().mark("proj/project.xml", content);
    }
    /// What opening says; "nothing thrown" when it opens.
    std::string refusal() const {
        return test::thrownText<HEXUserException>([&] { Project::open(dir(), Project::kChange); });
    }

    test::TestBench m_bench;
};

TEST_F(ProjectFileTest, IsTheSameWhenItIsReadAndSavedAgain) {
    const std::string before = text();
    Project::open(dir(), Project::kChange)->save();
    EXPECT_EQ(text(), before);
}

TEST_F(ProjectFileTest, HoldsPathsInsideTheFolderRelativeToIt) {
    EXPECT_EQ(text().find(dir()), std::string::npos);
}

TEST_F(ProjectFileTest, IsRefusedWhenANewerVersionWroteIt) {
    std::string newer = text();
    newer.replace(newer.find("Version=\"1\""), 11, "Version=\"2\"");
    write(newer);
    EXPECT_EQ(refusal(), "The project file " + path() +
                             " was written by version 2 of the format, and this program knows "
                             "version 1 at most. Use the newer program; nothing was changed.");
    EXPECT_EQ(text(), newer);
}

TEST_F(ProjectFileTest, IsReadWhenANewerMinorVersionWroteIt) {
    std::string newer = text();
    newer.replace(newer.find("Minor=\"1\""), 9, "Minor=\"7\"");
    newer.replace(newer.find("<Run "), 5, "<Later Thing=\"1\"/><Run Later=\"2\" ");
    write(newer);
    EXPECT_EQ(refusal(), "nothing thrown");
}

TEST_F(ProjectFileTest, IsRefusedWhereverItIsCutOff) {
    const std::string whole = text();
    const std::size_t end = whole.find_last_of('>');
    for (std::size_t size = 0; size <= end; ++size) {
        const std::string cut = whole.substr(0, size);
        write(cut);
        const std::string told = refusal();
        ASSERT_EQ(told.find("The project file " + path() + " can't be read: "), 0U)
            << size << ": " << told;
        ASSERT_EQ(text(), cut);
    }
}

TEST_F(ProjectFileTest, IsRefusedWithAnAttributeOfAGigabyteWithoutBeingRead) {
    // The disk holds its beginning alone.
    write("<Project Version=\"1\" Name=\"");
    ASSERT_EQ(::truncate(path().c_str(), off_t{1} << 30), 0);
    const std::string told = refusal();
    EXPECT_NE(told.find(path()), std::string::npos) << told;
    EXPECT_NE(told.find("Larger than "), std::string::npos) << told;
}

TEST_F(ProjectFileTest, IsReadWhenTheLastLineEndIsMissing) {
    write(text().substr(0, text().find_last_of('>') + 1));
    EXPECT_EQ(refusal(), "nothing thrown");
}

TEST_F(ProjectFileTest, IsIntactOrNewWhateverCallOfASaveFails) {
    const std::string before = text();
    const auto project = Project::open(dir(), Project::kChange);
    project->setOption(project->getRun("impl_1"), "seed", "77");
    int failures = 0;
    for (int number = 1; number < 100; ++number) {
        test::FaultyDisk disk;
        disk.failOnce(number, ENOSPC);
        const std::string told = test::thrownText<HEXUserException>([&] { project->save(); });
        if (!disk.hasFailed())
            break;
        ++failures;
        if (text() == before)
            EXPECT_EQ(told.find("The project " + dir() + " can't be saved: "), 0U) << told;
        else
            EXPECT_NE(text().find("Value=\"77\""), std::string::npos);
        write(before);
    }
    EXPECT_GT(failures, 3);
    EXPECT_LT(failures, 99);
}

/// A change of the file, and a part of what is said of it.
struct DamageCase {
    const char* name;
    const char* from;
    const char* to;
    const char* told;
};

std::ostream& operator<<(std::ostream& os, const DamageCase& row) {
    return os << row.name;
}

class ProjectFileDamage : public ProjectFileTest,
                          public ::testing::WithParamInterface<DamageCase> {};

TEST_P(ProjectFileDamage, IsRefusedWithItsPlaceAndLeftAsItIs) {
    std::string damaged = text();
    const std::string from = GetParam().from;
    const std::size_t at = damaged.find(from);
    ASSERT_NE(at, std::string::npos);
    damaged.replace(at, from.size(), GetParam().to);
    write(damaged);
    const std::string told = refusal();
    EXPECT_NE(told.find(path()), std::string::npos) << told;
    EXPECT_NE(told.find(GetParam().told), std::string::npos) << told;
    EXPECT_EQ(text(), damaged);
}

INSTANTIATE_TEST_SUITE_P(
    Damage, ProjectFileDamage,
    ::testing::Values(
        DamageCase{"NoVersion", " Version=\"1\"", "", "there is no version"},
        DamageCase{"VersionIsNoNumber", "Version=\"1\"", "Version=\"one\"", "there is no version"},
        DamageCase{"UnknownFlow", "\"ice40_synthesis\"", "\"other\"", "there is no flow other"},
        DamageCase{"UnknownOption", "place_design.seed", "place_design.sede",
                   "there is no option place_design/place_design.sede"},
        DamageCase{"BadOptionValue", "Value=\"3\"", "Value=\"x\"", "'x' is no whole number"},
        DamageCase{"BadRunName", "Name=\"impl_1\"", "Name=\"../up\"", "../up"},
        DamageCase{"TwoRunsOfOneName", "Name=\"impl_1\"", "Name=\"synth_1\"",
                   "There is a run synth_1 already"},
        DamageCase{"NoSuchSynthesis", "Synthesis=\"synth_1\"", "Synthesis=\"gone\"", "gone"},
        DamageCase{"Doctype", "<Project ", "<!DOCTYPE p [<!ENTITY e 'x'>]><Project ", "DOCTYPE"},
        DamageCase{"PathForAShell", "blinky.v", "$(reboot).v", "$"},
        DamageCase{"TopForAShell", "Top=\"blinky\"", "Top=\"a;b\"", ";"},
        DamageCase{"TopThatLeadsOut", "Top=\"blinky\"", "Top=\"../../x\"",
                   "\"../../x\" can't be the top module: it holds a separator of folders"},
        DamageCase{"TopThatIsAnOption", "Top=\"blinky\"", "Top=\"-x\"",
                   "\"-x\" can't be the top module: it begins with a dot or a dash"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
