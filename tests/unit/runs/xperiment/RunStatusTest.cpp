// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPFileCheck.h"
#include "tests/unit/runs/xperiment/runFixture.h"
#include "tests/unit/runs/xperiment/tracedStat.h"

namespace {

using test::drained;
using test::kDone;
using test::kFailed;
using test::kNotStarted;
using test::kQueued;
using test::kRunning;
using test::RunFixture;
using test::StepTraits;

/// A run of "a", "b" and "c" with a report "<step>.rpt" each, all of them in the folder.
class RunStatusTest : public RunFixture {
protected:
    RunStatusTest()
        : RunFixture({withReport("a", HAXPTypes::FILE_OPT_DRC),
                      withReport("b", HAXPTypes::FILE_PLACE_IO),
                      withReport("c", HAXPTypes::FILE_ROUTE_DRC)}) {
        m_run->info().setFile(HAXPTypes::FILE_OPT_DRC, "a.rpt");
        m_run->info().setFile(HAXPTypes::FILE_PLACE_IO, "b.rpt");
        m_run->info().setFile(HAXPTypes::FILE_ROUTE_DRC, "c.rpt");
        for (const char* file : {"a.rpt", "b.rpt", "c.rpt"})
            m_dir.mark(file);
        m_run->deleteStats();
        test::registerTracedStats();
        m_run->createStats();
    }

    static StepTraits withReport(const std::string& id, HAXPTypes::FileType type) {
        StepTraits traits = StepTraits::of(id);
        traits.reports = {type};
        return traits;
    }
    HAXPFileCheck* report(const std::string& id) const {
        return drained(step(id)->createReportIter()).at(0);
    }
    /// The ids of the steps whose report is available.
    std::string found() const {
        std::string ids;
        for (const char* id : {"a", "b", "c"})
            ids += report(id)->isAvailable() ? id : "";
        return ids;
    }
    std::size_t statUpdates() const { return test::tracedStat(*m_run, "traced").runs.size(); }
};

// The one way from disk to reports and statistics ----------------------------

TEST_F(RunStatusTest, BringsTheStatusUpToDateFirst) {
    launch();
    markDone("a");
    m_run->onUpdateStatus = [this] { EXPECT_EQ(found(), ""); };
    m_run->updateRun();
    EXPECT_EQ(m_run->statusUpdates, 1);
    EXPECT_EQ(step("a")->getStatus()->getCode(), kDone);
    EXPECT_EQ(found(), "a");
}

TEST_F(RunStatusTest, FindsReportsAndStatisticsOfALaunchedRun) {
    launch();
    markDone("a");
    m_run->updateRun();
    std::string path;
    report("a")->getFullPath(path);
    EXPECT_EQ(path, m_dir.path("a.rpt"));
    EXPECT_EQ(test::tracedStat(*m_run, "traced").runs, (std::vector<HAXPExpRunBase*>{m_run.get()}));
}

TEST_F(RunStatusTest, UpdatesReportsBeforeStatistics) {
    launch();
    markDone("a");
    std::string foundMeanwhile;
    test::tracedStat(*m_run, "traced").onUpdate = [&] { foundMeanwhile = found(); };
    m_run->updateRun();
    EXPECT_EQ(foundMeanwhile, "a");
}

TEST_F(RunStatusTest, ForgetsReportsAndStatisticsOutsideALaunch) {
    for (const auto mode : {HAXPExpRunBase::kNotLaunched, HAXPExpRunBase::kUnknown}) {
        launch();
        markDone("a");
        m_run->updateRun();
        EXPECT_EQ(found(), "a");
        m_run->setRunMode(mode);
        m_run->updateRun();
        EXPECT_EQ(found(), "");
        EXPECT_FALSE(test::tracedStat(*m_run, "traced").isAvailable());
    }
}

TEST_F(RunStatusTest, ForgetsReportsAndStatisticsWithoutADirectory) {
    launch();
    markDone("a");
    m_run->updateRun();
    const std::size_t updates = statUpdates();
    m_run->setRunDir("", true);
    EXPECT_EQ(found(), "");
    EXPECT_FALSE(test::tracedStat(*m_run, "traced").isAvailable());
    EXPECT_EQ(statUpdates(), updates);
}

TEST_F(RunStatusTest, IsNeverDirtyByWhatTheDiskTells) {
    launch();
    markDone("a");
    m_run->updateStatus();
    m_run->updateRun();
    m_run->setRunDir(m_dir.path(), true);
    m_run->checkToActivateRun();
    m_run->deactivateRun();
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

// Reports --------------------------------------------------------------------

TEST_F(RunStatusTest, LooksForReportsOfDoneAndFailedStepsAlone) {
    const auto foundWith = [this](int code) {
        setCodes({kDone, kDone, kDone});
        m_run->updateReports(m_dir.path());
        EXPECT_EQ(found(), "abc");
        m_run->setCode("b", code);
        m_run->updateReports(m_dir.path());
        return found();
    };
    EXPECT_EQ(foundWith(kDone), "abc");
    EXPECT_EQ(foundWith(kFailed), "abc");
    for (const int code : {kNotStarted, kQueued, kRunning, 4})
        EXPECT_EQ(foundWith(code), "ac") << code;
}

TEST_F(RunStatusTest, ReadsStatusesWithoutRefreshingThemForReports) {
    m_run->updateReports(m_dir.path());
    m_run->resetReports();
    EXPECT_EQ(m_run->statusUpdates, 0);
}

TEST_F(RunStatusTest, ForgetsEveryReport) {
    setCodes({kDone, kDone, kDone});
    m_run->updateReports(m_dir.path());
    m_run->resetReports();
    EXPECT_EQ(found(), "");
    EXPECT_TRUE(m_dir.has("a.rpt")) << "no file is touched";
}

TEST_F(RunStatusTest, FindsNoReportWithoutADirectory) {
    setCodes({kDone, kDone, kDone});
    m_run->updateReports(m_dir.path());
    m_run->updateReports("");
    EXPECT_EQ(found(), "");
}

// The directory --------------------------------------------------------------

TEST_F(RunStatusTest, TakesADirectoryWithOrWithoutAnUpdate) {
    m_run->setRunDir(m_dir.path(), false);
    EXPECT_EQ(m_run->statusUpdates, 0);
    std::string dir;
    m_run->getRunDir(dir);
    EXPECT_EQ(dir, m_dir.path());
    m_run->setRunMode(HAXPExpRunBase::kLaunched);
    markDone("b");
    m_run->setRunDir(m_dir.path(), true);
    EXPECT_EQ(m_run->statusUpdates, 1);
    EXPECT_EQ(found(), "b");
}

// Activation -----------------------------------------------------------------

using RunActivationTest = RunStatusTest;

TEST_F(RunActivationTest, ActivatesExactlyWithADirectory) {
    m_run->checkToActivateRun();
    EXPECT_FALSE(m_run->isActivated());
    m_run->setRunDir(m_dir.path(), false);
    EXPECT_FALSE(m_run->isActivated()) << "a directory alone doesn't";
    m_run->checkToActivateRun();
    EXPECT_TRUE(m_run->isActivated());
    m_run->checkToActivateRun();
    EXPECT_TRUE(m_run->isActivated());
    m_run->setRunDir("", false);
    m_run->checkToActivateRun();
    EXPECT_FALSE(m_run->isActivated()) << "whatever it was";
}

TEST_F(RunActivationTest, BringsTheRunUpToDate) {
    launch();
    markDone("a");
    m_run->checkToActivateRun();
    EXPECT_EQ(m_run->statusUpdates, 1);
    EXPECT_EQ(found(), "a");
}

TEST_F(RunActivationTest, DeactivatesAndBringsTheRunUpToDate) {
    launch();
    m_run->checkToActivateRun();
    markDone("a");
    m_run->deactivateRun();
    EXPECT_FALSE(m_run->isActivated());
    EXPECT_EQ(m_run->statusUpdates, 2);
    EXPECT_EQ(found(), "a") << "the directory stays, and the mode too";
    m_run->deactivateRun();
    EXPECT_FALSE(m_run->isActivated());
}

TEST_F(RunActivationTest, IsActivatedWhileTheRunIsBroughtUpToDate) {
    m_run->setRunDir(m_dir.path(), false);
    bool activated = false;
    m_run->onUpdateStatus = [&] { activated = m_run->isActivated(); };
    m_run->checkToActivateRun();
    EXPECT_TRUE(activated);
    m_run->deactivateRun();
    EXPECT_FALSE(activated);
}

}  // namespace
