// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/e2e/ice40/StepBench.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace test {

namespace {

std::vector<std::string> joined(std::vector<std::string> words,
                                const std::vector<std::string>& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

}  // namespace

bool StepResult::says(const std::string& part) const {
    return std::any_of(output.begin(), output.end(), [&](const std::string& line) {
        return line.find(part) != std::string::npos;
    });
}

std::string StepResult::errorText() const {
    std::string text;
    for (const std::string& line : errors)
        text += line + "\n";
    return text;
}

StepBench::StepBench() {
    const char* path = std::getenv("PATH");
    m_path = path != nullptr ? path : "";
}

StepBench::~StepBench() {
    ::setenv("PATH", m_path.c_str(), 1);
}

void StepBench::needTools() {
    for (const char* tool : {"yosys", "nextpnr-ice40", "icetime", "icepack"})
        if (ice40::findInPath(tool).empty())
            GTEST_SKIP() << tool << " is not installed: this test did not run";
}

StepResult StepBench::run(const std::string& program, const std::vector<std::string>& words) const {
    return run(program, words, {});
}

StepResult StepBench::run(const std::string& program, const std::vector<std::string>& words,
                          const ice40::LineSink& onOutput) const {
    StepResult result;
    ice40::ToolCommand command;
    command.words = joined({"/bin/sh", "-c", R"(cd "$1" && shift && exec "$@")", "sh", m_dir.path(),
                            std::string(ICE40_BIN_DIR) + "/" + program},
                           words);
    result.end = ice40::runTool(
        command,
        [&](const std::string& line) {
            result.output.push_back(line);
            if (onOutput)
                onOutput(line);
        },
        [&](const std::string& line) { result.errors.push_back(line); });
    return result;
}

StepResult StepBench::synthesise(const std::vector<std::string>& more) const {
    return run("ice40_synth", joined({"--top", "blinky", "--json", "blinky.json"},
                                     joined(more, {example("blinky/blinky.v")})));
}

StepResult StepBench::check(const std::vector<std::string>& more) const {
    return run("ice40_init", joined({"--netlist", "blinky.json"}, more));
}

StepResult StepBench::place(const std::vector<std::string>& more) const {
    return run("ice40_place",
               joined({"--netlist", "blinky.json", "--pcf", example("blinky/blinky.pcf")}, more));
}

StepResult StepBench::route(const std::vector<std::string>& more) const {
    return run("ice40_route", joined({"--asc", "blinky.asc"}, more));
}

StepResult StepBench::pack(const std::vector<std::string>& more) const {
    return run("ice40_bitstream", joined({"--asc", "blinky.asc", "--bin", "blinky.bin"}, more));
}

ice40::StepMetrics StepBench::metricsOf(const std::string& step) const {
    ice40::StepMetrics metrics;
    std::string reason;
    EXPECT_TRUE(ice40::readMetrics(m_dir.path(ice40::metricsFileName(step)), metrics, reason))
        << reason;
    EXPECT_EQ(metrics.step, step);
    return metrics;
}

std::vector<std::string> StepBench::files() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_dir.path()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

void StepBench::fakeTool(const std::string& name, const std::string& script) {
    m_fakes.mark(name, "#!/bin/sh\n" + script);
    ::chmod(m_fakes.path(name).c_str(), 0755);
    setPath(m_fakes.path() + ":/usr/bin:/bin");
}

void StepBench::setPath(const std::string& path) {
    ::setenv("PATH", path.c_str(), 1);
}

std::string StepBench::example(const std::string& name) {
    return std::string(ICE40_EXAMPLES) + "/" + name;
}

}  // namespace test
