// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/undo/UndoStore.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/containers/HSTVector.h"
#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/history/LaunchedProject.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/history/History.h"
#include "workbench/launchLease.h"
#include "workbench/openFlows.h"
#include "workbench/ownFolder.h"
#include "workbench/runReset.h"
#include "workbench/statusWord.h"

namespace {

using ::testing::HasSubstr;
using workbench::UndoEntry;
using workbench::UndoStore;

constexpr long kLaunch = 1000000;

/// A project whose synthesis and implementation are done.
class UndoStoreTest : public ::testing::Test {
protected:
    UndoStoreTest() {
        for (HAXPExpRun* run : project().getRuns()) {
            m_world.giveDir(*run);
            m_world.finish(*run, "of_" + run->getName(), kLaunch);
        }
        m_world.tell(run(), "route_design", 48);
        write("blinky.asc", "routed");
        write("place_design.json", "placed");
        project().save();
    }

    Project& project() const { return m_world.project(); }
    HAXPExpRun& run() const { return project().getRun("impl_1"); }
    UndoStore store() const { return UndoStore(project()); }
    void write(const std::string& name, const std::string& text) const {
        HUTFileUtils::replaceFile(run().pathOf(name), text);
    }
    static std::string undoFolder(const Project& project) {
        return workbench::ownFolder(project.getDir()) + "/undo";
    }

    bool reset(const std::string& from = "", bool emptyDir = true) const {
        HSTVector<std::string> errors;
        return workbench::resetRun(project(), run(), from, emptyDir, errors);
    }
    /// Name and content of every file of the run, and of the run in the project file.
    std::map<std::string, std::string> state() const {
        namespace fs = boost::filesystem;
        std::map<std::string, std::string> files;
        const std::string dir = project().getRunsDir() + "/impl_1";
        for (fs::recursive_directory_iterator entry(dir), end; entry != end; ++entry) {
            const std::string name = entry->path().string().substr(dir.size() + 1);
            std::string text;
            if (name != ".launches.jsonl" &&
                HUTFileUtils::readFile(entry->path().string(), 1U << 20U, text))
                files[name] = text;
        }
        files["status"] = workbench::statusWord(run());
        files["launch"] = std::to_string(run().getInfo().getLaunchTime());
        return files;
    }
    std::vector<std::string> verbs() const {
        std::vector<std::string> all;
        for (const UndoEntry& entry : store().entries())
            all.push_back(entry.verb);
        return all;
    }
    std::string refusal(const std::string& id = "") const {
        return test::thrownText<HEXUserException>([&] { store().undo(id); });
    }
    using Verbs = std::vector<std::string>;

    test::MessageRecorder m_messages;
    test::LaunchedProject m_world;
};

TEST_F(UndoStoreTest, IsEmptyAtFirst) {
    EXPECT_TRUE(store().entries().empty());
    EXPECT_THAT(refusal(), HasSubstr("nothing to take back"));
}

TEST_F(UndoStoreTest, BringsBackARunThatWasReset) {
    const auto before = state();
    ASSERT_TRUE(reset());
    EXPECT_EQ(workbench::statusWord(run()), "not started");
    EXPECT_FALSE(HUTFile::exists(run().pathOf("blinky.asc")));
    const UndoEntry entry = store().undo();
    EXPECT_EQ(entry.verb, "reset");
    EXPECT_EQ(state(), before);
}

TEST_F(UndoStoreTest, GroupsOfASeriesGoIntoOneEntry) {
    workbench::UndoSeries series;
    for (const char* name : {"synth_1", "impl_1"}) {
        const workbench::UndoGroup group(project(), series);
        HSTVector<std::string> errors;
        ASSERT_TRUE(workbench::resetRun(project(), project().getRun(name), "", true, errors));
    }
    ASSERT_EQ(verbs(), (Verbs{"reset"}));
    EXPECT_EQ(store().entries().front().runs.size(), 2U);
}

TEST_F(UndoStoreTest, ASeriesWithAnotherEntryInBetweenGoesOnWithANewOne) {
    workbench::UndoSeries series;
    HSTVector<std::string> errors;
    {
        const workbench::UndoGroup group(project(), series);
        ASSERT_TRUE(workbench::resetRun(project(), project().getRun("synth_1"), "", true, errors));
    }
    ASSERT_TRUE(reset("route"));
    {
        const workbench::UndoGroup group(project(), series);
        ASSERT_TRUE(reset());
    }
    EXPECT_EQ(verbs(), (Verbs{"reset", "reset", "reset"}));
}

TEST_F(UndoStoreTest, AGroupGoesOnBehindARunThatHadNothingToKeep) {
    HAXPExpRun& fresh = project().createRun("synth_2", *OpenFlows::getSynthesis(), "Default", "");
    m_world.giveDir(fresh);
    {
        const workbench::UndoGroup group(project());
        HSTVector<std::string> errors;
        ASSERT_TRUE(workbench::resetRun(project(), fresh, "", true, errors));
        ASSERT_TRUE(reset());
    }
    ASSERT_EQ(verbs(), (Verbs{"reset"}));
    EXPECT_EQ(store().entries().front().runs.size(), 1U);
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(UndoStoreTest, BringsBackWhatTheProjectFileSays) {
    ASSERT_TRUE(reset());
    store().undo();
    const auto again = Project::open(project().getDir(), Project::kRead);
    EXPECT_EQ(workbench::statusWord(again->getRun("impl_1")), "done");
    EXPECT_EQ(again->getRuns()[1]->getName(), "impl_1");
}

TEST_F(UndoStoreTest, BringsBackTheStepsThatWereReset) {
    const auto before = state();
    ASSERT_TRUE(reset("route"));
    EXPECT_TRUE(HUTFile::exists(run().pathOf("place_design.json")));
    EXPECT_FALSE(HUTFile::exists(run().pathOf("blinky.asc")));
    store().undo();
    EXPECT_EQ(state(), before);
}

TEST_F(UndoStoreTest, BringsBackTheMarkersOfAResetThatLeftTheFiles) {
    const auto before = state();
    ASSERT_TRUE(reset("", false));
    store().undo();
    EXPECT_EQ(state(), before);
}

TEST_F(UndoStoreTest, TakesAnUndoBackToo) {
    const auto done = state();
    ASSERT_TRUE(reset());
    const auto cleared = state();
    store().undo();
    EXPECT_EQ(verbs(), Verbs{"undo"});
    store().undo();
    EXPECT_EQ(state(), cleared);
    store().undo();
    EXPECT_EQ(state(), done);
}

TEST_F(UndoStoreTest, LosesNothingOfALaunchSince) {
    ASSERT_TRUE(reset());
    m_world.finish(run(), "later", kLaunch + 100);
    write("blinky.asc", "routed later");
    const auto later = state();
    store().undo();
    EXPECT_EQ(state()["blinky.asc"], "routed");
    store().undo();
    EXPECT_EQ(state(), later);
}

TEST_F(UndoStoreTest, KeepsFilesOfTheUserThatAResetLeaves) {
    write("notes.md", "mine");
    ASSERT_TRUE(reset());
    EXPECT_EQ(state().count("notes.md"), 1U);
    HUTFileUtils::replaceFile(run().pathOf("notes.md"), "mine, later");
    store().undo();
    EXPECT_EQ(state()["notes.md"], "mine, later");
}

TEST_F(UndoStoreTest, MovesLinksAsLinks) {
    m_world.bench().folder().mark("precious", "mine");
    HUTFile(run().pathOf("blinky.asc")).rm();
    ASSERT_EQ(
        ::symlink(m_world.bench().path("precious").c_str(), run().pathOf("blinky.asc").c_str()), 0);
    ASSERT_TRUE(reset());
    store().undo();
    struct stat info {};
    ASSERT_EQ(::lstat(run().pathOf("blinky.asc").c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    EXPECT_EQ(m_world.bench().folder().read("precious"), "mine");
}

TEST_F(UndoStoreTest, KeepsNothingOfARunThatHasNothing) {
    ASSERT_TRUE(reset());
    ASSERT_TRUE(reset());
    EXPECT_EQ(verbs(), Verbs{"reset"});
}

TEST_F(UndoStoreTest, RefusesARunAtWork) {
    ASSERT_TRUE(reset());
    m_world.finish(run(), "later", kLaunch + 100);
    HUTFile(run().pathOf(".ice40_bitstream.end.rst")).rm();
    const test::HeldRunLock lock(run().getDir());
    run().setRunStatus(nullptr, HDGUIStatus::statusNotStarted);
    run().updateStatus();
    const auto before = state();
    EXPECT_THAT(refusal(), HasSubstr("impl_1"));
    EXPECT_EQ(state(), before);
    EXPECT_EQ(verbs(), Verbs{"reset"});
}

TEST_F(UndoStoreTest, RefusesWhatCameBeforeSomethingLaterOfTheRun) {
    ASSERT_TRUE(reset("route"));
    const std::string first = store().entries().front().id;
    ASSERT_TRUE(reset());
    const std::string second = store().entries().front().id;
    EXPECT_THAT(refusal(first), HasSubstr("xp undo " + second));
    EXPECT_THAT(refusal("2026-01-01-1-reset"), HasSubstr("xp undo --list"));
}

TEST_F(UndoStoreTest, BringsBackRunsThatWereRemoved) {
    const auto before = state();
    workbench::removeRuns(project(), project().getRuns());
    EXPECT_TRUE(project().getRuns().empty());
    EXPECT_FALSE(HUTFile::exists(project().getRunsDir() + "/impl_1"));
    EXPECT_TRUE(Project::open(project().getDir(), Project::kRead)->getRuns().empty());
    EXPECT_EQ(verbs(), Verbs{"rm"});
    store().undo();
    EXPECT_EQ(state(), before);
    EXPECT_EQ(project().getSynthesisOf(run())->getName(), "synth_1");
    EXPECT_EQ(Project::open(project().getDir(), Project::kRead)->getRuns().size(), 2U);
}

TEST_F(UndoStoreTest, RemovesAgainWhatWasBroughtBack) {
    workbench::removeRuns(project(), {&run()});
    store().undo();
    EXPECT_EQ(verbs(), Verbs{"undo"});
    store().undo();
    EXPECT_EQ(project().findRun("impl_1"), nullptr);
    store().undo();
    EXPECT_EQ(workbench::statusWord(run()), "done");
}

TEST_F(UndoStoreTest, KeepsTheLaunchesOfARunThatWasRemoved) {
    workbench::removeRuns(project(), {&run()});
    const auto launches = workbench::History(project()).launches("impl_1");
    ASSERT_EQ(launches.size(), 1U);
    EXPECT_EQ(launches[0].launch, "of_impl_1");
    store().undo();
    EXPECT_EQ(workbench::History(project()).launches("impl_1").size(), 1U);
}

TEST_F(UndoStoreTest, RemovesNoSynthesisThatOthersStartFrom) {
    EXPECT_THAT(test::thrownText<HEXUserException>(
                    [this] { workbench::removeRuns(project(), {&project().getRun("synth_1")}); }),
                HasSubstr("impl_1 starts from it"));
    EXPECT_EQ(project().getRuns().size(), 2U);
    EXPECT_TRUE(HUTFile(project().getRunsDir() + "/synth_1").isDir());
}

TEST_F(UndoStoreTest, RefusesToBringARunBackWhoseNameIsTaken) {
    workbench::removeRuns(project(), {&run()});
    project().createRun("impl_1", *OpenFlows::getImplementation(), "Default", "synth_1");
    EXPECT_THAT(refusal(), HasSubstr("xp rm impl_1"));
    EXPECT_EQ(verbs(), Verbs{"rm"});
}

TEST_F(UndoStoreTest, RefusesToBringARunBackWithoutItsSynthesis) {
    workbench::removeRuns(project(), {&run()});
    const std::string id = store().entries().front().id;
    workbench::removeRuns(project(), {&project().getRun("synth_1")});
    EXPECT_THAT(refusal(id), HasSubstr("starts from synth_1"));
    store().undo();
    store().undo(id);
    EXPECT_EQ(workbench::statusWord(run()), "done");
}

TEST_F(UndoStoreTest, RefusesToClearARunThatWasRemovedSince) {
    ASSERT_TRUE(reset());
    const std::string id = store().entries().front().id;
    workbench::removeRuns(project(), {&run()});
    EXPECT_THAT(refusal(id), HasSubstr("before what came of run impl_1 later"));
}

TEST_F(UndoStoreTest, DropsTheOldestBeyondItsNumber) {
    workbench::UndoLimits limits;
    limits.entries = 2;
    store().setLimits(limits);
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(reset());
        m_world.finish(run(), "l" + std::to_string(i), kLaunch + i);
    }
    ASSERT_TRUE(reset());
    EXPECT_EQ(verbs(), (Verbs{"reset", "reset"}));
    EXPECT_EQ(store().getLimits().entries, 2U);
}

TEST_F(UndoStoreTest, DropsTheOldestBeyondItsSizeAndNeverTheLast) {
    workbench::UndoLimits limits;
    limits.megabytes = 1;
    store().setLimits(limits);
    for (int i = 0; i < 3; ++i) {
        write("blinky.asc", std::string(2U << 20U, 'x'));
        ASSERT_TRUE(reset());
        m_world.finish(run(), "l" + std::to_string(i), kLaunch + i);
    }
    EXPECT_EQ(verbs(), Verbs{"reset"});
    EXPECT_GT(store().entries().front().bytes, 2U << 20U);
}

TEST_F(UndoStoreTest, ResetsAllTheSameWithoutAFolderOfItsOwn) {
    boost::filesystem::remove_all(workbench::ownFolder(project().getDir()));
    HUTFileUtils::replaceFile(workbench::ownFolder(project().getDir()), "mine");
    EXPECT_TRUE(reset());
    EXPECT_FALSE(HUTFile::exists(run().pathOf("blinky.asc")));
    EXPECT_TRUE(m_messages.has("60-215"));
    m_messages.clear();
}

TEST_F(UndoStoreTest, PassesOverWhatIsNoEntry) {
    ASSERT_TRUE(reset());
    const std::string folder = undoFolder(project());
    for (const char* name : {"x", "2026-11-21-x-reset", "2026-11-21-1", "9999-99-99-1-rm"})
        HUTFile(folder + "/" + name + "/impl_1").mkDirRecursive();
    HUTFileUtils::replaceFile(folder + "/9999-99-99-1-rm/impl_1/manifest.xml", "<Undo>");
    EXPECT_EQ(verbs(), Verbs{"reset"});
}

TEST_F(UndoStoreTest, OfAnotherVersionIsLeftAlone) {
    ASSERT_TRUE(reset());
    const UndoEntry entry = store().entries().front();
    const std::string path = undoFolder(project()) + "/" + entry.id + "/impl_1/manifest.xml";
    std::string text;
    ASSERT_TRUE(HUTFileUtils::readFile(path, 1U << 20U, text));
    text.replace(text.find("Version=\"1\""), 11, "Version=\"2\"");
    HUTFileUtils::replaceFile(path, text);
    EXPECT_TRUE(store().entries().empty());
}

TEST_F(UndoStoreTest, FollowsNoLink) {
    namespace fs = boost::filesystem;
    ASSERT_TRUE(reset());
    const UndoEntry entry = store().entries().front();
    const std::string folder = undoFolder(project()) + "/" + entry.id;
    const std::string outside = project().getDir() + "/outside";
    fs::rename(folder, outside);
    fs::create_symlink(outside, folder);
    EXPECT_TRUE(verbs().empty());
    fs::remove(folder);
    fs::create_directory(folder);
    fs::create_symlink(outside + "/impl_1", folder + "/impl_1");
    EXPECT_TRUE(verbs().empty());
    fs::remove_all(folder);
    fs::create_directory(folder);
    fs::create_directory(folder + "/impl_1");
    fs::copy_file(outside + "/impl_1/manifest.xml", folder + "/impl_1/manifest.xml");
    fs::create_symlink(outside + "/impl_1/files", folder + "/impl_1/files");
    EXPECT_TRUE(verbs().empty());
    store().prune();
    EXPECT_TRUE(HUTFile::exists(outside + "/impl_1/files/blinky.asc"));
}

TEST_F(UndoStoreTest, KeepsNothingInAFolderThatIsALink) {
    namespace fs = boost::filesystem;
    ASSERT_TRUE(reset());
    const std::string outside = project().getDir() + "/outside";
    fs::rename(undoFolder(project()), outside);
    fs::create_symlink(outside, undoFolder(project()));
    EXPECT_TRUE(verbs().empty());
    m_world.finish(run(), "later", kLaunch + 100);
    EXPECT_TRUE(reset());
    EXPECT_EQ(HUTFile(outside).fileCount(), 1);
    EXPECT_TRUE(m_messages.has("60-215"));
    m_messages.clear();
    EXPECT_THAT(test::thrownText<HEXUserException>([this] { store().setLimits({}); }),
                HasSubstr("can't be made"));
}

TEST_F(UndoStoreTest, ClearsNothingForAnEntryThatIsDamaged) {
    ASSERT_TRUE(reset());
    const UndoEntry entry = store().entries().front();
    m_world.finish(run(), "later", kLaunch + 100);
    write("blinky.asc", "routed later");
    const auto later = state();
    const std::string path = undoFolder(project()) + "/" + entry.id + "/impl_1/manifest.xml";
    std::string text;
    ASSERT_TRUE(HUTFileUtils::readFile(path, 1U << 20U, text));
    const std::string dir = "Dir=\"runs/impl_1\"";
    ASSERT_NE(text.find(dir), std::string::npos);
    text.replace(text.find(dir), dir.size(), "Dir=\"/etc\"");
    HUTFileUtils::replaceFile(path, text);
    EXPECT_THAT(refusal(), HasSubstr("what it says of run impl_1 can't be used"));
    EXPECT_EQ(state(), later);
    EXPECT_EQ(verbs(), Verbs{"reset"});
}

TEST_F(UndoStoreTest, IsLaterThanTheLastAlsoWhenTheClockIsSetBack) {
    HUTFile(undoFolder(project()) + "/2999-01-01-7-reset/impl_1").mkDirRecursive();
    ASSERT_TRUE(reset());
    EXPECT_EQ(store().entries().front().id, "2999-01-01-8-reset");
    store().undo();
    EXPECT_EQ(store().entries().front().id, "2999-01-01-9-undo");
}

TEST_F(UndoStoreTest, GoesBackAsFarAsWanted) {
    const auto first = state();
    ASSERT_TRUE(reset());
    const std::string oldest = store().entries().front().id;
    m_world.finish(run(), "later", kLaunch + 100);
    write("blinky.asc", "routed later");
    const auto second = state();
    ASSERT_TRUE(reset());
    EXPECT_THAT(refusal(oldest), HasSubstr("Take that back first"));
    store().undo();
    EXPECT_EQ(state(), second);
    // What followed it was taken back, so that the run is as it left it, but for a launch since.
    store().undo(oldest);
    EXPECT_EQ(state(), first);
    store().undo();
    EXPECT_EQ(state(), second);
}

TEST_F(UndoStoreTest, KeepsWhatStandsInTheWayOfWhatComesBack) {
    write("runme.sh", "of the first");
    ASSERT_TRUE(reset("route"));
    // As a launch leaves it that goes on with a later step: its scripts aren't cleared.
    HUTFileUtils::replaceFile(undoFolder(project()) + "/" + store().entries().front().id +
                                  "/impl_1/files/runme.sh",
                              "of the first");
    write("runme.sh", "of the second");
    const auto second = state();
    store().undo();
    EXPECT_EQ(state()["runme.sh"], "of the first");
    store().undo();
    EXPECT_EQ(state(), second);
}

TEST_F(UndoStoreTest, ClearsNothingThatCantBeKept) {
    ASSERT_TRUE(reset());
    m_world.finish(run(), "later", kLaunch + 100);
    write("blinky.asc", "routed later");
    const auto later = state();
    {
        test::FaultyDisk full;
        full.failAll("mkdir", ENOSPC);
        full.failAll("rename", EXDEV);
        EXPECT_NE(refusal(), "nothing thrown");
    }
    m_messages.clear();
    EXPECT_EQ(state(), later);
}

TEST_F(UndoStoreTest, RemovesARunOrLeavesItAsItWasWhateverFails) {
    const auto before = state();
    test::FaultyDisk disk;
    int failures = 0;
    for (int number = 1; number < 200; ++number) {
        disk.failOnce(number, EIO);
        const bool isRefused = test::thrownText<HEXUserException>([this] {
                                   workbench::removeRuns(project(), {&run()});
                               }) != "nothing thrown";
        const bool wasReached = disk.calls() >= number;
        disk.failOnce(0, 0);
        const auto again = Project::open(project().getDir(), Project::kRead);
        EXPECT_EQ(again->findRun("impl_1") != nullptr, isRefused) << number;
        EXPECT_EQ(project().findRun("impl_1") != nullptr, isRefused) << number;
        if (!isRefused)
            store().undo();
        EXPECT_EQ(state(), before) << number;
        m_messages.clear();
        if (!wasReached)
            break;
        ++failures;
    }
    EXPECT_GT(failures, 10);
}

/// Whether a child process that does `action` is killed at its disk's call `number`.
template <class Action> bool killedAt(int number, Action action) {
    const pid_t child = ::fork();
    if (child == 0) {
        test::FaultyDisk disk;
        disk.killAt(number);
        action();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status);
}

TEST_F(UndoStoreTest, BringsTheRunBackWhereverAResetIsKilled) {
    const auto before = state();
    int kills = 0;
    for (int number = 1; number < 400; ++number) {
        const bool wasKilled = killedAt(number, [this] { reset(); });
        // Killed before the manifest stood, it had touched nothing.
        if (!store().entries().empty())
            store().undo();
        EXPECT_EQ(state(), before) << number;
        boost::filesystem::remove_all(undoFolder(project()));
        project().save();
        if (!wasKilled)
            break;
        ++kills;
    }
    EXPECT_GT(kills, 20);
}

TEST_F(UndoStoreTest, GoesOnWhereAResetWasKilled) {
    const auto before = state();
    int kills = 0;
    for (int number = 1; number < 400; number += 3) {
        // Behind the end of the clearing there is nothing to go on with.
        if (!killedAt(number, [this] { reset(); }) ||
            (!store().entries().empty() && store().entries().front().runs.front().isWhole))
            break;
        ++kills;
        ASSERT_TRUE(reset()) << number;
        EXPECT_FALSE(HUTFile::exists(run().pathOf("blinky.asc")));
        store().undo();
        EXPECT_EQ(state(), before) << number;
        boost::filesystem::remove_all(undoFolder(project()));
        project().save();
    }
    EXPECT_GT(kills, 7);
}

constexpr int kParts = 4;

/// Each part kills at every fourth call: together they kill at all, at once on several processors.
class UndoKillTest : public UndoStoreTest, public ::testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Parts, UndoKillTest, ::testing::Range(1, kParts + 1));

TEST_P(UndoKillTest, LosesNothingWhereverAnUndoIsKilled) {
    const auto first = state();
    ASSERT_TRUE(reset());
    m_world.finish(run(), "later", kLaunch + 100);
    write("blinky.asc", "routed later");
    write("extra.asc", "of the later one alone");
    project().save();
    const auto second = state();
    int kills = 0;
    for (int number = GetParam(); number < 800; number += kParts) {
        const std::string id = store().entries().front().id;
        const bool wasKilled = killedAt(number, [this] { store().undo(); });
        // Behind the removal of the entry there is nothing to go on with.
        const std::vector<UndoEntry> entries = store().entries();
        const bool isLeft = std::any_of(entries.begin(), entries.end(),
                                        [&id](const auto& entry) { return entry.id == id; });
        if (!wasKilled || !isLeft)
            break;
        store().undo();
        ++kills;
        EXPECT_EQ(state()["blinky.asc"], first.at("blinky.asc")) << number;
        store().undo();
        EXPECT_EQ(state(), second) << number;
        project().save();
    }
    EXPECT_GT(kills, 20 / kParts);
}

}  // namespace
