// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/serve/pageWatch.h"

#include <utility>

#include "shell/fileSigns.h"
#include "shell/page/pageData.h"
#include "shell/page/pageFile.h"
#include "shell/reportView.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/fileFingerprint.h"
#include "workbench/ice40/stepFiles.h"

namespace shell {

namespace {

std::shared_ptr<const PageSnapshot> troubleOf(const std::string& text) {
    auto page = std::make_shared<PageSnapshot>();
    page->trouble = text;
    return page;
}

}  // namespace

PageWatch::PageWatch(std::string dir, std::vector<std::string> names)
    : m_dir(std::move(dir)), m_names(std::move(names)) {}

PageWatch::~PageWatch() = default;

void PageWatch::open() {
    m_project = Project::open(m_dir, Project::kRead);
    chosenRuns(*m_project, m_names);
    m_dir = m_project->getDir();
    m_projectSigns = projectSigns(m_dir);
    m_frame = pageTemplate();
}

std::shared_ptr<const PageSnapshot> PageWatch::look() {
    try {
        return lookAtProject_();
    } catch (const std::exception& error) {
        m_project.reset();
        m_signs.clear();
        m_current = nullptr;
        return troubleOf(error.what());
    }
}

std::shared_ptr<const PageSnapshot> PageWatch::lookAtProject_() {
    const std::string signsNow = projectSigns(m_dir);
    if (m_project == nullptr || signsNow != m_projectSigns) {
        m_project = nullptr;
        m_project = Project::open(m_dir, Project::kRead);
        m_projectSigns = signsNow;
    } else
        m_project->updateRuns();
    for (HAXPExpRun* run : m_project->getRuns())
        run->lookForLifeNowAndThen();
    std::string signs = signs_();
    if (m_current == nullptr || signs != m_signs) {
        m_current = make_();
        m_signs = std::move(signs);
    }
    return m_current;
}

std::string PageWatch::signs_() const {
    const DesignInputs& inputs = m_project->getInputs();
    std::string signs = m_projectSigns + ' ' + signsOf(inputs.constraints);
    for (const std::string& source : inputs.sources)
        signs += ' ' + signsOf(source);
    for (const HAXPExpRun* run : m_project->getRuns()) {
        signs += '\n' + statusWord(*run) + ' ' + stepWord(*run);
        if (!run->getDir().empty())
            signs += ' ' + signsOf(run->getDir()) + ' ' + signsOf(logPath(*run));
    }
    return signs;
}

std::shared_ptr<const PageSnapshot> PageWatch::make_() const {
    PageRequest request;
    request.runs = chosenRuns(*m_project, m_names);
    request.isLive = true;
    const std::string data = pageData(*m_project, request);
    auto page = std::make_shared<PageSnapshot>();
    page->page = std::make_shared<const std::string>(pageWith(m_frame, data));
    page->data = std::make_shared<const std::string>(data);
    page->tag = ice40::fingerprint(data);
    const workbench::FileWatch::Moment moment;
    for (HAXPExpRun* run : request.runs) {
        if (!logPath(*run).empty())
            page->logs[run->getName()] = logPath(*run);
        for (const ReportEntry& report : reportsOf(*m_project, *run, false)) {
            if (report.exists)
                page->reports[{run->getName(), report.shortName}] = report.path;
        }
    }
    return page;
}

}  // namespace shell
