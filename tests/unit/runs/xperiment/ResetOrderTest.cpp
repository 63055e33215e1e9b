// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <memory>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "runs/base/xperiment/HAXPFileSpec.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeProcessTable.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/TestParam.h"
#include "tests/unit/runs/xperiment/resetFixture.h"

namespace {

using test::Ids;
using test::RunFixture;
using test::RunResetFixture;
using test::StepTraits;

// A step ---------------------------------------------------------------------

/// A step "place" that is done, with a report, a message file, and outputs of two
/// universal types and of two others.
class StepOrderTest : public RunFixture {
protected:
    StepOrderTest() : RunFixture({place()}) {
        launch();
        markDone("place");
        m_dir.mark(".place.error.rst");
        m_run->info().setFile(HAXPTypes::FILE_PLACE_IO, "io.rpt");
        m_dir.mark("io.rpt");
        m_run->updateStatus();
        step("place")->updateReports(m_dir.path());
        for (const HAXPFileType& type : {m_later, m_earlier})
            m_generated.addFileType(type);
        for (const auto type : {HAXPTypes::FILE_PLACE_UTIL, HAXPTypes::FILE_PLACE_CLK})
            m_generated.addFileType(type);
        m_run->info().setFilesUniversal(m_later, {"z.v", "y.v"});
        m_run->info().setFilesUniversal(m_earlier, {"x.v"});
        m_run->info().setFiles(HAXPTypes::FILE_PLACE_UTIL, {"util2", "util1"});
        m_run->info().setFile(HAXPTypes::FILE_PLACE_CLK, "clk");
        step("place")->setFile(HAXPTypes::FILE_PLACE_CLK, "own_clk");
        step("place")->setFile(HAXPTypes::FILE_PLACE_UTIL, "own_util");
        for (const char* name : {"x.v", "y.v", "z.v", "util1", "util2", "clk", "own_clk",
                                 "own_util", "place.log", "place_reports.log"})
            m_dir.mark(name);
        m_flow->getFlowStepForFSId("place")->setGenFilter(&m_generated);
    }

    static StepTraits place() {
        StepTraits traits = StepTraits::of("place");
        traits.msgFileName = "place.log";
        traits.reports = {HAXPTypes::FILE_PLACE_IO};
        return traits;
    }
    Ids removals(bool cleanFiles) const {
        const test::FaultyDisk disk;
        EXPECT_TRUE(step("place")->resetStep(m_dir.path(), cleanFiles));
        return disk.removals();
    }
    Ids filesOf(const HAXPFileType& type) const {
        Ids names;
        m_run->info().getFilesUniversal(type.getUniversalId(), names);
        return names;
    }
    /// The files of the universal types, which go in the order of their specification.
    Ids universalFiles() const {
        Ids names;
        const auto range = m_generated.createUniversalFileTypeRange();
        for (auto type = range.first; type != range.second; ++type)
            for (const std::string& name : filesOf(*type))
                names.push_back(name);
        return names;
    }

    HAXPFileSpec m_generated{"generated"};
    HAXPFileType m_later{"9d7a3f52-61c0-4f6e-9d6b-2f6f6f1f3c11", "later"};
    HAXPFileType m_earlier{"1d7a3f52-61c0-4f6e-9d6b-2f6f6f1f3c11", "earlier"};
};

TEST_F(StepOrderTest, RemovesItsMarkersAlone) {
    EXPECT_EQ(removals(false), (Ids{".place.begin.rst", ".place.end.rst", ".place.error.rst"}));
}

TEST_F(StepOrderTest, RemovesMarkersReportsOutputsAndMessages) {
    Ids expected{".place.begin.rst", ".place.end.rst", ".place.error.rst", "io.rpt"};
    const Ids universal = universalFiles();
    ASSERT_EQ(universal.size(), 3U);
    expected.insert(expected.end(), universal.begin(), universal.end());
    for (const char* name : {"util2", "util1", "clk", "own_util", "own_clk", "place.log"})
        expected.push_back(name);
    EXPECT_EQ(removals(true), expected);
}

TEST_F(StepOrderTest, RemovesTheLogOfReportsBeforeOutputs) {
    const test::TestParam configurations("project.enableReportConfiguration", true);
    const Ids removed = removals(true);
    ASSERT_GT(removed.size(), 4U);
    EXPECT_EQ(removed[3], "place_reports.log");
    EXPECT_EQ(removed[4], universalFiles().front());
}

// A run ----------------------------------------------------------------------

/// A run whose steps are done.
class RunOrderTest : public RunResetFixture {
protected:
    RunOrderTest() {
        for (const char* id : {"a", "b", "c"})
            markDone(id);
        m_run->updateStatus();
    }
    /// The markers of every step, then those of the queue.
    static Ids markers() {
        return {".c.begin.rst", ".c.end.rst", ".b.begin.rst",         ".b.end.rst",
                ".a.begin.rst", ".a.end.rst", ".Test_Flow.queue.rst", ".Test Flow.queue.rst"};
    }
};

TEST_F(RunOrderTest, ResetsTheLastStepFirstAndTheQueueLast) {
    const test::FaultyDisk disk;
    EXPECT_TRUE(m_run->resetStep(flowStep("a"), false, false));
    EXPECT_EQ(disk.removals(), markers());
}

TEST_F(RunOrderTest, EmptiesTheDirectoryBehindTheSteps) {
    m_flow->getFlowStepForFSId("b")->setGenFilter(nullptr);
    Ids left{"util.rpt"};
    const std::vector<std::string> leftovers = test::launchLeftovers();
    left.insert(left.end(), leftovers.begin(), leftovers.end());
    left.push_back("notes.txt");
    for (const std::string& name : left)
        mark(name);
    const test::FaultyDisk disk;
    EXPECT_TRUE(reset());
    Ids expected = markers();
    expected.insert(expected.end(), left.begin(), left.end());
    EXPECT_EQ(disk.removals(), expected);
    EXPECT_EQ(entries(), Ids());
}

TEST_F(RunOrderTest, RemovesTheFilesOfALaunchFromADirectoryThatCantBeListed) {
    if (geteuid() == 0)
        GTEST_SKIP() << "root lists every directory";
    mark("runme.sh");
    ASSERT_EQ(chmod(runDir().c_str(), 0300), 0);
    EXPECT_TRUE(reset());
    ASSERT_EQ(chmod(runDir().c_str(), 0700), 0);
    EXPECT_EQ(entries(), Ids{"notes.txt"});
}

/// What the run looked like at each of its hooks: whose turn it was, whether its output,
/// its directory's files and its activity were still there, and its request to stop.
TEST_F(RunOrderTest, ForgetsItsResultsBetweenTheDirectoryAndItsActivity) {
    Ids events;
    const auto note = [&](const std::string& who) {
        const bool knows = !m_run->info().getFile(HAXPTypes::FILE_PLACE_UTIL).empty();
        events.push_back(who + (has(".a.end.rst") ? " markers" : "") +
                         (hasOutput() ? " output" : "") + (isEmptied() ? "" : " notes") +
                         (knows ? " table" : "") + (m_run->isActivated() ? " active" : "") +
                         (has(".stop.rst") ? " stop" : ""));
    };
    m_run->onUpdateStatus = [&] { note("status"); };
    m_run->info().onReset = [&] { note("information"); };
    m_run->onDirty = [&] { note("dirty"); };
    EXPECT_TRUE(m_run->resetRun(m_errors, true, true, true));
    EXPECT_EQ(events,
              (Ids{"status markers output notes table active", "status notes table active stop",
                   "information table active", "status", "dirty"}));
}

TEST_F(RunOrderTest, AsksToStopInTheDirectoryThatItBeganWith) {
    m_dir.folder("other");
    m_run->onUpdateStatus = [this] { m_run->setRunDir(m_dir.path("other"), false); };
    EXPECT_TRUE(reset(false, true));
    EXPECT_TRUE(has(".stop.rst"));
    EXPECT_FALSE(m_dir.has("other/.stop.rst"));
}

TEST_F(RunOrderTest, LooksOnceMoreForWhatItCouldntStop) {
    const test::FakeClock clock;
    test::FakeProcessTable host;
    m_dir.unmark("run/.c.end.rst");
    Ids events;
    m_run->onUpdateStatus = [&] {
        events.push_back(std::string(has(".stop.rst") ? "stop " : "") +
                         (has(".a.end.rst") ? "markers " : "") +
                         std::to_string(clock.sleeps().size()));
    };
    EXPECT_FALSE(reset(false, true)) << "nothing tells of its process";
    EXPECT_EQ(events, (Ids{"markers 0", "stop markers 1", "stop 1", "stop 1"}));
}

}  // namespace
