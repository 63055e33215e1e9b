// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// What "package require xperiment" loads. Through Tcl's stubs it asks which Tcl has loaded it;
// everything else is that of "xp tcl".

#include <climits>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>

#include <dlfcn.h>
#include <tcl.h>

#include "environment/messages/ComMsgMgr.h"
#include "shell/note.h"
#include "shell/tcl/tclPackage.h"
#include "workbench/product.h"

namespace {

/// The folder of the programs, from the place of this library; empty when the system doesn't
/// tell.
std::string programFolder() {
    Dl_info info{};
    if (dladdr(shell::tcl::kPackageName, &info) == 0 || info.dli_fname == nullptr)
        return {};
    std::string path(info.dli_fname);
    path = path.substr(0, path.rfind('/') + 1) + XPERIMENT_PROGRAMS;
    char real[PATH_MAX];
    return realpath(path.c_str(), real) == nullptr ? std::string() : std::string(real);
}

int fail(Tcl_Interp* interp, const std::string& text) {
    Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), -1));
    return TCL_ERROR;
}

int provide(Tcl_Interp* interp) {
    const std::string folder = programFolder();
    if (folder.empty())
        return fail(interp,
                    "The programs of xperiment aren't beside its package. Install it anew.");
    static const bool isFirst = workbench::binDir().empty();
    // In a child interpreter of xp: there the commands are those of the program.
    if (!isFirst)
        return Tcl_EvalEx(interp, "load {} Xperiment", -1, TCL_EVAL_GLOBAL);
    if (workbench::binDir().empty())
        ComMsgMgr::addSink(std::make_shared<shell::NoteSink>());
    workbench::installProduct(folder);
    return shell::tcl::providePackage(interp);
}

}  // namespace

/// Tcl calls it once in each interpreter that loads the package. There is none for safe
/// interpreters: a run starts programs.
extern "C" DLLEXPORT int Xperiment_Init(Tcl_Interp* interp) {
    if (Tcl_InitStubs(interp, "8.6", 0) == nullptr)
        return TCL_ERROR;
    // The libraries below share values with the interpreter, so both must be of one Tcl.
    if (!shell::tcl::isOwnTcl(reinterpret_cast<void*>(tclStubsPtr->tcl_CreateInterp)))
        return fail(interp, "This Tcl isn't the shared libtcl8.6 that xperiment uses. Load it into "
                            "tclsh8.6, or use xp tcl.");
    try {
        return provide(interp);
    } catch (const std::exception& error) {
        return fail(interp, error.what());
    }
}
