// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "tests/unit/workbench/TestBench.h"
#include "workbench/Project.h"
#include "workbench/history/launchRecord.h"
#include "workbench/launchLease.h"

namespace test {

/// A time for the first launch of a run.
inline constexpr long kLaunch = 1000000;

/// A project with the runs synth_1 and impl_1, neither of them launched.
class LaunchedProject {
public:
    LaunchedProject();

    const TestBench& bench() const { return m_bench; }
    Project& project() const { return *m_project; }
    HAXPExpRun& synthesis() const { return m_synthesis; }
    HAXPExpRun& implementation() const { return m_implementation; }

    /// A run directory that is there and empty.
    void giveDir(HAXPExpRun& run) const;

    /// Makes `run` as it is after the launch `id` at `time` of which every step ended well.
    void finish(HAXPExpRun& run, const std::string& id, long time) const;

    /// The lease of the launch `id`, in the run's directory.
    static void lease(const HAXPExpRun& run, const std::string& id, long time,
                      const workbench::LaunchWay& way = {});

    /// The metrics that the step `step` left: a clock of `fmaxMhz`.
    static void tell(const HAXPExpRun& run, const std::string& step, double fmaxMhz,
                     double seconds = 1);

    /// A launch of `run` as a line tells it.
    static workbench::LaunchRecord record(const std::string& run, const std::string& id, long time);

private:
    TestBench m_bench;
    std::unique_ptr<Project> m_project;
    HAXPExpRun& m_synthesis;
    HAXPExpRun& m_implementation;
};

}  // namespace test
