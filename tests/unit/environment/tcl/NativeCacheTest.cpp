// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/tcl/native_cache.h"

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tcl.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HTCErrors.h"
#include "tests/support/thrownText.h"
#include "tests/unit/environment/tcl/tracedRun.h"

namespace {

using mqi::tcltasks::native_cache_base;
using test::thrownText;
using test::TracedRun;
using ::testing::HasSubstr;

using Cache = mqi::tcltasks::native_cache<TracedRun*>;

/// Another class with handles.
struct OtherNative {
    int value = 0;
};
using OtherCache = mqi::tcltasks::native_cache<OtherNative*>;

/// What a test gives a Tcl command to do.
using Command = std::function<std::string(Tcl_Obj* argument)>;

int runCommand(ClientData data, Tcl_Interp* interp, int count, Tcl_Obj* const* words) {
    try {
        const std::string result = (*static_cast<Command*>(data))(count > 1 ? words[1] : words[0]);
        Tcl_SetObjResult(interp, Tcl_NewStringObj(result.c_str(), -1));
        return TCL_OK;
    } catch (const HTCErrors::error& error) {
        Tcl_SetObjResult(interp, Tcl_NewStringObj(error.what(), -1));
        Tcl_SetObjErrorCode(interp, Tcl_NewStringObj(error.getErrorCode().c_str(), -1));
        return TCL_ERROR;
    }
}

/// An interpreter with the variable "r", a handle on the run "impl_1", and the
/// commands "name HANDLE" and "delete HANDLE".
class NativeCacheTest : public ::testing::Test {
protected:
    NativeCacheTest() {
        command("name", m_name);
        command("delete", m_delete);
        Tcl_SetVar2Ex(m_interp.get(), "r", nullptr, m_run->handle(), TCL_GLOBAL_ONLY);
    }

    void TearDown() override {
        m_run.reset();
        m_interp.reset();
        EXPECT_TRUE(Cache::get_n2t_cache().empty());
        EXPECT_TRUE(Cache::get_t2n_cache().empty());
    }

    void command(const char* name, Command& action) {
        Tcl_CreateObjCommand(m_interp.get(), name, runCommand, &action, nullptr);
    }

    /// The result of a script, or "error: " and its error.
    std::string eval(const std::string& script) {
        const int code = Tcl_EvalEx(m_interp.get(), script.c_str(), -1, TCL_EVAL_GLOBAL);
        return (code == TCL_OK ? "" : "error: ") + std::string(Tcl_GetStringResult(m_interp.get()));
    }

    Tcl_Obj* variable(const char* name) {
        return Tcl_GetVar2Ex(m_interp.get(), name, nullptr, TCL_GLOBAL_ONLY);
    }

    struct DeleteInterp {
        void operator()(Tcl_Interp* interp) const { Tcl_DeleteInterp(interp); }
    };

    std::unique_ptr<TracedRun> m_run = std::make_unique<TracedRun>("impl_1");
    Command m_name = [](Tcl_Obj* argument) {
        TracedRun* const run = Cache::get_native(argument);
        return run == nullptr ? "no handle" : run->name();
    };
    Command m_delete = [this](Tcl_Obj*) {
        m_run.reset();
        return std::string("deleted");
    };
    std::unique_ptr<Tcl_Interp, DeleteInterp> m_interp{Tcl_CreateInterp()};
};

constexpr char kDeleted[] = "error: \"impl_1\" was deleted: this handle is no longer valid";

// Handles --------------------------------------------------------------------

TEST_F(NativeCacheTest, GivesAHandleTheNameAsText) {
    EXPECT_EQ(eval("set r"), "impl_1");
}

TEST_F(NativeCacheTest, FindsTheNativeBehindAHandle) {
    EXPECT_EQ(eval("name $r"), "impl_1");
    EXPECT_EQ(Cache::get_native(variable("r")), m_run.get());
}

TEST_F(NativeCacheTest, MakesOneHandleForANative) {
    EXPECT_EQ(m_run->handle(), m_run->handle());
    EXPECT_EQ(Cache::get_obj(m_run.get(), "another text"), variable("r"));
    EXPECT_EQ(eval("set r"), "impl_1");
}

TEST_F(NativeCacheTest, TakesATypedNameForNoHandle) {
    EXPECT_EQ(eval("name impl_1"), "no handle");
    EXPECT_EQ(eval("name [string range xximpl_1 2 end]"), "no handle");
}

TEST_F(NativeCacheTest, TellsHandlesOfDifferentTypesApart) {
    OtherNative other;
    Tcl_Obj* const handle = OtherCache::get_obj(&other, "other");
    EXPECT_EQ(Cache::get_native(handle), nullptr);
    EXPECT_EQ(OtherCache::get_native(handle), &other);
    EXPECT_EQ(OtherCache::get_native(variable("r")), nullptr);
    OtherCache::release(&other);
}

TEST_F(NativeCacheTest, FindsTheNativeBehindAHandleThatWasUsedAsSomethingElse) {
    EXPECT_EQ(eval("llength $r; lindex $r 0; name $r"), "impl_1");
    EXPECT_EQ(eval("string index $r 2; string length $r; name $r"), "impl_1");
    EXPECT_EQ(eval("catch {expr {$r + 1}}; catch {incr $r}; name $r"), "impl_1");
    EXPECT_EQ(eval("catch {dict size $r}; catch {$r status}; catch {eval $r}; name $r"), "impl_1");
}

TEST_F(NativeCacheTest, FindsTheNativeInListsAndDictionaries) {
    EXPECT_EQ(eval("set l [list a $r]; name [lindex $l 1]"), "impl_1");
    EXPECT_EQ(eval("set d [dict create run $r]; name [dict get $d run]"), "impl_1");
}

TEST_F(NativeCacheTest, TakesAChangedCopyForPlainText) {
    EXPECT_EQ(eval("set c $r; append c _2; name $c"), "no handle");
    EXPECT_EQ(eval("set c"), "impl_1_2");
    EXPECT_EQ(eval("name $r"), "impl_1");
}

TEST_F(NativeCacheTest, HoldsOneReferenceToAHandle) {
    TracedRun run("impl_2");
    Tcl_Obj* const handle = run.handle();
    EXPECT_EQ(handle->refCount, 1);
    Cache::incr_refcount(handle);
    Cache::release(&run);
    EXPECT_EQ(handle->refCount, 1);
    Cache::decr_refcount(handle);
}

TEST_F(NativeCacheTest, RefusesAHandleOnNothing) {
    EXPECT_EQ(thrownText<HEXAlgException>([] { Cache::get_obj(nullptr, "impl_9"); }),
              "no native object for the handle \"impl_9\"");
}

TEST_F(NativeCacheTest, KeepsHandlesWhenAnInterpreterGoes) {
    Tcl_Interp* const second = Tcl_CreateInterp();
    Tcl_SetVar2Ex(second, "r", nullptr, m_run->handle(), TCL_GLOBAL_ONLY);
    Tcl_DeleteInterp(second);
    EXPECT_EQ(eval("name $r"), "impl_1");
}

// Deletion -------------------------------------------------------------------

TEST_F(NativeCacheTest, TellsAScriptThatTheNativeWasDeleted) {
    EXPECT_EQ(eval("delete $r"), "deleted");
    EXPECT_EQ(eval("name $r"), kDeleted);
    EXPECT_EQ(eval("set ::errorCode"), "XP HANDLE DELETED impl_1");
    EXPECT_EQ(eval("set r"), "impl_1");
}

TEST_F(NativeCacheTest, QuotesTheNameInTheErrorCode) {
    {
        TracedRun run("a run");
        Tcl_SetVar2Ex(m_interp.get(), "s", nullptr, run.handle(), TCL_GLOBAL_ONLY);
    }
    EXPECT_EQ(eval("catch {name $s}; lindex $::errorCode 3"), "a run");
}

TEST_F(NativeCacheTest, MakesEveryPlaceOfADeletedHandleInvalid) {
    eval(
        "set l [list $r $r]; set d [dict create k $r]; proc p {} {set x $::r; delete $x; name $x}");
    EXPECT_EQ(eval("p"), kDeleted);
    EXPECT_EQ(eval("name [lindex $l 1]"), kDeleted);
    EXPECT_EQ(eval("name [dict get $d k]"), kDeleted);
}

TEST_F(NativeCacheTest, MakesAHandleInvalidThatWasUsedAsAList) {
    EXPECT_EQ(eval("llength $r; delete $r; name $r"), kDeleted);
}

TEST_F(NativeCacheTest, TakesAnInvalidHandleUsedAsAListForPlainText) {
    EXPECT_EQ(eval("delete $r; llength $r; name $r"), "no handle");
}

TEST_F(NativeCacheTest, CopiesAnInvalidHandleAsInvalid) {
    m_run.reset();
    Tcl_Obj* const copy = Tcl_DuplicateObj(variable("r"));
    Tcl_IncrRefCount(copy);
    EXPECT_TRUE(native_cache_base::is_invalid(copy));
    EXPECT_EQ(thrownText<HTCErrors::error>([&] { Cache::get_native(copy); }),
              std::string(kDeleted).substr(7));
    Tcl_DecrRefCount(copy);
}

TEST_F(NativeCacheTest, SurvivesADeletionWhileTheHandleIsWalkedAsAList) {
    EXPECT_EQ(eval("foreach x $r {delete $r}; set x"), "impl_1");
    EXPECT_EQ(eval("set r"), "impl_1");
}

TEST_F(NativeCacheTest, SurvivesADeletionWhileTheHandleRunsAsAScript) {
    command("impl_1", m_delete);
    EXPECT_EQ(eval("eval $r"), "deleted");
    EXPECT_EQ(eval("name $r"), kDeleted);
}

TEST_F(NativeCacheTest, DoesNotTakeANewNativeOfTheNameForTheOldOne) {
    EXPECT_EQ(eval("set old $r; delete $r"), "deleted");
    TracedRun again("impl_1");
    Tcl_SetVar2Ex(m_interp.get(), "r", nullptr, again.handle(), TCL_GLOBAL_ONLY);
    EXPECT_EQ(eval("name $r"), "impl_1");
    EXPECT_EQ(eval("name $old"), kDeleted);
}

TEST_F(NativeCacheTest, MakesEveryHandleInvalidAtOnce) {
    TracedRun second("impl_2");
    Tcl_SetVar2Ex(m_interp.get(), "s", nullptr, second.handle(), TCL_GLOBAL_ONLY);
    Cache::release_all();
    EXPECT_EQ(eval("name $r"), kDeleted);
    EXPECT_THAT(eval("name $s"), HasSubstr("\"impl_2\" was deleted"));
}

TEST_F(NativeCacheTest, ReleasesANativeWithoutHandles) {
    TracedRun run("impl_2");
    EXPECT_NO_THROW(Cache::release(&run));
    EXPECT_NO_THROW(Cache::rename(&run, "impl_3"));
}

TEST_F(NativeCacheTest, ReportsACorruptCacheAndReleasesTheRest) {
    Tcl_Obj* const stray = Tcl_NewStringObj("stray", -1);
    Tcl_IncrRefCount(stray);
    Cache::get_n2t_cache().emplace(m_run.get(), stray);
    EXPECT_EQ(thrownText<HEXAlgException>([this] { Cache::release(m_run.get()); }),
              "native_cache<> corrupt");
    EXPECT_TRUE(Cache::get_n2t_cache().empty());
    EXPECT_EQ(eval("name $r"), kDeleted);
    EXPECT_EQ(stray->refCount, 1);
    Tcl_DecrRefCount(stray);
}

// Renaming -------------------------------------------------------------------

TEST_F(NativeCacheTest, RenamesAHandleWhereverAScriptKeepsIt) {
    eval("set l [list a $r]; set copy $r");
    m_run->rename("impl_2");
    EXPECT_EQ(eval("set r"), "impl_2");
    EXPECT_EQ(eval("set copy"), "impl_2");
    EXPECT_EQ(eval("lindex $l 1"), "impl_2");
    EXPECT_EQ(eval("name $r"), "impl_2");
    EXPECT_EQ(eval("string length $r"), "6");
}

TEST_F(NativeCacheTest, RenamesEveryHandleOnANative) {
    Tcl_Obj* const second = Tcl_NewStringObj("impl_1", -1);
    Tcl_IncrRefCount(second);
    Cache::get_n2t_cache().emplace(m_run.get(), second);
    Cache::get_t2n_cache().emplace(second, m_run.get());
    Cache::incr_refcount(second);
    m_run->rename("a longer name \xC3\xBC");
    EXPECT_EQ(native_cache_base::text(second), "a longer name \xC3\xBC");
    EXPECT_EQ(eval("set r"), "a longer name \xC3\xBC");
    EXPECT_EQ(Cache::get_native(second), m_run.get());
    Cache::decr_refcount(second);
}

TEST_F(NativeCacheTest, RenamesAHandleThatWasUsedAsSomethingElse) {
    EXPECT_EQ(eval("string length $r; llength $r"), "1");
    m_run->rename("two words");
    EXPECT_EQ(eval("llength $r"), "2");
    EXPECT_EQ(eval("name $r"), "two words");
}

TEST_F(NativeCacheTest, LeavesALiteralOfTheOldNameAlone) {
    eval("proc lit {} {return impl_1}; proc same {} {string equal $::r impl_1}");
    EXPECT_EQ(eval("name [lit]; same"), "1");
    m_run->rename("impl_2");
    EXPECT_EQ(eval("lit"), "impl_1");
    EXPECT_EQ(eval("same"), "0");
}

TEST_F(NativeCacheTest, SurvivesTheRenamingOfAHandleUsedAsAKey) {
    eval("set a($r) 1; dict set d $r 1; dict set d other 2");
    m_run->rename("impl_2");
    EXPECT_EQ(eval("array size a"), "1");
    EXPECT_EQ(eval("dict size $d"), "2");
    EXPECT_EQ(eval("dict get $d other"), "2");
    eval("catch {unset a($r)}; catch {dict unset d $r}");
    EXPECT_EQ(eval("unset a d; name $r"), "impl_2");
}

TEST_F(NativeCacheTest, NamesADeletedNativeAsItWasCalledLast) {
    m_run->rename("impl_2");
    m_run.reset();
    EXPECT_THAT(eval("name $r"), HasSubstr("\"impl_2\" was deleted"));
}

// Process --------------------------------------------------------------------

TEST_F(NativeCacheTest, IsOneForAllLibraries) {
    EXPECT_EQ(TracedRun::n2tTable(), &Cache::get_n2t_cache());
    EXPECT_EQ(TracedRun::t2nTable(), &Cache::get_t2n_cache());
}

TEST_F(NativeCacheTest, HasObserversUntilTclGoes) {
    EXPECT_TRUE(Cache::observers());
    EXPECT_FALSE(native_cache_base::tcl_exiting());
}

/// Ends the process with 0 when everything held after Tcl was finalised.
[[noreturn]] void finalizeTclAndLook() {
    auto run = std::make_unique<TracedRun>("impl_2");
    Tcl_Obj* const handle = run->handle();
    bool held = handle->refCount == 1;
    Tcl_Finalize();
    held = held && native_cache_base::tcl_exiting() && !Cache::observers();
    held = held && Cache::get_n2t_cache().empty() && Cache::get_t2n_cache().empty();
    const std::string refusal = thrownText<HEXAlgException>([&] { run->handle(); });
    held = held && refusal == "Tcl was finalised: no handle \"impl_2\"";
    run->rename("impl_3");
    run.reset();
    std::_Exit(held ? 0 : 1);
}

TEST(NativeCacheExitTest, TouchesNothingOnceTclIsFinalised) {
    EXPECT_EXIT(finalizeTclAndLook(), ::testing::ExitedWithCode(0), "");
}

/// Ends the process by the script's own "exit", with a run that outlives Tcl.
[[noreturn]] void exitByScript() {
    static TracedRun run("impl_2");
    Tcl_Interp* const interp = Tcl_CreateInterp();
    Tcl_SetVar2Ex(interp, "r", nullptr, run.handle(), TCL_GLOBAL_ONLY);
    Tcl_Eval(interp, "exit 7");
    std::_Exit(1);
}

TEST(NativeCacheExitTest, LetsAStaticNativeOutliveTcl) {
    EXPECT_EXIT(exitByScript(), ::testing::ExitedWithCode(7), "");
}

}  // namespace
