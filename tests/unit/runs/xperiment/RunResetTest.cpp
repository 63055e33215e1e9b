// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cerrno>
#include <ostream>
#include <regex>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/TestParam.h"
#include "tests/unit/runs/xperiment/resetFixture.h"

namespace {

using test::Ids;
using test::kDone;
using test::kNotStarted;
using test::RunResetFixture;
using test::TestParam;
using test::Texts;
using test::thrownText;

/// A run whose three steps are done. Nothing is stopped.
class RunResetTest : public RunResetFixture {
protected:
    RunResetTest() {
        for (const char* id : {"a", "b", "c"})
            markDone(id);
        m_run->updateStatus();
        m_run->statusUpdates = 0;
    }

    /// The steps that are done, by their markers and by their status.
    Ids done() const {
        Ids ids;
        for (const std::string& id : m_run->stepIds()) {
            const bool isDone = has("." + id + ".end.rst");
            EXPECT_EQ(step(id)->getStatus()->getCode(), isDone ? kDone : kNotStarted) << id;
            if (isDone)
                ids.push_back(id);
        }
        return ids;
    }
    const std::string& tableFile() const {
        return m_run->info().getFile(HAXPTypes::FILE_PLACE_UTIL);
    }
    std::string notEmptied() const {
        return "Failed to delete one or more files in run directory " + runDir();
    }
};

// Where it begins ------------------------------------------------------------

TEST_F(RunResetTest, TakesEveryStepBackWithoutAnAbbreviation) {
    EXPECT_TRUE(m_run->resetRun("", m_errors, false, false, false));
    EXPECT_EQ(done(), (Ids{}));
    EXPECT_EQ(m_errors, (Texts{}));
}

TEST_F(RunResetTest, TakesEveryStepBackInItsShortForm) {
    EXPECT_TRUE(m_run->resetRun(m_errors, false, false, false));
    EXPECT_EQ(done(), (Ids{}));
    EXPECT_FALSE(m_run->isActivated());
}

TEST_F(RunResetTest, BeginsAtTheStepOfTheAbbreviation) {
    EXPECT_TRUE(resetFrom("at_b"));
    EXPECT_EQ(done(), (Ids{"a"}));
}

TEST_F(RunResetTest, FindsTheStepWhateverTheCase) {
    EXPECT_TRUE(resetFrom("AT_B"));
    EXPECT_EQ(done(), (Ids{"a"}));
}

TEST_F(RunResetTest, EmptiesTheDirectoryForTheFirstStepInAnotherCase) {
    EXPECT_TRUE(resetFrom("At_A"));
    EXPECT_EQ(done(), (Ids{}));
    EXPECT_TRUE(isEmptied());
    EXPECT_FALSE(m_run->isActivated());
}

TEST_F(RunResetTest, FailsForAnUnknownAbbreviation) {
    m_errors = {"before"};
    EXPECT_FALSE(resetFrom("at_z"));
    EXPECT_EQ(m_errors, (Texts{"before", "Failed to reset run step at_z"}));
    EXPECT_EQ(done(), (Ids{"a", "b", "c"}));
    EXPECT_FALSE(isEmptied());
    EXPECT_TRUE(m_run->isActivated());
}

TEST_F(RunResetTest, FailsForAStepOfTheFlowThatTheRunLacks) {
    EXPECT_FALSE(resetFrom("at_extra"));
    EXPECT_EQ(m_errors, (Texts{"Failed to reset run step at_extra"}));
    EXPECT_EQ(done(), (Ids{"a", "b", "c"}));
}

TEST_F(RunResetTest, TakesTheFirstStepFromTheRunAndTheTargetFromTheFlow) {
    m_run->removeStep(flowStep("a"), true);
    EXPECT_FALSE(resetFrom("at_a")) << "the run lacks it";
    EXPECT_FALSE(isEmptied());
    m_errors.clear();
    EXPECT_TRUE(resetFrom("at_b"));
    EXPECT_TRUE(isEmptied()) << "the run begins with it";
}

TEST_F(RunResetTest, AsksNoStepFilter) {
    m_run->setRunMode(HAXPExpRunBase::kUnknown);
    EXPECT_TRUE(reset());
    m_run->setRunMode(HAXPExpRunBase::kLaunched);
    m_run->updateStatus();
    EXPECT_EQ(done(), (Ids{}));
}

TEST_F(RunResetTest, NeedsAStep) {
    m_run->nukeSteps();
    m_run->setLatestStep(nullptr);
    EXPECT_EQ(thrownText<HEXAlgException>([this] { reset(); }), "ExpRun: no steps");
    EXPECT_EQ(m_run->statusUpdates, 0);
    EXPECT_FALSE(isEmptied());
}

TEST_F(RunResetTest, NeedsTheStepStillWhenItsStatusIsKnown) {
    m_run->onUpdateStatus = [this] {
        m_run->setLatestStep(nullptr);
        m_run->nukeSteps();
    };
    EXPECT_EQ(thrownText<HEXAlgException>([this] { reset(); }), "ExpRun: no steps");
}

// What goes ------------------------------------------------------------------

TEST_F(RunResetTest, KeepsAllFilesUnlessToldToEmpty) {
    EXPECT_TRUE(reset(false));
    EXPECT_EQ(entries(), (Ids{"notes.txt", "util.rpt"}));
}

TEST_F(RunResetTest, EmptiesTheDirectoryFromTheFirstStepOn) {
    EXPECT_TRUE(reset(true));
    EXPECT_EQ(entries(), (Ids{}));
}

TEST_F(RunResetTest, RemovesTheFilesOfStepsAloneFromALaterStepOn) {
    EXPECT_TRUE(resetFrom("at_b", true));
    EXPECT_FALSE(hasOutput());
    EXPECT_FALSE(isEmptied());
}

TEST_F(RunResetTest, EmptiesNoDirectoryOfARunThatIsntLaunched) {
    for (const auto mode : {HAXPExpRunBase::kNotLaunched, HAXPExpRunBase::kUnknown}) {
        m_run->setRunMode(mode);
        EXPECT_TRUE(reset(true));
        EXPECT_FALSE(isEmptied());
    }
    EXPECT_FALSE(hasOutput()) << "steps lose their files in every mode";
}

TEST_F(RunResetTest, ReadsTheModeThatTheStatusLeaves) {
    m_run->onUpdateStatus = [this] { m_run->setRunMode(HAXPExpRunBase::kUnknown); };
    EXPECT_TRUE(reset(true));
    EXPECT_FALSE(isEmptied());
}

TEST_F(RunResetTest, EmptiesBeforeTheFilesAreForgotten) {
    // No step leaves it: only the table of the run knows its name.
    m_run->info().setFile(HAXPTypes::FILE_PLACE_IO, "io.rpt");
    mark("io.rpt");
    EXPECT_TRUE(reset(true));
    EXPECT_FALSE(has("io.rpt"));
    EXPECT_EQ(m_run->info().getFile(HAXPTypes::FILE_PLACE_IO), "");
}

TEST_F(RunResetTest, TellsThatAStepStays) {
    test::FaultyDisk disk;
    disk.failOnce(1, EACCES);
    m_errors = {"before"};
    EXPECT_FALSE(resetFrom("at_b", false));
    EXPECT_EQ(m_errors, (Texts{"before", "Failed to reset run step at_b"}));
}

TEST_F(RunResetTest, TellsOfNoAbbreviationWhenThereIsNone) {
    test::FaultyDisk disk;
    disk.failOnce(1, EACCES);
    EXPECT_FALSE(reset(false));
    EXPECT_EQ(m_errors, (Texts{"Failed to reset run step "}));
}

TEST_F(RunResetTest, GoesOnWhenAStepStays) {
    test::FaultyDisk disk;
    disk.failOnce(1, EACCES);
    EXPECT_FALSE(m_run->resetRun(m_errors, true, false, true));
    EXPECT_TRUE(isEmptied());
    EXPECT_EQ(tableFile(), "");
    EXPECT_FALSE(m_run->isActivated());
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(RunResetTest, PassesOnWhatAStepThrows) {
    HAXPFileSpec generated("generated");
    const HAXPFileType type("net");
    generated.addFileType(type);
    m_run->info().setFileUniversal(type, "*bad");
    m_flow->getFlowStepForFSId("b")->setGenFilter(&generated);
    EXPECT_THROW(m_run->resetRun(m_errors, true, false, true), std::regex_error);
    EXPECT_EQ(m_errors, (Texts{}));
    EXPECT_FALSE(isEmptied());
    EXPECT_EQ(tableFile(), "util.rpt");
    EXPECT_TRUE(m_run->isActivated());
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

// What the run forgets -------------------------------------------------------

TEST_F(RunResetTest, ForgetsResultsFromTheFirstStepOn) {
    m_run->info().setLaunchTime_(1000);
    EXPECT_TRUE(reset(false));
    EXPECT_EQ(tableFile(), "");
    EXPECT_EQ(m_run->info().getLaunchTime(), 0);
    EXPECT_FALSE(m_run->isActivated());
}

TEST_F(RunResetTest, KeepsTheUniversalFileTable) {
    const HAXPFileType type("net");
    m_run->info().setFileUniversal(type, "net.v");
    EXPECT_TRUE(reset());
    EXPECT_EQ(m_run->info().getFileUniversal(type.getUniversalId()), "net.v");
}

TEST_F(RunResetTest, RemembersResultsFromALaterStepOn) {
    m_run->info().setLaunchTime_(1000);
    EXPECT_TRUE(resetFrom("at_b"));
    EXPECT_EQ(tableFile(), "util.rpt");
    EXPECT_EQ(m_run->info().getLaunchTime(), 1000);
    EXPECT_TRUE(m_run->isActivated());
}

TEST_F(RunResetTest, BringsTheRunUpToDateAtItsEnd) {
    // Before, behind the steps, and when the run is out of use.
    std::vector<bool> active;
    m_run->onUpdateStatus = [&] { active.push_back(m_run->isActivated()); };
    EXPECT_TRUE(reset());
    EXPECT_EQ(active, (std::vector<bool>{true, true, false}));
    m_run->onUpdateStatus = nullptr;
}

TEST_F(RunResetTest, LeavesModeDirectoryAndStepsAlone) {
    EXPECT_TRUE(reset());
    EXPECT_EQ(m_run->getRunMode(), HAXPExpRunBase::kLaunched);
    std::string dir;
    m_run->getRunDir(dir);
    EXPECT_EQ(dir, runDir());
    EXPECT_EQ(m_run->stepIds(), (Ids{"a", "b", "c"}));
}

TEST_F(RunResetTest, MarksTheRunDirtyWhenTold) {
    EXPECT_TRUE(m_run->resetRun(m_errors, true, false, false));
    EXPECT_EQ(m_run->dirtyCalls, 0);
    EXPECT_TRUE(m_run->resetRun("at_c", m_errors, true, false, true));
    EXPECT_EQ(m_run->dirtyCalls, 1);
    EXPECT_TRUE(m_run->resetRun(m_errors, true, false, true));
    EXPECT_EQ(m_run->dirtyCalls, 2);
}

// Directories that aren't there ----------------------------------------------

TEST_F(RunResetTest, ResetsARunWithoutADirectory) {
    m_run->setRunDir("", false);
    EXPECT_TRUE(reset(true, true));
    EXPECT_FALSE(m_run->isActivated());
    EXPECT_FALSE(isEmptied());
}

TEST_F(RunResetTest, ResetsARunWhoseDirectoryIsGone) {
    removeRunDir();
    EXPECT_TRUE(reset(true, true));
    EXPECT_EQ(m_errors, (Texts{}));
    EXPECT_FALSE(m_dir.has("run")) << "it isn't made anew";
}

/// What others do at each moment at which a reset touches the disk. Runs of two kinds of
/// flow, in a directory with a bit of everything.
class ResetMomentTest : public RunResetFixture, public ::testing::WithParamInterface<const char*> {
protected:
    ResetMomentTest() : RunResetFixture(GetParam()) {}

    void fill() {
        m_dir.folder("run/c_files/deep");
        m_dir.folder("run/user");
        for (const char* id : {"a", "b", "c"})
            markDone(id);
        for (const char* name : {"util.rpt", "notes.txt", "c_files/deep/file", "user/file"})
            mark(name);
        m_run->info().setFile(HAXPTypes::FILE_PLACE_UTIL, "util.rpt");
        m_run->updateStatus();
    }
    /// The calls of the disk that a reset takes.
    int callsOfAReset() {
        fill();
        const test::FaultyDisk disk;
        EXPECT_TRUE(reset());
        return disk.calls();
    }
};

TEST_P(ResetMomentTest, MindsNoDirectoryThatVanishes) {
    const int calls = callsOfAReset();
    EXPECT_GT(calls, 15);
    for (int call = 1; call <= calls; ++call) {
        fill();
        test::FaultyDisk disk;
        disk.doAt(call, [this] { removeRunDir(); });
        EXPECT_TRUE(reset()) << call;
        EXPECT_EQ(m_errors, (Texts{})) << call;
        EXPECT_FALSE(m_dir.has("run")) << call;
    }
}

TEST_P(ResetMomentTest, LeavesTheRunToOthers) {
    const int calls = callsOfAReset();
    for (int call = 1; call <= calls; ++call) {
        fill();
        bool looked = false;
        test::FaultyDisk disk;
        disk.doAt(call, [&] {
            std::thread other([&] { looked = m_run->getRunMode() == HAXPExpRunBase::kLaunched; });
            other.join();
        });
        EXPECT_TRUE(reset()) << call;
        EXPECT_TRUE(looked) << call;
    }
}

INSTANTIATE_TEST_SUITE_P(Flows, ResetMomentTest, ::testing::Values("Test Flow", "ZUM Flow"),
                         [](const auto& row) { return std::string(row.param, row.param + 3); });

// A directory that belongs to the run alone ----------------------------------

/// The same of a flow that owns its directories.
class WholeRunResetTest : public RunResetFixture {
protected:
    WholeRunResetTest() : RunResetFixture("QSY Flow") { mark("user.v"); }
};

TEST_F(WholeRunResetTest, RemovesEveryEntry) {
    EXPECT_TRUE(reset());
    EXPECT_EQ(entries(), (Ids{}));
    EXPECT_TRUE(m_dir.has("run"));
}

TEST_F(WholeRunResetTest, TellsThatAFileStays) {
    test::FaultyDisk disk;
    disk.failAll("unlinkAt", EACCES);
    m_errors = {"before"};
    EXPECT_FALSE(m_run->resetRun(m_errors, true, false, true));
    EXPECT_EQ(m_errors,
              (Texts{"before", "Failed to delete one or more files in run directory " + runDir()}));
    EXPECT_EQ(m_run->info().getFile(HAXPTypes::FILE_PLACE_UTIL), "");
    EXPECT_FALSE(m_run->isActivated());
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(WholeRunResetTest, TellsBothFailuresInTheirOrder) {
    markDone("a");
    m_run->updateStatus();
    test::FaultyDisk disk;
    disk.failAll("unlinkAt", EACCES);
    EXPECT_FALSE(reset());
    EXPECT_EQ(m_errors, (Texts{"Failed to reset run step ",
                               "Failed to delete one or more files in run directory " + runDir()}));
}

// In process -----------------------------------------------------------------

/// Runs of a local flow execute in this process. Step "a" runs, with no process of its
/// own to be killed.
class InProcessResetTest : public RunResetFixture {
protected:
    InProcessResetTest() {
        m_flow->setLaunchedLocally(true);
        markRunning("a");
        m_run->updateStatus();
    }

    TestParam m_templatized{"runs.enableTemplatizedFlows", true};
    TestParam m_launched{"runs.launchI2FlowInProcess", true};
};

TEST_F(InProcessResetTest, AsksTheRunToStop) {
    mark(".stop.rst", "old");
    EXPECT_TRUE(resetFrom("at_b", false, true));
    EXPECT_TRUE(has(".stop.rst"));
    EXPECT_EQ(m_dir.read("run/.stop.rst"), "");
    EXPECT_EQ(m_errors, (Texts{}));
    EXPECT_TRUE(has(".a.begin.rst"));
}

TEST_F(InProcessResetTest, EmptiesTheDirectoryWhateverWasAsked) {
    EXPECT_TRUE(reset(false, true));
    EXPECT_EQ(entries(), (Ids{})) << "the request to stop too";
}

TEST_F(InProcessResetTest, RemovesTheFilesOfStepsWhateverWasAsked) {
    EXPECT_TRUE(resetFrom("at_b", false, true));
    EXPECT_FALSE(hasOutput());
    EXPECT_FALSE(isEmptied());
}

TEST_F(InProcessResetTest, AsksTheRunToStopAlsoWhenNothingIsToBeKilled) {
    m_run->setRunMode(HAXPExpRunBase::kUnknown);
    EXPECT_TRUE(reset(false, false));
    EXPECT_TRUE(has(".stop.rst"));
    EXPECT_FALSE(hasOutput());
}

TEST_F(InProcessResetTest, MakesNoDirectory) {
    removeRunDir();
    EXPECT_TRUE(reset());
    EXPECT_FALSE(m_dir.has("run"));
}

/// What says that a run executes in process.
struct InProcessCase {
    const char* name;
    bool templatized;
    bool launched;
    bool localFlow;
    bool inProcess;
};

std::ostream& operator<<(std::ostream& os, const InProcessCase& row) {
    return os << row.name;
}

class InProcessTable : public RunResetFixture,
                       public ::testing::WithParamInterface<InProcessCase> {};

TEST_P(InProcessTable, DecidesWhetherTheRunIsAskedToStop) {
    const TestParam templatized("runs.enableTemplatizedFlows", GetParam().templatized);
    const TestParam launched("runs.launchI2FlowInProcess", GetParam().launched);
    m_flow->setLaunchedLocally(GetParam().localFlow);
    EXPECT_TRUE(resetFrom("at_b", false));
    EXPECT_EQ(has(".stop.rst"), GetParam().inProcess);
    EXPECT_EQ(hasOutput(), !GetParam().inProcess);
}

INSTANTIATE_TEST_SUITE_P(
    Switches, InProcessTable,
    ::testing::Values(InProcessCase{"All", true, true, true, true},
                      InProcessCase{"None", false, false, false, false},
                      InProcessCase{"NotTemplatized", false, true, true, false},
                      InProcessCase{"NotLaunched", true, false, true, false},
                      InProcessCase{"FlowElsewhere", true, true, false, false}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(RunResetTest, TakesAbsentSwitchesForOff) {
    m_flow->setLaunchedLocally(true);
    EXPECT_TRUE(resetFrom("at_b", false));
    EXPECT_FALSE(has(".stop.rst"));
    EXPECT_TRUE(hasOutput());
}

}  // namespace
