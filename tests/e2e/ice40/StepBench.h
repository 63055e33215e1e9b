// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/RunDir.h"
#include "workbench/ice40/metrics.h"
#include "workbench/ice40/process.h"

namespace test {

/// How a step program ended and what it said.
struct StepResult {
    ice40::ToolEnd end;
    std::vector<std::string> output;
    std::vector<std::string> errors;

    /// Whether a line of the output holds `part`.
    bool says(const std::string& part) const;
    /// All error lines, each with a line end.
    std::string errorText() const;
};

/// A run folder in which the step programs of the build run, with PATH as a
/// test sets it.
class StepBench : public ::testing::Test {
protected:
    StepBench();
    ~StepBench() override;

    /// Skips the test, loudly, unless the real tools are installed. For SetUp().
    void needTools();

    /// Runs the program with its words in the run folder.
    StepResult run(const std::string& program, const std::vector<std::string>& words) const;
    StepResult run(const std::string& program, const std::vector<std::string>& words,
                   const ice40::LineSink& onOutput) const;

    /// The steps over blinky, with file names that begin with "blinky".
    StepResult synthesise(const std::vector<std::string>& more = {}) const;
    StepResult check(const std::vector<std::string>& more = {}) const;
    StepResult place(const std::vector<std::string>& more = {}) const;
    StepResult route(const std::vector<std::string>& more = {}) const;
    StepResult pack(const std::vector<std::string>& more = {}) const;

    /// The metrics that `step` left; a missing file fails the test.
    ice40::StepMetrics metricsOf(const std::string& step) const;

    /// The names of files in the run folder, in order, hidden ones too.
    std::vector<std::string> files() const;

    /// Makes an executable of that name and script the only one in PATH, beside
    /// those of the system's folders.
    void fakeTool(const std::string& name, const std::string& script);

    void setPath(const std::string& path);

    static std::string example(const std::string& name);

    RunDir m_dir;

private:
    RunDir m_fakes;
    std::string m_path;
};

}  // namespace test
