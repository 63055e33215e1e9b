// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <array>
#include <cerrno>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <unistd.h>

#include "environment/errors/HEXUserException.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xpreport/schemaFile.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"
#include "workbench/runFamily.h"

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
    newer.replace(newer.find("Minor=\"3\""), 9, "Minor=\"7\"");
    newer.replace(newer.find("<Run "), 5, "<Later Thing=\"1\"/><Run Later=\"2\" ");
    write(newer);
    EXPECT_EQ(refusal(), "nothing thrown");
}

TEST_F(ProjectFileTest, KeepsSweepAndFamilyOfARun) {
    {
        const auto project = Project::open(dir(), Project::kChange);
        project->setFamilyOf(project->getRun("impl_1"), {"night", "night_Explore"});
        project->save();
    }
    EXPECT_TRUE(test::reports::isValidBySchema("project.xsd", text()));
    const auto project = Project::open(dir(), Project::kRead);
    EXPECT_EQ(project->getFamilyOf(project->getRun("impl_1")).sweep, "night");
    EXPECT_EQ(project->getFamilyOf(project->getRun("impl_1")).name, "night_Explore");
    EXPECT_EQ(project->getFamilyOf(project->getRun("synth_1")).name, "");
}

TEST_F(ProjectFileTest, ARunOfNoSweepHasNeitherAttribute) {
    EXPECT_EQ(text().find("Sweep"), std::string::npos);
    EXPECT_EQ(text().find("Family"), std::string::npos);
}

TEST_F(ProjectFileTest, AFamilyThatCanNotBeCalledSoIsRefused) {
    const std::string whole = text();
    for (const char* attributes : {"Sweep=\"a b\" Family=\"c\"", "Sweep=\"a\" Family=\"../c\"",
                                   "Sweep=\"a\"", "Family=\"c\""}) {
        std::string changed = whole;
        changed.replace(changed.find("<Run "), 5, std::string("<Run ") + attributes + " ");
        write(changed);
        EXPECT_NE(refusal(), "nothing thrown") << attributes;
        EXPECT_EQ(text(), changed);
    }
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
        DamageCase{"RunDirectoryOfAStranger", "Name=\"impl_1\"", "Name=\"impl_1\" Dir=\"/home\"",
                   "the run directory /home is no folder in "},
        DamageCase{"RunDirectoryOfTheProject", "Name=\"impl_1\"", "Name=\"impl_1\" Dir=\".\"",
                   "is no folder in "},
        DamageCase{"RunDirectoryOfAllRuns", "Name=\"impl_1\"", "Name=\"impl_1\" Dir=\"runs/\"",
                   "is no folder in "},
        DamageCase{"RunDirectoryThatGoesUp", "Name=\"impl_1\"", "Name=\"impl_1\" Dir=\"runs/..\"",
                   "is no folder in "},
        DamageCase{"RunDirectoryWithinAnother", "Name=\"impl_1\"",
                   "Name=\"impl_1\" Dir=\"runs/synth_1/x\"", "is no folder in "},
        DamageCase{"TopThatIsAnOption", "Top=\"blinky\"", "Top=\"-x\"",
                   "\"-x\" can't be the top module: it begins with a dot or a dash"}),
    [](const auto& row) { return std::string(row.param.name); });

/// The file of a project with a run that was launched.
class LaunchRecordTest : public ::testing::Test {
protected:
    LaunchRecordTest() {
        m_bench.folder().mark("blinky.v", "`include \"defs.vh\"\n");
        m_bench.folder().mark("defs.vh", "`define N 1\n");
        const auto project = Project::create(dir(), m_bench.inputs());
        HAXPExpRun& run = project->createRun("synth_1", *OpenFlows::getSynthesis(), "Area", "");
        run.setRunDir(project->getRunsDir() + "/synth_1", false);
        m_bench.finish(run, 1000);
        m_files = run.getInfo().getLaunchedFiles();
        project->save();
    }

    std::string dir() const { return m_bench.path("proj"); }
    std::string text() const { return m_bench.folder().read("proj/project.xml"); }
    void write(const std::string& content) const {
        m_bench.folder().mark("proj/project.xml", content);
    }
    /// The file with the first `from` changed to `to`.
    std::string changed(const std::string& from, const std::string& to) const {
        std::string all = text();
        const std::size_t at = all.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        return at == std::string::npos ? all : all.replace(at, from.size(), to);
    }
    std::unique_ptr<Project> open() const { return Project::open(dir(), Project::kChange); }

    test::TestBench m_bench;
    workbench::InputFiles m_files;
};

TEST_F(LaunchRecordTest, FilesAreReadBackAsTheyWereRecorded) {
    const auto project = open();
    const workbench::InputFiles& read = project->getRun("synth_1").getInfo().getLaunchedFiles();
    ASSERT_EQ(read.size(), 2U);
    for (const auto& [path, file] : m_files) {
        ASSERT_EQ(read.count(path), 1U) << path;
        EXPECT_EQ(read.at(path).kind, file.kind);
        EXPECT_TRUE(read.at(path).print.isSameContent(file.print));
        EXPECT_EQ(read.at(path).print.stamp.size, file.print.stamp.size);
    }
}

TEST_F(LaunchRecordTest, IsTheSameWhenItIsReadAndSavedAgain) {
    const std::string before = text();
    EXPECT_NE(before.find("<File Path="), std::string::npos);
    open()->save();
    EXPECT_EQ(text(), before);
}

TEST_F(LaunchRecordTest, KeepsTheSchema) {
    EXPECT_TRUE(test::reports::isValidBySchema("project.xsd", text()));
}

TEST_F(LaunchRecordTest, AFileThatWasMissingOrUnreadableIsReadBackAsThat) {
    auto project = open();
    workbench::InputFiles files;
    files["/gone.v"].print.state = workbench::FileFingerprint::kMissing;
    files["/loop.v"].print.state = workbench::FileFingerprint::kUnreadable;
    project->getRun("synth_1").getInfo().setLaunchedFiles(files);
    project->save();
    project.reset();
    project = open();
    const auto& read = project->getRun("synth_1").getInfo().getLaunchedFiles();
    EXPECT_EQ(read.at("/gone.v").print.state, workbench::FileFingerprint::kMissing);
    EXPECT_EQ(read.at("/loop.v").print.state, workbench::FileFingerprint::kUnreadable);
}

TEST_F(LaunchRecordTest, AStampThatCanNotBeTrustedIsReadAgain) {
    auto project = open();
    workbench::InputFiles files = m_files;
    for (auto& file : files)
        file.second.print.isSettled = false;
    project->getRun("synth_1").getInfo().setLaunchedFiles(files);
    project->save();
    project.reset();
    EXPECT_EQ(text().find("Inode"), text().find("Inode", text().find("<Tool")));
    project = open();
    for (const auto& file : project->getRun("synth_1").getInfo().getLaunchedFiles())
        EXPECT_FALSE(file.second.print.isSettled) << file.first;
}

TEST_F(LaunchRecordTest, AFileOfAnOlderVersionFallsBackToTimes) {
    std::string old = text();
    for (std::size_t at = 0; (at = old.find("<File ")) != std::string::npos;)
        old.erase(at, old.find("/>", at) + 2 - at);
    old.replace(old.find("Minor=\"3\""), 9, "Minor=\"1\"");
    write(old);
    const auto project = open();
    OpenRunInfo& info = project->getRun("synth_1").getInfo();
    m_bench.folder().touch("blinky.v", 1000);
    m_bench.folder().touch("defs.vh", 1000);
    info.updStaleReasons();
    EXPECT_FALSE(info.isStale());
    m_bench.folder().touch("defs.vh", 1001);
    info.updStaleReasons();
    EXPECT_TRUE(info.isStale());
}

TEST_F(LaunchRecordTest, DamageIsRefusedWithItsPlace) {
    const std::string whole = text();
    const std::string sha1 = m_files.begin()->second.print.sha1;
    const std::vector<std::array<std::string, 3>> damages{
        {"Kind=\"source\"", "Kind=\"other\"", "\"other\" is no kind of file"},
        {sha1, "abc", "\"abc\" can't be the Sha1 of a file"},
        {" Modified=\"", " Modified=\"x", "can't be the Modified of a file"},
        {" Size=\"", " Size=\"-", "can't be the Size of a file"},
        {"<File ", "<File State=\"odd\" ", "\"odd\" is no state of a file"}};
    for (const auto& [from, to, told] : damages) {
        write(whole);
        write(changed(from, to));
        const std::string error = test::thrownText<HEXUserException>([this] { open(); });
        EXPECT_NE(error.find(told), std::string::npos) << error;
        EXPECT_NE(error.find(dir() + "/project.xml"), std::string::npos) << error;
    }
}

}  // namespace
