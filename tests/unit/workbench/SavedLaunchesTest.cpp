// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Launches that stand beside the project file until it is saved as a whole.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"

namespace {

constexpr char kRecord[] = "proj/.xperiment/launching/synth_1.xml";

/// A project in the folder "proj" with one run, "synth_1".
class SavedLaunchesTest : public ::testing::Test {
protected:
    SavedLaunchesTest() : m_project(Project::create(dir(), m_bench.inputs())) {
        m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "");
        m_project->save();
    }

    std::string dir() const { return m_bench.path("proj"); }
    const test::RunDir& folder() const { return m_bench.folder(); }

    /// Notes a launch of `run` at `time` beside the project file.
    void saveLaunch(long time, const std::string& run = "synth_1") {
        m_project->getRun(run).getInfo().setLaunch(time, "synth");
        m_project->saveLaunch(m_project->getRun(run));
    }
    void reopen(Project::Access access = Project::kRead) {
        m_project.reset();
        m_project = Project::open(dir(), access);
    }
    long launchTime(const std::string& run = "synth_1") const {
        return m_project->getRun(run).getInfo().getLaunchTime();
    }
    /// Puts `after` in the place of `before` in a file, wherever it stands.
    void replaceIn(const std::string& name, const std::string& before, const std::string& after) {
        std::string text = folder().read(name);
        const std::string::size_type at = text.find(before);
        ASSERT_NE(at, std::string::npos);
        folder().mark(name, text.replace(at, before.size(), after));
    }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
};

TEST_F(SavedLaunchesTest, ALaunchStandsBesideTheProjectFileAndIsFoundThere) {
    m_project->createRun("impl_1", *OpenFlows::getImplementation(), "Performance", "");
    m_project->save();
    const std::string before = folder().read("proj/project.xml");
    saveLaunch(1234);
    EXPECT_EQ(folder().read("proj/project.xml"), before);
    for (const Project::Access access : {Project::kRead, Project::kOverview, Project::kChange}) {
        reopen(access);
        EXPECT_EQ(launchTime(), 1234);
        EXPECT_EQ(m_project->getRuns().front()->getName(), "synth_1");
    }
}

TEST_F(SavedLaunchesTest, AllOfThemAreTakenInWhenTheyAreMany) {
    constexpr int kMany = 120;
    for (int i = 0; i < kMany; ++i)
        m_project->createRun("many_" + std::to_string(i), *OpenFlows::getSynthesis(), "Default",
                             "");
    m_project->save();
    const auto count = [this] {
        return HUTFile(m_bench.path("proj/.xperiment/launching")).fileCount();
    };
    int most = 0;
    for (int i = 0; i < kMany; ++i) {
        saveLaunch(1000 + i, "many_" + std::to_string(i));
        most = std::max(most, count());
    }
    // More than half of the runs never stand beside the file.
    EXPECT_GE(most, 50);
    EXPECT_LE(most, kMany / 2 + 1);
    reopen();
    EXPECT_EQ(launchTime("many_0"), 1000);
    EXPECT_EQ(launchTime("many_119"), 1119);
}

TEST_F(SavedLaunchesTest, TheNextSaveTakesThemIn) {
    saveLaunch(1234);
    reopen(Project::kChange);
    m_project->save();
    EXPECT_FALSE(folder().has("proj/.xperiment/launching"));
    reopen();
    EXPECT_EQ(launchTime(), 1234);
}

TEST_F(SavedLaunchesTest, ALaterLaunchOfARunReplacesTheOneBefore) {
    saveLaunch(1234);
    saveLaunch(1235);
    reopen();
    EXPECT_EQ(launchTime(), 1235);
}

TEST_F(SavedLaunchesTest, LaunchesOfOneThatWasKilledAndOfTheNextOneCountTogether) {
    m_project->createRun("synth_2", *OpenFlows::getSynthesis(), "Default", "");
    m_project->save();
    saveLaunch(1234);
    reopen(Project::kChange);
    saveLaunch(1235, "synth_2");
    reopen();
    EXPECT_EQ(launchTime(), 1234);
    EXPECT_EQ(launchTime("synth_2"), 1235);
}

TEST_F(SavedLaunchesTest, ALaunchBesideAnotherProjectFileDoesNotCount) {
    saveLaunch(1234);
    replaceIn("proj/project.xml", "<Run ", "<!-- another --><Run ");
    reopen();
    EXPECT_EQ(launchTime(), 0);
}

TEST_F(SavedLaunchesTest, ALaunchOlderThanTheProjectFileDoesNotCount) {
    saveLaunch(1234);
    const std::string record = folder().read(kRecord);
    m_project->getRun("synth_1").getInfo().setLaunch(1235, "synth");
    m_project->save();
    // As one who was killed before the records went leaves it.
    folder().folder("proj/.xperiment/launching");
    folder().mark(kRecord, record);
    reopen();
    EXPECT_EQ(launchTime(), 1235);
}

TEST_F(SavedLaunchesTest, ALaunchThatIsDamagedDoesNotCount) {
    saveLaunch(1234);
    const std::string text = folder().read(kRecord);
    for (std::size_t size = 0; size + 2 < text.size(); size += 7) {
        folder().mark(kRecord, text.substr(0, size));
        reopen();
        EXPECT_EQ(launchTime(), 0) << size;
    }
}

TEST_F(SavedLaunchesTest, ALaunchThatTheProjectRefusesDoesNotCount) {
    const std::vector<std::pair<std::string, std::string>> damages = {
        {"Flow=\"", "Flow=\"no_"},
        {"Dir=\"", "Dir=\"../../../etc/"},
        {"Name=\"synth_1\"", "Name=\"synth_1;reboot\""},
        {"<Launch Time=\"1234\"", "<Launch Time=\"soon\""},
    };
    m_project->getRun("synth_1").setRunDir(dir() + "/runs/synth_1", false);
    m_project->save();
    saveLaunch(1234);
    const std::string text = folder().read(kRecord);
    for (const auto& damage : damages) {
        folder().mark(kRecord, text);
        replaceIn(kRecord, damage.first, damage.second);
        reopen();
        EXPECT_EQ(m_project->getRuns().size(), 1U) << damage.second;
        EXPECT_EQ(launchTime(), 0) << damage.second;
    }
}

TEST_F(SavedLaunchesTest, ALaunchOfAnotherRunThanItsNameSaysDoesNotCount) {
    m_project->createRun("synth_2", *OpenFlows::getSynthesis(), "Default", "");
    m_project->save();
    saveLaunch(1234);
    std::filesystem::rename(m_bench.path(kRecord),
                            m_bench.path("proj/.xperiment/launching/synth_2.xml"));
    reopen();
    EXPECT_EQ(launchTime(), 0);
    EXPECT_EQ(launchTime("synth_2"), 0);
}

TEST_F(SavedLaunchesTest, ALaunchOfARunThatWasRemovedIsForgotten) {
    saveLaunch(1234);
    const std::string record = folder().read(kRecord);
    m_project->removeRun(m_project->getRun("synth_1"));
    m_project->save();
    folder().folder("proj/.xperiment/launching");
    folder().mark(kRecord, record);
    reopen();
    EXPECT_TRUE(m_project->getRuns().empty());
}

TEST_F(SavedLaunchesTest, NothingIsReadOrWrittenBehindALink) {
    const std::string outside = m_bench.path("outside");
    std::filesystem::create_directories(outside);
    std::filesystem::create_directories(dir() + "/.xperiment");
    std::filesystem::create_directory_symlink(outside, dir() + "/.xperiment/launching");
    saveLaunch(1234);
    EXPECT_TRUE(std::filesystem::is_empty(outside));
    reopen();
    // It was saved with the project as a whole.
    EXPECT_EQ(launchTime(), 1234);
}

TEST_F(SavedLaunchesTest, ALinkInThePlaceOfALaunchIsReplacedAndNotFollowed) {
    saveLaunch(1234);
    folder().mark("outside.xml", "mine");
    std::filesystem::remove(m_bench.path(kRecord));
    std::filesystem::create_symlink(m_bench.path("outside.xml"), m_bench.path(kRecord));
    saveLaunch(1235);
    EXPECT_EQ(folder().read("outside.xml"), "mine");
    reopen();
    EXPECT_EQ(launchTime(), 1235);
}

TEST_F(SavedLaunchesTest, APipeAmongThemHoldsNobody) {
    saveLaunch(1234);
    ASSERT_EQ(mkfifo(m_bench.path("proj/.xperiment/launching/synth_2.xml").c_str(), 0600), 0);
    reopen();
    EXPECT_EQ(launchTime(), 1234);
}

TEST_F(SavedLaunchesTest, FiftyAreTakenIn) {
    for (int i = 1; i < 50; ++i)
        saveLaunch(i);
    EXPECT_TRUE(folder().has("proj/.xperiment/launching"));
    saveLaunch(50);
    EXPECT_FALSE(folder().has("proj/.xperiment/launching"));
    reopen();
    EXPECT_EQ(launchTime(), 50);
}

TEST_F(SavedLaunchesTest, OneThatIsOpenForReadingSavesNone) {
    reopen();
    EXPECT_THROW(m_project->saveLaunch(m_project->getRun("synth_1")), HEXAlgException);
}

}  // namespace
