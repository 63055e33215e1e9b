// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrSrcHandle.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPStatMgr.h"
#include "runs/base/xperiment/HAXPStatSpec.h"
#include "tests/unit/runs/xperiment/runFixture.h"
#include "tests/unit/runs/xperiment/tracedStat.h"

namespace {

using test::drained;
using test::RunFixture;
using test::tracedStat;

using MessageHandles = std::vector<ComMsgMgrSrcHandle*>;

// Statistics -----------------------------------------------------------------

/// A run with the statistics "traced" and "Traced".
class RunStatsTest : public RunFixture {
protected:
    RunStatsTest() {
        test::registerTracedStats();
        m_run->deleteStats();
        m_run->createStats();
    }
    int registered() const {
        return static_cast<int>(drained(HAXPStatMgr::getGlobal()->createStatIter()).size());
    }
};

TEST_F(RunStatsTest, ClonesEveryStatisticOfTheManager) {
    const auto prototypes = drained(HAXPStatMgr::getGlobal()->createStatIter());
    const auto stats = drained(m_run->createStatIter());
    ASSERT_EQ(stats.size(), prototypes.size());
    EXPECT_EQ(m_run->statCount(), registered());
    for (std::size_t i = 0; i < stats.size(); ++i) {
        EXPECT_NE(stats[i], prototypes[i]);
        EXPECT_EQ(stats[i]->getStatSpec(), prototypes[i]->getStatSpec());
    }
}

TEST_F(RunStatsTest, AppendsFurtherClones) {
    m_run->createStats();
    EXPECT_EQ(m_run->statCount(), 2 * registered());
}

TEST_F(RunStatsTest, FindsAStatisticByExactlyItsName) {
    EXPECT_NE(&tracedStat(*m_run, "traced"), &tracedStat(*m_run, "Traced"));
    HAXPStatSpec stranger("TRACED", HAXPTypes::STAT_LONG);
    EXPECT_EQ(m_run->getStat(&stranger), nullptr);
    EXPECT_EQ(m_run->getStat(nullptr), nullptr);
}

TEST_F(RunStatsTest, FindsTheFirstOfTwo) {
    HAXPStat* first = &tracedStat(*m_run, "Traced");
    m_run->createStats();
    EXPECT_EQ(&tracedStat(*m_run, "Traced"), first);
}

TEST_F(RunStatsTest, TellsOfAnError) {
    EXPECT_FALSE(m_run->hasErrorStat());
    tracedStat(*m_run, "Traced").error = true;
    EXPECT_TRUE(m_run->hasErrorStat());
}

TEST_F(RunStatsTest, UpdatesEachWithTheRun) {
    m_run->updateStats();
    for (const char* name : {"traced", "Traced"}) {
        EXPECT_EQ(tracedStat(*m_run, name).runs, (std::vector<HAXPExpRunBase*>{m_run.get()}));
        EXPECT_EQ(tracedStat(*m_run, name).getLongVal(), 1);
    }
}

TEST_F(RunStatsTest, ForgetsEveryValue) {
    m_run->updateStats();
    m_run->resetStats();
    for (const char* name : {"traced", "Traced"}) {
        EXPECT_FALSE(tracedStat(*m_run, name).isAvailable());
        EXPECT_EQ(tracedStat(*m_run, name).getLongVal(), 0);
    }
    EXPECT_EQ(m_run->statCount(), registered());
}

TEST_F(RunStatsTest, DeletesThemAll) {
    int ended = 0;
    tracedStat(*m_run, "traced").onEnd = [&] { ++ended; };
    m_run->deleteStats();
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(m_run->statCount(), 0);
    EXPECT_TRUE(drained(m_run->createStatIter()).empty());
    m_run->deleteStats();
    EXPECT_EQ(m_run->statCount(), 0);
    EXPECT_FALSE(m_run->hasErrorStat());
    m_run->updateStats();
    m_run->resetStats();
}

// Messages -------------------------------------------------------------------

/// A run and three handles with the messages of a file each.
class RunMessagesTest : public RunFixture {
protected:
    RunMessagesTest() {
        for (ComMsgMgrSrcHandle* handle : {&m_one, &m_two, &m_three})
            load(*handle);
    }
    /// The run goes first: it knows the handles.
    ~RunMessagesTest() override { m_run.reset(); }

    void load(ComMsgMgrSrcHandle& handle) const {
        const std::string file = handle.getName() + ".log";
        m_dir.mark(file, "WARNING [8-3331] The signal reset isn't driven.\n");
        handle = ComMsgMgr::loadMsgSrc(m_dir.path(file), handle.getName());
        EXPECT_EQ(handle.getMessages().size(), 1U);
    }
    MessageHandles handles() const { return drained(m_run->createMsgMgrHandlesIter()); }

    ComMsgMgrSrcHandle m_one{"one"};
    ComMsgMgrSrcHandle m_two{"two"};
    ComMsgMgrSrcHandle m_three{"three"};
};

TEST_F(RunMessagesTest, KeepsHandlesInOrderOfAddition) {
    m_run->addMsgHandle_(&m_two);
    m_run->addMsgHandle_(&m_one);
    m_run->addMsgHandle_(&m_three);
    EXPECT_EQ(handles(), (MessageHandles{&m_two, &m_one, &m_three}));
}

TEST_F(RunMessagesTest, KeepsAHandleOnce) {
    m_run->addMsgHandle_(&m_one);
    m_run->addMsgHandle_(&m_two);
    m_run->addMsgHandle_(&m_one);
    m_run->addMsgHandle_(nullptr);
    EXPECT_EQ(handles(), (MessageHandles{&m_one, &m_two}));
}

TEST_F(RunMessagesTest, TakesHandlesForTheSameByTheirAddress) {
    ComMsgMgrSrcHandle copy = m_one;
    m_run->addMsgHandle_(&m_one);
    m_run->addMsgHandle_(&copy);
    EXPECT_EQ(handles().size(), 2U);
    m_run->closeAllMessageHandles();
}

TEST_F(RunMessagesTest, UnloadsEachAndForgetsIt) {
    m_run->addMsgHandle_(&m_one);
    m_run->addMsgHandle_(&m_two);
    m_run->closeAllMessageHandles();
    EXPECT_TRUE(handles().empty());
    EXPECT_EQ(m_one.getFile(), "");
    EXPECT_EQ(m_two.getFile(), "");
    EXPECT_EQ(m_one.getName(), "one") << "the handle itself stays";
    EXPECT_NE(m_three.getFile(), "") << "a stranger isn't touched";
    m_run->closeAllMessageHandles();
    EXPECT_TRUE(handles().empty());
}

TEST_F(RunMessagesTest, TakesAClosedHandleAgain) {
    m_run->addMsgHandle_(&m_one);
    m_run->closeAllMessageHandles();
    m_run->addMsgHandle_(&m_one);
    EXPECT_EQ(handles(), (MessageHandles{&m_one}));
}

TEST_F(RunMessagesTest, ClosesThemWithTheStatistics) {
    m_run->addMsgHandle_(&m_one);
    m_run->resetStats();
    EXPECT_TRUE(handles().empty());
    EXPECT_EQ(m_one.getFile(), "");
}

TEST_F(RunMessagesTest, KeepsThemWhenStatisticsAreDeleted) {
    m_run->addMsgHandle_(&m_one);
    m_run->deleteStats();
    EXPECT_EQ(handles(), (MessageHandles{&m_one}));
}

TEST_F(RunMessagesTest, ClosesThemWithTheSteps) {
    m_run->addMsgHandle_(&m_one);
    m_run->addMsgHandle_(&step("a")->getMsgSrcHandle());
    m_run->nukeSteps();
    EXPECT_TRUE(handles().empty());
    EXPECT_EQ(m_one.getFile(), "");
}

TEST_F(RunMessagesTest, ClosesThemWithTheRun) {
    m_run->addMsgHandle_(&m_one);
    m_run.reset();
    EXPECT_EQ(m_one.getFile(), "");
    EXPECT_EQ(m_one.getName(), "one");
}

}  // namespace
