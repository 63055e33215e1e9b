// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/stepProgram.h"

#include <chrono>
#include <csignal>
#include <cstdio>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
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
    app.add_option("--reports", reports, "Report script to run when the step is done");
    int status = kExitDone;
    if (!readCommandLine(app, argc, argv, status))
        return status;
    catchStopSignals();
    try {
        work();
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
