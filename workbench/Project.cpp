// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/Project.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXError.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/installation/HUTEnv.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/RunReports.h"
#include "workbench/entryRules.h"
#include "workbench/fail.h"
#include "workbench/fileFingerprint.h"
#include "workbench/openFlows.h"
#include "workbench/printable.h"
#include "workbench/projectEntry.h"
#include "workbench/projectFile.h"
#include "workbench/reportRecords.h"
#include "workbench/reportStrategyOptions.h"
#include "workbench/runFamily.h"
#include "workbench/strategies.h"
#include "workbench/strategyOptions.h"
#include "workbench/suggestion.h"

namespace {

using workbench::fail;

const char kProjectLock[] = ".project.lock";
/// So many launches may stand beside the project file, or half as many as it has runs: each
/// save and each reader has to do with all of them.
constexpr std::size_t kMostRecords = 50;

bool isSynthesis(const HAXPFlow& flow) {
    return flow.supportsFlowType(HAXPTypes::FLOW_SYNTH);
}

std::string absolute(const std::string& path) {
    std::string full = path;
    HUTFileUtils::makeAbsolutePath(full);
    while (full.size() > 1 && full.back() == '/')
        full.pop_back();
    return full;
}

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string lastName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

/// The strategy `name` of `flow`, shipped or the user's.
const HAXPStrategy& strategyFor(const HAXPFlow& flow, const std::string& name) {
    if (const HAXPStrategy* strategy = workbench::findStrategy(flow, name)) {
        workbench::requireScriptValues(*strategy);
        return *strategy;
    }
    std::vector<std::string> names;
    for (const HAXPStrategy* strategy : workbench::strategiesOf(flow))
        names.push_back(workbench::printable(strategy->getName()));
    fail("@60-22@%s%s", name, workbench::withHint(name, workbench::listOfNames(names)));
}

/// The short names of the steps of `run`.
std::vector<std::string> stepNames(const HAXPExpRun& run) {
    std::vector<std::string> names;
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext())
        names.push_back(steps->next()->getFlowStep()->getAbbrev());
    return names;
}

/// The report strategy `name` of `flow`, its default for an empty name; null when there is
/// no default. @throws HEXUserException there is none of that name, or it holds a value that
/// a report script can't carry.
const HAXRReportStrategy* reportStrategyFor(const HAXPFlow& flow, const std::string& name) {
    if (name.empty()) {
        workbench::restoreStrategies();
        return HAXPMgr::getGlobal()->getDefaultReportStrategy(&flow);
    }
    if (const HAXRReportStrategy* strategy = workbench::findReportStrategy(flow, name)) {
        workbench::requireReportValues(*strategy);
        return strategy;
    }
    std::vector<std::string> names;
    for (const HAXRReportStrategy* strategy : workbench::reportStrategiesOf(flow))
        names.push_back(workbench::printable(strategy->getName()));
    fail("@60-98@%s%s", name, workbench::withHint(name, workbench::listOfNames(names)));
}

}  // namespace

const char Project::kFileName[] = "project.xml";

/// The lock of a project that is open for changes; its file says who holds it.
struct Project::Lock {
    int fd = -1;

    Lock() = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() {
        if (fd >= 0)
            close(fd);
    }
};

std::string Project::findDir(const std::string& dir) {
    for (std::string at = absolute(dir); !at.empty(); at.erase(at.rfind('/'))) {
        if (HUTFile::exists(at + "/" + kFileName))
            return at;
    }
    fail("@60-10@%s", absolute(dir));
}

std::vector<std::string> Project::savedPaths(const std::string& dir) {
    return {dir + "/" + kFileName, ProjectFile::recordDir(dir)};
}

std::unique_ptr<Project> Project::create(const std::string& dir, const DesignInputs& inputs) {
    const std::string folder = absolute(dir);
    workbench::requireScriptPath(folder);
    if (HUTFile::exists(folder + "/" + kFileName))
        fail("@60-11@%s", folder);
    // Before anything is made: what is refused leaves no folder behind.
    workbench::requireInputs(inputs);
    if (!HUTFile(folder).mkDirRecursive())
        fail("@60-16@%s%s", folder, std::strerror(errno));
    std::unique_ptr<Project> project(new Project(folder, kChange));
    project->m_name = lastName(folder);
    project->takeLock_();
    project->setInputs(inputs);
    project->save();
    return project;
}

std::unique_ptr<Project> Project::open(const std::string& dir, Access access) {
    std::unique_ptr<Project> project(new Project(findDir(dir), access));
    if (access == kChange)
        project->takeLock_();
    project->m_knowsAllNames = true;
    ProjectFile(*project).read();
    project->m_knowsAllNames = false;
    for (const auto& entry : project->m_entries)
        project->giveInputs_(*entry);
    project->updateRuns();
    return project;
}

Project::~Project() = default;

std::string Project::getRunsDir() const {
    return m_dir + "/runs";
}

void Project::setInputs(const DesignInputs& inputs) {
    DesignInputs taken = inputs;
    taken.netlist.clear();
    for (std::vector<std::string>* paths : {&taken.sources, &taken.includeDirs}) {
        for (std::string& path : *paths)
            path = absolute(path);
    }
    if (!taken.constraints.empty())
        taken.constraints = absolute(taken.constraints);
    workbench::requireInputs(taken);
    m_inputs = taken;
    for (const auto& entry : m_entries)
        giveInputs_(*entry);
}

void Project::tellDependants(const HAXPExpRun& run) {
    for (const auto& entry : m_entries) {
        if (entry->run.get() == &run || entry->synthesis == run.getName())
            giveInputs_(*entry);
    }
}

std::vector<HAXPExpRun*> Project::getRuns() const {
    std::vector<HAXPExpRun*> runs;
    runs.reserve(m_entries.size());
    for (const auto& entry : m_entries)
        runs.push_back(entry->run.get());
    return runs;
}

HAXPExpRun* Project::findRun(const std::string& name) const {
    const auto place = m_placesOfNames.find(lowerCase(name));
    if (place != m_placesOfNames.end() && place->second < m_entries.size() &&
        m_entries[place->second]->run->getName() == name)
        return m_entries[place->second]->run.get();
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&name](const auto& entry) {
        return entry->run->getName() == name;
    });
    return found == m_entries.end() ? nullptr : (*found)->run.get();
}

HAXPExpRun& Project::getRun(const std::string& name) const {
    if (HAXPExpRun* run = findRun(name))
        return *run;
    std::vector<std::string> names;
    for (const auto& entry : m_entries)
        names.push_back(entry->run->getName());
    fail("@60-21@%s%s", name, workbench::withHint(name, workbench::listOfNames(names)));
}

HAXPExpRun& Project::createRun(const std::string& name, const HAXPFlow& flow,
                               const std::string& strategyName, const std::string& synthesis,
                               const std::string& reportStrategyName) {
    std::string from = synthesis;
    if (!isSynthesis(flow) && from.empty()) {
        const auto first = std::find_if(m_entries.begin(), m_entries.end(), [](const auto& entry) {
            return isSynthesis(*entry->flow);
        });
        if (first == m_entries.end())
            fail("@60-27@");
        from = (*first)->run->getName();
    }
    const HAXRReportStrategy* reports = reportStrategyFor(flow, reportStrategyName);
    Entry& entry = addEntry_(name, flow, strategyName, from);
    if (reports != nullptr)
        entry.run->applyReportStrategy(reports);
    else
        entry.run->addStaticReports();
    giveInputs_(entry);
    return *entry.run;
}

void Project::removeRun(const HAXPExpRun& run) {
    const Entry* gone = &entryOf_(run);
    m_entries.erase(std::find_if(m_entries.begin(), m_entries.end(),
                                 [gone](const auto& entry) { return entry.get() == gone; }));
}

HAXPExpRun* Project::getSynthesisOf(const HAXPExpRun& run) const {
    const Entry& entry = entryOf_(run);
    return entry.synthesis.empty() ? nullptr : findRun(entry.synthesis);
}

const workbench::RunFamily& Project::getFamilyOf(const HAXPExpRun& run) const {
    return entryOf_(run).family;
}

void Project::setFamilyOf(const HAXPExpRun& run, const workbench::RunFamily& family) {
    workbench::requireRunName(family.sweep);
    workbench::requireRunName(family.name);
    entryOf_(run).family = family;
}

void Project::applyStrategy(HAXPExpRun& run, const std::string& name) {
    const HAXPStrategy& strategy = strategyFor(*entryOf_(run).flow, name);
    const std::vector<workbench::ReportRecord> reports = workbench::recordReports(run);
    run.setLatestStep(nullptr);
    run.applyStrategy(&strategy);
    keepLost_(entryOf_(run), workbench::restoreReports(run, reports));
}

void Project::applyReportStrategy(HAXPExpRun& run, const std::string& name) {
    Entry& entry = entryOf_(run);
    RunReports(run).applyStrategy(*reportStrategyFor(*entry.flow, name));
    entry.lostReports.clear();
}

void Project::setToStep(HAXPExpRun& run, const std::string& abbrev) {
    const std::string before = entryOf_(run).toStep;
    run.setToStepId(abbrev);
    if (!abbrev.empty() && run.getToStep() == nullptr) {
        run.setToStepId(before);
        fail("@60-25@%s%s%s", run.getName(), abbrev,
             workbench::withHint(abbrev, workbench::listOfNames(stepNames(run))));
    }
    entryOf_(run).toStep = abbrev;
}

void Project::setOption(HAXPExpRun& run, const std::string& name, const std::string& value) {
    workbench::setOption(*run.getStrategy(), name, value);
}

void Project::updateRuns() {
    for (const auto& entry : m_entries)
        entry->run->updateRun();
}

void Project::save() {
    if (m_access != kChange)
        throw HEXAlgException("the project is open for reading");
    try {
        ProjectFile(*this).write();
    } catch (const HEXError& error) {
        fail("@60-15@%s%s", m_dir, error.what());
    }
    m_saved.clear();
    m_recordCount = 0;
    for (const auto& entry : m_entries)
        entry->run->clearDirty();
}

void Project::saveLaunch(const HAXPExpRun& run) {
    if (m_access != kChange)
        throw HEXAlgException("the project is open for reading");
    if (m_saved.empty())
        m_saved = workbench::readFingerprint(m_dir + "/" + kFileName).sha1;
    try {
        ProjectFile(*this).writeRecord(entryOf_(run), m_saved);
        entryOf_(run).run->clearDirty();
        if (static_cast<std::size_t>(++m_recordCount) >=
            std::max(kMostRecords, m_entries.size() / 2))
            save();
    } catch (const HEXError&) {
        // Where no record can be made the whole may still be saved, or says why not.
        save();
    }
}

void Project::strategyModifiedCallback_(HAXPStrategy*) {}

Project::Project(const std::string& dir, Access access) : m_dir(dir), m_access(access) {}

void Project::takeLock_() {
    const std::string path = m_dir + "/" + kProjectLock;
    m_lock = std::make_unique<Lock>();
    m_lock->fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0644);
    if (m_lock->fd < 0)
        fail("@60-16@%s%s", m_dir, std::strerror(errno));
    if (flock(m_lock->fd, LOCK_EX | LOCK_NB) != 0) {
        std::string holder;
        if (!HUTFileUtils::readFile(path, 4096, holder) || holder.empty())
            holder = "by whom isn't known";
        fail("@60-14@%s%s", m_dir, holder);
    }
    const std::string self = "process " + std::to_string(getpid()) + " on " + HUTEnv::getHostName();
    // Only for the message of the next one who comes; the lock itself is the kernel's.
    if (ftruncate(m_lock->fd, 0) != 0 || pwrite(m_lock->fd, self.data(), self.size(), 0) < 0)
        errno = 0;
}

Project::Entry& Project::addEntry_(const std::string& name, const HAXPFlow& flow,
                                   const std::string& strategyName, const std::string& synthesis) {
    workbench::requireRunName(name);
    if (hasNameLike_(name))
        fail("@60-20@%s", name);
    auto entry = std::make_unique<Entry>();
    entry->flow = &flow;
    if (!isSynthesis(flow)) {
        const HAXPExpRun* from = findRun(synthesis);
        if (from == nullptr || !isSynthesis(*entryOf_(*from).flow))
            fail("@60-26@%s%s", synthesis, synthesisHint_(synthesis));
        entry->synthesis = synthesis;
    }
    const HAXPStrategy plain(&flow);
    const HAXPStrategy& strategy = strategyName.empty() ? plain : strategyFor(flow, strategyName);
    entry->run = std::make_unique<HAXPExpRun>(name, &strategy, this);
    m_places[entry->run.get()] = m_entries.size();
    m_placesOfNames[lowerCase(name)] = m_entries.size();
    m_entries.push_back(std::move(entry));
    return *m_entries.back();
}

void Project::giveInputs_(const Entry& entry) const {
    DesignInputs inputs = m_inputs;
    if (!entry.synthesis.empty()) {
        inputs.netlist = netlistOf_(entry.synthesis);
        inputs.netlistLaunch = findRun(entry.synthesis)->getInfo().getLaunchTime();
    }
    entry.run->getInfo().setInputs(inputs);
    if (m_access == kOverview)
        return;
    // Their files are called after the top module.
    workbench::nameStaticReports(*entry.run);
    entry.run->publishReports();
}

void Project::keepLost_(Entry& entry, const std::vector<workbench::ReportRecord>& lost) {
    entry.lostReports.insert(entry.lostReports.end(), lost.begin(), lost.end());
}

Project::Entry& Project::entryOf_(const HAXPExpRun& run) const {
    const auto place = m_places.find(&run);
    if (place != m_places.end() && place->second < m_entries.size() &&
        m_entries[place->second]->run.get() == &run)
        return *m_entries[place->second];
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&run](const auto& entry) { return entry->run.get() == &run; });
    if (found == m_entries.end())
        throw HEXAlgException("the run isn't the project's");
    return **found;
}

/// What helps who named a synthesis that isn't there.
std::string Project::synthesisHint_(const std::string& typed) const {
    std::vector<std::string> known;
    for (const auto& entry : m_entries) {
        if (isSynthesis(*entry->flow))
            known.push_back(entry->run->getName());
    }
    const std::string meant = workbench::suggestionFor(typed, known);
    return meant.empty() ? "Name one with --synth." : "Did you mean '" + meant + "'?";
}

/// Names that differ in case alone would share a folder where that doesn't count.
bool Project::hasNameLike_(const std::string& name) const {
    if (m_placesOfNames.find(lowerCase(name)) == m_placesOfNames.end() && m_knowsAllNames)
        return false;
    return std::any_of(m_entries.begin(), m_entries.end(), [&name](const auto& entry) {
        return HSTStringUtils::iequals(entry->run->getName(), name);
    });
}

std::string Project::netlistOf_(const std::string& synthesis) const {
    const HAXPExpRun* run = findRun(synthesis);
    std::string dir;
    if (run != nullptr)
        run->getRunDir(dir);
    if (dir.empty())
        dir = getRunsDir() + "/" + synthesis;
    return dir + "/" + m_inputs.top + ".json";
}
