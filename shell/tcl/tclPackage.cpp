// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/tcl/tclPackage.h"

#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <tcl.h>

#include "shell/tcl/tclEnsemble.h"
#include "shell/tcl/tclError.h"
#include "shell/tcl/tclSession.h"
#include "shell/tcl/tclValue.h"

namespace shell::tcl {

namespace {

constexpr const char* kNamespace = "::xperiment";

/// What Tcl hands back to a command.
struct Binding {
    const Ensemble* ensemble;
    const Subcommand* subcommand;
};

/// One for each subcommand, for as long as the process lives: Tcl holds their addresses.
const std::vector<Binding>& bindings() {
    static const std::vector<Binding> all = [] {
        std::vector<Binding> made;
        for (const Ensemble* ensemble : ensembles()) {
            for (const Subcommand& subcommand : ensemble->subcommands)
                made.push_back({ensemble, &subcommand});
        }
        return made;
    }();
    return all;
}

/// Does `work`, whose exception becomes the error of `interp`.
template <class Work> int guarded(Tcl_Interp* interp, Work work) {
    Tcl_Preserve(interp);
    int result = TCL_OK;
    try {
        Tcl_SetObjResult(interp, work());
    } catch (...) {
        setError(interp);
        result = TCL_ERROR;
    }
    Tcl_Release(interp);
    return result;
}

std::vector<std::string> textsOf(int count, Tcl_Obj* const objects[]) {
    std::vector<std::string> texts;
    for (int i = 1; i < count; ++i)
        texts.push_back(textOf(objects[i]));
    return texts;
}

int callSubcommand(ClientData data, Tcl_Interp* interp, int count, Tcl_Obj* const objects[]) {
    const auto* bound = static_cast<const Binding*>(data);
    return guarded(interp, [&] {
        const std::shared_ptr<TclSession> session = TclSession::of(interp);
        const std::vector<Tcl_Obj*> words(objects + 1, objects + count);
        Call call(*session, *bound->ensemble, *bound->subcommand, words);
        return bound->subcommand->work(call);
    });
}

int callHelp(ClientData data, Tcl_Interp* interp, int count, Tcl_Obj* const objects[]) {
    return guarded(interp, [&] {
        std::vector<std::string> words = textsOf(count, objects);
        if (data != nullptr)
            words.insert(words.begin(), static_cast<const Ensemble*>(data)->name);
        return newText(helpText(words));
    });
}

/// Called by Tcl with the ensemble and all words when a subcommand isn't known.
int callUnknown(ClientData data, Tcl_Interp* interp, int count, Tcl_Obj* const objects[]) {
    return guarded(interp, [&]() -> Tcl_Obj* {
        const std::vector<std::string> words = textsOf(count, objects);
        failSubcommand(*static_cast<const Ensemble*>(data), words.size() > 1 ? words[1] : "");
    });
}

int callComplete(ClientData, Tcl_Interp* interp, int count, Tcl_Obj* const objects[]) {
    if (count != 2) {
        Tcl_WrongNumArgs(interp, 1, objects, "line");
        return TCL_ERROR;
    }
    return guarded(interp, [&] { return newList(completions(textOf(objects[1]))); });
}

/// {words more meaning} for each.
int callErrorCodes(ClientData, Tcl_Interp* interp, int count, Tcl_Obj* const objects[]) {
    if (count != 1) {
        Tcl_WrongNumArgs(interp, 1, objects, nullptr);
        return TCL_ERROR;
    }
    return guarded(interp, [] {
        Tcl_Obj* list = Tcl_NewListObj(0, nullptr);
        for (const ErrorCode& row : errorCodes())
            Tcl_ListObjAppendElement(nullptr, list, newList({row.words, row.more, row.meaning}));
        return list;
    });
}

Tcl_Command makeCommand(Tcl_Interp* interp, const std::string& name, Tcl_ObjCmdProc* work,
                        const void* data) {
    return Tcl_CreateObjCommand(interp, name.c_str(), work, const_cast<void*>(data), nullptr);
}

Tcl_Namespace* makeNamespace(Tcl_Interp* interp, const std::string& name) {
    Tcl_Namespace* known = Tcl_FindNamespace(interp, name.c_str(), nullptr, TCL_GLOBAL_ONLY);
    return known != nullptr ? known : Tcl_CreateNamespace(interp, name.c_str(), nullptr, nullptr);
}

void makeEnsemble(Tcl_Interp* interp, const Ensemble& ensemble) {
    const std::string place = fmt::format("{}::{}", kNamespace, ensemble.name);
    Tcl_Namespace* const inside = makeNamespace(interp, place);
    Tcl_Obj* const map = Tcl_NewDictObj();
    const auto put = [&](const std::string& name, Tcl_ObjCmdProc* work, const void* data) {
        const std::string command = fmt::format("{}::{}", place, name);
        makeCommand(interp, command, work, data);
        Tcl_DictObjPut(interp, map, newText(name), newText(command));
    };
    for (const Binding& binding : bindings()) {
        if (binding.ensemble == &ensemble)
            put(binding.subcommand->name, callSubcommand, &binding);
    }
    put("help", callHelp, &ensemble);
    const std::string unknown = place + "::(unknown)";
    makeCommand(interp, unknown, callUnknown, &ensemble);
    const Tcl_Command command = Tcl_CreateEnsemble(interp, place.c_str(), inside, 0);
    Tcl_SetEnsembleMappingDict(interp, command, map);
    Tcl_SetEnsembleUnknownHandler(interp, command, newList({unknown}));
}

void makeCommands(Tcl_Interp* interp) {
    Tcl_Namespace* const outer = makeNamespace(interp, kNamespace);
    for (const Ensemble* ensemble : ensembles()) {
        makeEnsemble(interp, *ensemble);
        Tcl_Export(interp, outer, ensemble->name, 0);
    }
    makeCommand(interp, fmt::format("{}::help", kNamespace), callHelp, nullptr);
    makeCommand(interp, fmt::format("{}::complete", kNamespace), callComplete, nullptr);
    makeCommand(interp, fmt::format("{}::errorcodes", kNamespace), callErrorCodes, nullptr);
}

void endSessions(ClientData) {
    TclSession::endAll();
}

/// Whether this thread is that of the first interpreter.
bool isOwnThread() {
    static const Tcl_ThreadId owner = [] {
        Tcl_CreateExitHandler(endSessions, nullptr);
        return Tcl_GetCurrentThread();
    }();
    return owner == Tcl_GetCurrentThread();
}

}  // namespace

const char kPackageName[] = "xperiment";
const char kPrefix[] = "Xperiment";

int providePackage(Tcl_Interp* interp) {
    if (!isOwnThread()) {
        Tcl_SetObjResult(interp, newText("Another thread uses xperiment. Load it in one thread "
                                         "alone."));
        return TCL_ERROR;
    }
    makeCommands(interp);
    return Tcl_PkgProvide(interp, kPackageName, XPERIMENT_VERSION);
}

bool isOwnTcl(const void* createInterp) {
    return createInterp == reinterpret_cast<const void*>(&Tcl_CreateInterp);
}

}  // namespace shell::tcl
