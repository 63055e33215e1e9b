// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdio>
#include <cstdlib>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <tcl.h>
#include <unistd.h>

#include "environment/errors/HEXDataException.h"
#include "environment/files/HUTFile.h"
#include "environment/installation/HUTEnv.h"
#include "shell/exitStatus.h"
#include "shell/tcl/tclPackage.h"
#include "shell/tcl/tclSession.h"
#include "shell/tcl/tclValue.h"
#include "shell/verb.h"
#include "workbench/product.h"

namespace shell {

namespace {

/// An interpreter with the commands of xp, imported into its global namespace.
class Interpreter {
public:
    explicit Interpreter(const std::string& projectDir) : m_interp(start_()) {
        // A Tcl without its library of scripts still runs scripts.
        if (Tcl_Init(m_interp) != TCL_OK)
            fmt::print(stderr, "xp: warning: {}\n", Tcl_GetStringResult(m_interp));
        if (tcl::providePackage(m_interp) != TCL_OK ||
            Tcl_EvalEx(m_interp, "namespace import -force ::xperiment::*", -1, TCL_EVAL_GLOBAL) !=
                TCL_OK)
            throw CommandError(kExitRefused, Tcl_GetStringResult(m_interp));
        Tcl_StaticPackage(m_interp, tcl::kPrefix, provide_, nullptr);
        tcl::TclSession::of(m_interp)->setDirectory(projectDir);
    }

    ~Interpreter() {
        Tcl_DeleteInterp(m_interp);
        Tcl_Release(m_interp);
    }

    Interpreter(const Interpreter&) = delete;
    Interpreter& operator=(const Interpreter&) = delete;

    void setVariable(const char* name, Tcl_Obj* value) {
        Tcl_SetVar2Ex(m_interp, name, nullptr, value, TCL_GLOBAL_ONLY);
    }

    /// Whether the file `path` ran to its end; else the whole trace is told.
    bool runFile(const std::string& path) {
        Tcl_Obj* const name = tcl::newText(path);
        const tcl::ValueRef held(name);
        return tell_(Tcl_FSEvalFileEx(m_interp, name, "utf-8"));
    }

    bool run(const std::vector<std::string>& words) {
        const tcl::ValueRef command(tcl::newList(words));
        return tell_(Tcl_EvalObjEx(m_interp, command.get(), TCL_EVAL_GLOBAL));
    }

private:
    /// In a child interpreter: "load {} Xperiment".
    static int provide_(Tcl_Interp* interp) { return tcl::providePackage(interp); }

    static Tcl_Interp* start_() {
        const std::string program = workbench::binDir() + "/xp";
        Tcl_FindExecutable(program.c_str());
        Tcl_Interp* const interp = Tcl_CreateInterp();
        Tcl_Preserve(interp);
        return interp;
    }

    bool tell_(int result) {
        if (result != TCL_ERROR)
            return true;
        const char* const trace = Tcl_GetVar(m_interp, "errorInfo", TCL_GLOBAL_ONLY);
        std::fflush(stdout);
        fmt::print(stderr, "xp: error: {}\n",
                   trace == nullptr ? Tcl_GetStringResult(m_interp) : trace);
        return false;
    }

    Tcl_Interp* const m_interp;
};

/// Where the lines typed at the prompt are kept; empty when the user has no folder.
std::string historyFile() {
    try {
        return HUTEnv::getMQIAppDataDir() + "/tcl_history";
    } catch (const HEXDataException&) {
        return {};
    }
}

class TclVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        m_command = &command;
        // All words behind the script are its own, those that look like options too.
        command.prefix_command();
    }

    int run(const Session& session) override {
        const std::vector<std::string> words = m_command->remaining();
        if (!words.empty() && words[0].size() > 1 && words[0][0] == '-')
            throw CommandError(kExitUsage, fmt::format("tcl: there is no option {}. Say xp tcl "
                                                       "[SCRIPT [ARGUMENTS]].",
                                                       words[0]));
        Interpreter interpreter(session.projectDir);
        setArguments_(interpreter, words);
        setHook_(interpreter);
        const bool isGood =
            words.empty() ? prompt_(interpreter) : runScript_(interpreter, words[0]);
        return isGood ? kExitDone : kExitRunFailed;
    }

private:
    static void setArguments_(Interpreter& interpreter, const std::vector<std::string>& words) {
        const std::vector<std::string> rest(words.empty() ? words.end() : words.begin() + 1,
                                            words.end());
        interpreter.setVariable("argv0", tcl::newText(words.empty() ? "xp tcl" : words[0]));
        interpreter.setVariable("argv", tcl::newList(rest));
        interpreter.setVariable("argc", Tcl_NewIntObj(static_cast<int>(rest.size())));
        const bool isInteractive = words.empty() && isatty(STDIN_FILENO) != 0;
        interpreter.setVariable("tcl_interactive", Tcl_NewBooleanObj(isInteractive ? 1 : 0));
    }

    /// What the step program says of the hook that it calls.
    static void setHook_(Interpreter& interpreter) {
        Tcl_Obj* const hook = Tcl_NewDictObj();
        const tcl::ValueRef held(hook);
        for (const char* name : {"when", "run", "directory", "step"}) {
            std::string variable = "XPERIMENT_HOOK_";
            for (const char* c = name; *c != '\0'; ++c)
                variable += static_cast<char>(*c - 'a' + 'A');
            const char* const value = std::getenv(variable.c_str());
            if (value == nullptr)
                return;
            Tcl_DictObjPut(nullptr, hook, tcl::newText(name), tcl::newText(value));
        }
        interpreter.setVariable("::xperiment::hook", hook);
    }

    static bool runScript_(Interpreter& interpreter, const std::string& path) {
        if (!HUTFile::isFile(path))
            throw CommandError(
                kExitRefused,
                fmt::format("The script '{}' isn't there. Name a file of Tcl.", path));
        return interpreter.runFile(path);
    }

    static bool prompt_(Interpreter& interpreter) {
        const std::string script = HUTEnv::getMQIAppRoot() + "/tcl/prompt.tcl";
        if (!HUTFile::isFile(script))
            throw CommandError(
                kExitRefused,
                fmt::format("The file {} is missing. Install xperiment anew.", script));
        return interpreter.runFile(script) &&
               interpreter.run({"::xperiment::prompt::start", historyFile()});
    }

    CLI::App* m_command = nullptr;
};

}  // namespace

std::unique_ptr<Verb> makeTclVerb() {
    return makeVerb<TclVerb>();
}

}  // namespace shell
