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

int runStep(CLI::App& app, int argc, char** argv, const std::function<void()>& work) {
    int status = kExitDone;
    if (!readCommandLine(app, argc, argv, status))
        return status;
    catchStopSignals();
    try {
        work();
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
