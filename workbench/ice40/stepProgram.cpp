// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/stepProgram.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <CLI/App.hpp>
#include <unistd.h>

#include "workbench/ice40/stepFailure.h"

namespace ice40 {

namespace {

void printError(const CLI::App& app, const std::string& text) {
    std::fflush(stdout);
    std::fprintf(stderr, "ERROR: %s: %s\n", app.get_name().c_str(), text.c_str());
    std::fflush(stderr);
}

/// Ends the program by the signal that stopped it, as its parent expects.
[[noreturn]] void endBySignal(int signal) {
    std::signal(signal, SIG_DFL);
    ::raise(signal);
    ::_exit(128 + signal);
}

double now() {
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(since).count();
}

/// The program `name` beside this one; the bare name, to be found in PATH, when there is
/// none.
std::string beside(const std::string& name) {
    std::string path(4096, '\0');
    const ssize_t size = ::readlink("/proc/self/exe", &path[0], path.size());
    if (size <= 0)
        return name;
    path.resize(static_cast<std::size_t>(size));
    path.replace(path.rfind('/') + 1, std::string::npos, name);
    return ::access(path.c_str(), X_OK) == 0 ? path : name;
}

/// Whatever goes wrong here, the results of the step stand: it is told as a warning.
void makeReports(const std::string& script, const std::string& step) {
    ToolCommand command;
    command.words = {beside("tarnel"), "-nolog",  "-nojournal", "-notrace", "-mode",
                     "batch",          "-source", script,       "-tclargs", step};
    try {
        printLine("Command: " + command.shown());
        const ToolEnd end = runTool(command, printLine, printLine);
        if (!end.good())
            warn("the reports aren't complete: tarnel " + end.shown());
    } catch (const StepFailure& failure) {
        warn(std::string("the reports aren't made: ") + failure.what());
    }
}

/// A user's scripts around a step.
struct Hooks {
    std::string run;
    std::string pre;
    std::string post;
};

/// What a hook finds in its environment, while this lives.
class HookEnvironment {
public:
    HookEnvironment(const std::string& when, const std::string& run, const std::string& step) {
        std::string folder(4096, '\0');
        if (::getcwd(&folder[0], folder.size()) == nullptr)
            folder = ".";
        ::setenv("XPERIMENT_HOOK_WHEN", when.c_str(), 1);
        ::setenv("XPERIMENT_HOOK_RUN", run.c_str(), 1);
        ::setenv("XPERIMENT_HOOK_DIRECTORY", folder.c_str(), 1);
        ::setenv("XPERIMENT_HOOK_STEP", step.c_str(), 1);
    }
    ~HookEnvironment() {
        for (const char* name : {"XPERIMENT_HOOK_WHEN", "XPERIMENT_HOOK_RUN",
                                 "XPERIMENT_HOOK_DIRECTORY", "XPERIMENT_HOOK_STEP"})
            ::unsetenv(name);
    }
    HookEnvironment(const HookEnvironment&) = delete;
    HookEnvironment& operator=(const HookEnvironment&) = delete;
};

/// Keeps what a failed script told: its message, and where it stands.
class HookError {
public:
    void readLine(const std::string& line) {
        const std::string head = "xp: error: ";
        if (m_message.empty() && line.compare(0, head.size(), head) == 0)
            m_message = line.substr(head.size());
        if (line.find("(file \"") != std::string::npos)
            m_place = line.substr(line.find('('));
    }
    std::string text() const {
        if (m_message.empty())
            return {};
        return ": " + m_message + (m_place.empty() ? "" : " " + m_place);
    }

private:
    std::string m_message;
    std::string m_place;
};

/// Runs the Tcl `script`; `when` is "pre" or "post". Without a script nothing.
/// @throws StepFailure it isn't there, or fails.
void runHook(const std::string& when, const std::string& script, const Hooks& hooks,
             const std::string& step) {
    if (script.empty())
        return;
    const std::string name = "the hook tcl." + when + " '" + script + "'";
    const std::string advice =
        "Correct it, or take it from the step: xp set RUN " + step + ".tcl." + when + "=";
    if (::access(script.c_str(), R_OK) != 0)
        throw StepFailure(name + " can't be read", advice);
    const HookEnvironment environment(when, hooks.run, step);
    ToolCommand command;
    command.words = {beside("xp"), "tcl", script};
    printLine("Command: " + command.shown());
    HookError error;
    const ToolEnd end = runTool(command, printLine, [&error](const std::string& line) {
        printLine(line);
        error.readLine(line);
    });
    if (!end.good())
        throw StepFailure(name + " failed (" + end.shown() + ")" + error.text(), advice);
}

/// Reads the command line; false when the program has nothing to do, with
/// `status` what it ends with.
bool readCommandLine(CLI::App& app, int argc, char** argv, int& status) {
    try {
        app.parse(argc, argv);
        return true;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            status = app.exit(error);
        } else {
            printError(app, std::string(error.what()) + ". Call it with --help for its options.");
            status = kExitUsage;
        }
        return false;
    }
}

}  // namespace

int runStep(CLI::App& app, const std::string& step, int argc, char** argv,
            const std::function<void()>& work) {
    std::string reports;
    Hooks hooks;
    app.add_option("--reports", reports, "Report script to run when the step is done");
    app.add_option("--pre-hook", hooks.pre, "Tcl script to run before the step");
    app.add_option("--post-hook", hooks.post, "Tcl script to run behind the step");
    app.add_option("--run", hooks.run, "Name of the run, for these scripts");
    int status = kExitDone;
    if (!readCommandLine(app, argc, argv, status))
        return status;
    catchStopSignals();
    try {
        runHook("pre", hooks.pre, hooks, step);
        work();
        runHook("post", hooks.post, hooks, step);
        if (!reports.empty())
            makeReports(reports, step);
        return kExitDone;
    } catch (const StepFailure& failure) {
        printError(app, failure.what());
        return failure.status();
    } catch (const StepStopped& stop) {
        printError(app, stop.what());
        endBySignal(stop.signal());
    } catch (const std::exception& error) {
        printError(app, error.what());
        return kExitFailed;
    }
}

void printLine(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

void warn(const std::string& text) {
    printLine("WARNING: " + text);
}

void runLoggedTool(const ToolCommand& command, const LineSink& sink) {
    printLine("Command: " + command.shown());
    ToolErrors errors;
    const LineSink pass = [&](const std::string& line) {
        printLine(line);
        errors.readLine(line);
        if (sink)
            sink(line);
    };
    const ToolEnd end = runTool(command, pass, pass);
    errors.require(command.words.front(), end);
}

std::string firstLineOf(const std::string& tool, const std::string& option) {
    std::string first;
    const LineSink keepFirst = [&](const std::string& line) {
        if (first.empty())
            first = line;
    };
    ToolCommand command;
    command.words = {tool, option};
    return runTool(command, keepFirst, keepFirst).good() ? first : std::string();
}

StepClock::StepClock() : m_start(now()) {}

double StepClock::seconds() const {
    return now() - m_start;
}

}  // namespace ice40
