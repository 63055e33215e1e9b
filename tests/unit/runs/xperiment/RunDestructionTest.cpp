// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tcl.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HTCErrors.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrSrcHandle.h"
#include "environment/tcl/native_cache.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "tests/unit/runs/xperiment/runFixture.h"
#include "tests/unit/runs/xperiment/tracedStat.h"

namespace {

using mqi::tcltasks::native_cache_base;
using test::RunFixture;
using test::thrownText;

using RunHandles = mqi::tcltasks::native_cache<HAXPExpRunBase*>;

/// A run that the script variable "r" of an interpreter holds.
class RunDestructionTest : public RunFixture {
protected:
    RunDestructionTest() {
        Tcl_SetVar2Ex(m_interp.get(), "r", nullptr, RunHandles::get_obj(m_run.get(), "impl_1"),
                      TCL_GLOBAL_ONLY);
    }
    ~RunDestructionTest() override {
        m_run.reset();
        m_interp.reset();
        EXPECT_TRUE(RunHandles::get_n2t_cache().empty());
        EXPECT_TRUE(RunHandles::get_t2n_cache().empty());
    }

    Tcl_Obj* handle() { return Tcl_GetVar2Ex(m_interp.get(), "r", nullptr, TCL_GLOBAL_ONLY); }
    /// What a script reads of its variable.
    std::string text() { return Tcl_GetString(handle()); }
    std::string useOfHandle() {
        return thrownText<HTCErrors::error>([this] { RunHandles::get_native(handle()); });
    }
    /// Has the script side lose the handle. The caches' reference goes with it.
    void corruptCache() {
        Tcl_Obj* const obj = handle();
        EXPECT_EQ(RunHandles::get_t2n_cache().erase(obj), 1U);
        native_cache_base::mark_invalid(obj);
        native_cache_base::decr_refcount(obj);
    }

    struct DeleteInterp {
        void operator()(Tcl_Interp* interp) const { Tcl_DeleteInterp(interp); }
    };
    std::unique_ptr<Tcl_Interp, DeleteInterp> m_interp{Tcl_CreateInterp()};
};

TEST_F(RunDestructionTest, MakesItsHandleInvalid) {
    EXPECT_EQ(RunHandles::get_native(handle()), m_run.get());
    m_run.reset();
    EXPECT_TRUE(native_cache_base::is_invalid(handle()));
    EXPECT_EQ(useOfHandle(), "\"impl_1\" was deleted: this handle is no longer valid");
}

TEST_F(RunDestructionTest, LeavesNoEntryInEitherCache) {
    m_run.reset();
    EXPECT_EQ(RunHandles::get_n2t_cache().size(), 0U);
    EXPECT_EQ(RunHandles::get_t2n_cache().size(), 0U);
}

TEST_F(RunDestructionTest, DropsItsReferenceToTheHandle) {
    Tcl_Obj* const obj = handle();
    const int before = obj->refCount;
    m_run.reset();
    EXPECT_EQ(obj->refCount, before - 1);
}

TEST_F(RunDestructionTest, ReleasesEveryHandleOfTheRun) {
    Tcl_Obj* const second = Tcl_NewStringObj("again", -1);
    Tcl_IncrRefCount(second);  // the cache's
    Tcl_IncrRefCount(second);  // the test's
    RunHandles::get_n2t_cache().emplace(m_run.get(), second);
    RunHandles::get_t2n_cache().emplace(second, m_run.get());
    m_run.reset();
    EXPECT_TRUE(native_cache_base::is_invalid(second));
    EXPECT_EQ(second->refCount, 1);
    EXPECT_TRUE(RunHandles::get_n2t_cache().empty());
    Tcl_DecrRefCount(second);
}

TEST_F(RunDestructionTest, LeavesTheHandlesOfOtherRuns) {
    auto other = std::make_unique<test::TestRun>("impl_2", m_flow.get());
    Tcl_Obj* const kept = RunHandles::get_obj(other.get(), "impl_2");
    m_run.reset();
    EXPECT_EQ(RunHandles::get_native(kept), other.get());
    EXPECT_EQ(RunHandles::get_n2t_cache().size(), 1U);
}

TEST_F(RunDestructionTest, RenamesItsHandles) {
    m_run->renameRun("impl_2");
    EXPECT_EQ(text(), "impl_2");
    EXPECT_EQ(RunHandles::get_native(handle()), m_run.get());
    m_run.reset();
    EXPECT_EQ(useOfHandle(), "\"impl_2\" was deleted: this handle is no longer valid");
}

TEST_F(RunDestructionTest, TellsOfACorruptCache) {
    corruptCache();
    EXPECT_EQ(thrownText<HEXAlgException>([this] { delete m_run.release(); }),
              "native_cache<> corrupt");
    EXPECT_TRUE(RunHandles::get_n2t_cache().empty());
}

TEST_F(RunDestructionTest, FinishesTheRestBeforeItTellsOfACorruptCache) {
    test::registerTracedStats();
    m_run->createStats();
    m_dir.mark("a.log", "WARNING [8-3331] The signal reset isn't driven.\n");
    ComMsgMgrSrcHandle messages = ComMsgMgr::loadMsgSrc(m_dir.path("a.log"), "a");
    m_run->addMsgHandle_(&messages);
    bool closedBefore = false;
    int ended = 0;
    test::tracedStat(*m_run, "traced").onEnd = [&] {
        ++ended;
        closedBefore = messages.getFile().empty();
    };
    corruptCache();
    EXPECT_THROW(delete m_run.release(), HEXAlgException);
    EXPECT_EQ(ended, 1);
    EXPECT_TRUE(closedBefore) << "messages go before statistics";
}

TEST_F(RunDestructionTest, DropsItsStrategyAndTellsNobody) {
    test::StrategyRecorder recorder;
    m_run->getStrategy()->attach(&recorder);
    m_run.reset();
    EXPECT_TRUE(recorder.changed.empty());
}

/// Ends the process with 0 when a run outlives Tcl in peace.
[[noreturn]] void destroyRunBehindTcl() {
    Tcl_DeleteInterp(Tcl_CreateInterp());
    const auto flow = test::makeFlow({"a"});
    auto run = std::make_unique<test::TestRun>("impl_1", flow.get());
    RunHandles::get_obj(run.get(), "impl_1");
    Tcl_Finalize();
    const bool closed = !RunHandles::observers();
    run->renameRun("impl_2");
    run.reset();
    std::_Exit(closed ? 0 : 1);
}

TEST(RunDestructionExitTest, TouchesNoCacheOnceTclIsFinalised) {
    EXPECT_EXIT(destroyRunBehindTcl(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
