// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdlib>

#include <tcl.h>

#include "environment/tcl/native_cache.h"
#include "tests/support/MessageRecorder.h"
#include "tests/unit/runs/xpreport/reportConfigFixture.h"

namespace {

using mqi::tcltasks::native_cache_base;

using Handles = mqi::tcltasks::native_cache<HAXRReportConfig*>;

/// A report that the script variable "r" of an interpreter holds.
class ReportHandlesTest : public test::reports::ReportConfigFixture {
protected:
    ReportHandlesTest() {
        Tcl_SetVar2Ex(m_interp.get(), "r", nullptr,
                      Handles::get_obj(m_config.get(), m_config->getName()), TCL_GLOBAL_ONLY);
    }
    void TearDown() override {
        m_config.reset();
        m_interp.reset();
        EXPECT_TRUE(Handles::get_n2t_cache().empty());
        EXPECT_TRUE(Handles::get_t2n_cache().empty());
    }

    Tcl_Obj* handle() { return Tcl_GetVar2Ex(m_interp.get(), "r", nullptr, TCL_GLOBAL_ONLY); }

    struct DeleteInterp {
        void operator()(Tcl_Interp* interp) const { Tcl_DeleteInterp(interp); }
    };
    std::unique_ptr<Tcl_Interp, DeleteInterp> m_interp{Tcl_CreateInterp()};
};

TEST_F(ReportHandlesTest, MakesItsHandleInvalidWhenItGoes) {
    EXPECT_EQ(Handles::get_native(handle()), m_config.get());
    Tcl_Obj* const obj = handle();
    const int before = obj->refCount;
    m_config.reset();
    EXPECT_TRUE(native_cache_base::is_invalid(handle()));
    EXPECT_EQ(obj->refCount, before - 1);
    EXPECT_EQ(Handles::get_n2t_cache().size(), 0U);
    EXPECT_EQ(Handles::get_t2n_cache().size(), 0U);
}

TEST_F(ReportHandlesTest, LeavesTheHandlesOfOtherReports) {
    const auto other = make("place_design");
    Tcl_Obj* const kept = Handles::get_obj(other.get(), "other");
    m_config.reset();
    EXPECT_EQ(Handles::get_native(kept), other.get());
}

TEST_F(ReportHandlesTest, RenamesItsHandlesWithTheRun) {
    m_config->replaceRunSubStringInName("impl_1", "impl_2");
    EXPECT_STREQ(Tcl_GetString(handle()), "impl_2_route_report_timing_summary_0");
    EXPECT_EQ(Handles::get_native(handle()), m_config.get());
}

TEST_F(ReportHandlesTest, TellsOfACorruptCacheAndGoesOn) {
    generate();
    m_config->addOrUpdateStaleReason("x", "1", "2");
    Tcl_Obj* const obj = handle();
    EXPECT_EQ(Handles::get_t2n_cache().erase(obj), 1U);
    native_cache_base::mark_invalid(obj);
    native_cache_base::decr_refcount(obj);
    const test::MessageRecorder recorder;
    m_config.reset();
    EXPECT_EQ(recorder.summaries(),
              std::vector<std::string>{"runs WARNING 36-380(native_cache<> corrupt, "
                                       "impl_1_route_report_timing_summary_0)"});
    EXPECT_TRUE(Handles::get_n2t_cache().empty());
}

/// Ends the process with 0 when a report outlives Tcl in peace.
[[noreturn]] void destroyReportBehindTcl() {
    Tcl_DeleteInterp(Tcl_CreateInterp());
    const auto flow = test::makeFlow({"a"});
    test::TestRun run("impl_1", flow.get());
    const auto spec = test::reports::makeReport("report_drc");
    auto config = std::make_unique<HAXRReportConfig>("drc_0", "a", spec.get(), &run, false, "");
    Handles::get_obj(config.get(), "drc_0");
    Tcl_Finalize();
    const bool closed = !Handles::observers();
    config->replaceRunSubStringInName("drc", "DRC");
    config.reset();
    std::_Exit(closed ? 0 : 1);
}

TEST(ReportHandlesExitTest, TouchesNoCacheOnceTclIsFinalised) {
    EXPECT_EXIT(destroyReportBehindTcl(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
