// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/liveProject.h"

#include "environment/errors/HEXAll.h"
#include "environment/files/HUTFile.h"
#include "environment/process/clock.h"
#include "shell/fileSigns.h"

namespace shell {

LiveProject::LiveProject(const std::string& dir) : m_lookedMs(process::clock().nowMs()) {
    m_signs = projectSigns(Project::findDir(dir));
    m_project = Project::open(dir, Project::kRead);
    m_times = std::make_unique<StepTimes>(*m_project);
    m_progress = std::make_unique<LaunchProgress>(*m_project, m_times->function());
}

LiveProject::~LiveProject() = default;

std::string LiveProject::signs_() const {
    const std::string& dir = m_project->getDir();
    return HUTFile::exists(dir + "/" + Project::kFileName) ? projectSigns(dir) : std::string();
}

void LiveProject::take_(std::unique_ptr<Project> project) {
    auto times = std::make_unique<StepTimes>(*project);
    m_progress->setProject(*project, times->function());
    m_times = std::move(times);
    m_project = std::move(project);
}

bool LiveProject::refresh() {
    const long now = process::clock().nowMs();
    if (now - m_lookedMs < kLookMs)
        return false;
    m_lookedMs = now;
    const std::string signs = signs_();
    if (signs.empty() || signs == m_signs)
        return false;
    try {
        take_(Project::open(m_project->getDir(), Project::kRead));
    } catch (const HEXAll&) {
        return false;
    }
    m_signs = signs;
    return true;
}

}  // namespace shell
