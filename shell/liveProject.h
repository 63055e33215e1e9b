// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "shell/launchProgress.h"
#include "shell/stepTimes.h"
#include "workbench/Project.h"

namespace shell {

/// A project that is looked at for long, while others launch its runs, change it and add to it.
class LiveProject {
public:
    /// Between two looks whether the project file has changed, in milliseconds.
    static constexpr long kLookMs = 1000;

    /// Opens the project in `dir` for reading. Throws as Project::open() does.
    explicit LiveProject(const std::string& dir);
    ~LiveProject();

    LiveProject(const LiveProject&) = delete;
    LiveProject& operator=(const LiveProject&) = delete;

    const Project& project() const { return *m_project; }
    LaunchProgress& progress() { return *m_progress; }

    /// Reads the project anew when it was saved since, at most once in kLookMs; whether it
    /// did: runs that were handed out are gone then. What can't be read leaves all as it was.
    bool refresh();

    /// A run has ended: what steps take is asked anew.
    void forgetTimes() { m_times->forget(); }

private:
    /// What tells a project that was saved since from the one before; empty when its file isn't
    /// there.
    std::string signs_() const;
    void take_(std::unique_ptr<Project> project);

    /// Of the project before it was read.
    std::string m_signs;
    long m_lookedMs;
    std::unique_ptr<Project> m_project;
    std::unique_ptr<StepTimes> m_times;
    std::unique_ptr<LaunchProgress> m_progress;
};

}  // namespace shell
