// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/liveProject.h"

#include <sys/stat.h>

#include "environment/errors/HEXAll.h"
#include "environment/process/clock.h"

namespace shell {

LiveProject::LiveProject(const std::string& dir) : m_lookedMs(process::clock().nowMs()) {
    m_project = Project::open(dir, Project::kRead);
    m_times = std::make_unique<StepTimes>(*m_project);
    m_progress = std::make_unique<LaunchProgress>(*m_project, m_times->function());
}

LiveProject::~LiveProject() = default;

LiveProject::Stamp LiveProject::stamp_() const {
    struct stat info {};
    const std::string path = m_project->getDir() + "/" + Project::kFileName;
    if (stat(path.c_str(), &info) != 0)
        return {};
    return {info.st_ino, info.st_size, info.st_mtim};
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
    const Stamp stamp = stamp_();
    if (stamp.inode == 0 || (stamp.inode == m_stamp.inode && stamp.size == m_stamp.size &&
                             stamp.modified.tv_sec == m_stamp.modified.tv_sec &&
                             stamp.modified.tv_nsec == m_stamp.modified.tv_nsec))
        return false;
    try {
        take_(Project::open(m_project->getDir(), Project::kRead));
    } catch (const HEXAll&) {
        return false;
    }
    m_stamp = stamp;
    return true;
}

}  // namespace shell
