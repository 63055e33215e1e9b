// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "environment/messages/ComMsgMgrSrcHandle.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/runMutex.h"
#include "tests/unit/runs/xperiment/runFixture.h"
#include "tests/unit/runs/xpreport/reportFixture.h"

namespace {

using test::kDone;
using test::kNotStarted;
using test::RunFixture;

/// Takes a mutex that its caller may hold: what the analysis of locks would refuse.
void lockOnceMore(xperiment::RunMutex& mutex) {
    const xperiment::RunLock lock(mutex);
}

/// A run of "a", "b" and "c" that several threads use at a time.
class RunLockTest : public RunFixture {
protected:
    /// Does each piece of work a few hundred times, on a thread of its own.
    static void together(const std::vector<std::function<void(int)>>& work) {
        std::atomic<bool> go{false};
        std::vector<std::thread> threads;
        for (const auto& piece : work) {
            threads.emplace_back([&go, &piece] {
                while (!go)
                    std::this_thread::yield();
                for (int i = 0; i < 300; ++i)
                    piece(i);
            });
        }
        go = true;
        for (std::thread& thread : threads)
            thread.join();
    }
};

TEST_F(RunLockTest, KeepsTextsWhole) {
    const std::string first(100, 'a');
    const std::string second(200, 'b');
    std::atomic<int> torn{0};
    const auto check = [&](const std::string& text) {
        if (!text.empty() && text != first && text != second)
            ++torn;
    };
    together({[&](int i) { m_run->setRunDir(i % 2 == 0 ? first : second, false); },
              [&](int i) { m_run->setToStepId(i % 2 == 0 ? first : second); },
              [&](int) {
                  std::string text;
                  m_run->getRunDir(text);
                  check(text);
              },
              [&](int) {
                  std::string text;
                  m_run->getToStepId(text);
                  if (text != "at_c")
                      check(text);
              }});
    EXPECT_EQ(torn, 0);
}

TEST_F(RunLockTest, GuardsModeActivationAndLatestStep) {
    HAXPExpRunStep* first = step("a");
    HAXPExpRunStep* second = step("b");
    std::atomic<int> strange{0};
    together({[&](int i) {
                  m_run->setRunMode(i % 2 == 0 ? HAXPExpRunBase::kLaunched
                                               : HAXPExpRunBase::kNotLaunched);
              },
              [&](int i) { m_run->setLatestStep(i % 2 == 0 ? first : second); },
              [&](int) {
                  const HAXPExpRunStep* latest = m_run->getLatestStep();
                  if (latest != nullptr && latest != first && latest != second)
                      ++strange;
                  if (m_run->getRunMode() == HAXPExpRunBase::kUnknown || m_run->isActivated())
                      ++strange;
              }});
    EXPECT_EQ(strange, 0);
}

TEST_F(RunLockTest, SelectsStepsWhileTheirStatusChanges) {
    std::atomic<int> strange{0};
    HDGUIStatus* status = step("b")->getStatus();
    together({[&](int i) { status->setCode(i % 2 == 0 ? kDone : kNotStarted); },
              [&](int) {
                  const HAXPExpRunStep* done = m_run->getLastDoneStep();
                  if (done != nullptr && done != step("b"))
                      ++strange;
              },
              [&](int) {
                  const HAXPExpRunStep* next = m_run->getEffectiveNextStep();
                  if (next != step("a") && next != step("c"))
                      ++strange;
              },
              [&](int) { m_run->updateReports("/nowhere"); }});
    EXPECT_EQ(strange, 0);
}

TEST_F(RunLockTest, CountsStepsWhileTheyComeAndGo) {
    const HAXPStrategy strategy(m_flow.get());
    std::atomic<int> strange{0};
    const auto counted = [&](int count) {
        if (count < 0 || count > 4)
            ++strange;
    };
    together({[&](int i) {
                  if (i % 10 == 0)
                      m_run->nukeSteps();
                  else if (i % 10 == 5)
                      m_run->applyStrategy(&strategy);
              },
              [&](int) { counted(m_run->effectiveStepCount(false)); },
              [&](int) { counted(m_run->getStepIndex(nullptr)); },
              [&](int) { counted(m_run->hasNonInitRunStepAfter(nullptr) ? 1 : 0); }});
    EXPECT_EQ(strange, 0);
}

TEST_F(RunLockTest, SeeksStaleStepsWhileStepsComeAndGo) {
    const HAXPStrategy strategy(m_flow.get());
    std::atomic<int> strange{0};
    together({[&](int i) {
                  if (i % 2 == 0)
                      m_run->nukeSteps();
                  else
                      m_run->applyStrategy(&strategy);
              },
              [&](int) {
                  if (m_run->getFirstStaleOrOwnStep("stranger") != nullptr)
                      ++strange;
              },
              [&](int) { m_run->getFirstStaleOrOwnStep("b"); }});
    EXPECT_EQ(strange, 0);
    EXPECT_EQ(m_run->getFirstStaleOrOwnStep("b"), step("b"));
}

TEST_F(RunLockTest, TellsReportsApartWhileTheyComeAndGo) {
    const auto spec = test::reports::makeReport("report_drc");
    const auto churn = [&](const std::string& name) {
        m_run->createReportConfig(name, "a", spec.get(), "", false);
        m_run->isUniqueReportFileName("a.rpt");
        m_run->isUniqueReportConfigName("second");
        m_run->isUniqueReportConfigDisplayName("DRC");
        m_run->isReportGenerationNeeded();
        m_run->deleteAllReportConfigs(false);
    };
    std::atomic<int> strange{0};
    together({[&](int) { churn("first"); },
              [&](int) {
                  if (m_run->getTotalConfigCount() > 1)
                      ++strange;
              }});
    EXPECT_EQ(strange, 0);
    EXPECT_EQ(m_run->getTotalConfigCount(), 0);
}

TEST_F(RunLockTest, ClosesMessagesWhileHandlesAreAdded) {
    std::vector<ComMsgMgrSrcHandle> handles(300, ComMsgMgrSrcHandle("step"));
    together({[&](int i) { m_run->addMsgHandle_(&handles[static_cast<std::size_t>(i)]); },
              [&](int) { m_run->closeAllMessageHandles(); }});
    m_run->closeAllMessageHandles();
    EXPECT_TRUE(test::drained(m_run->createMsgMgrHandlesIter()).empty());
}

/// The hook may use the run: it is called with the lock held, by the same thread.
TEST_F(RunLockTest, IsRecursive) {
    class AskingRun final : public HAXPExpRunBase {
    public:
        using HAXPExpRunBase::HAXPExpRunBase;
        HAXPExpRunStep* getDefaultLastStep() const override {
            std::string dir;
            getRunDir(dir);
            return getFirstStep();
        }
    };
    const AskingRun run("impl_1", m_flow.get());
    EXPECT_EQ(run.getToStep(), nullptr);
    xperiment::RunMutex mutex;
    const xperiment::RunLock outer(mutex);
    lockOnceMore(mutex);
}

}  // namespace
