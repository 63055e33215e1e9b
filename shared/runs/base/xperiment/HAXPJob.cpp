// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPJob.h"

#include <cstdint>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "runs/base/xperiment/indexedRunList.h"

using xperiment::IndexedRunList;

struct HAXPJob::Data {
    IndexedRunList runs;
    IndexedRunList failedRuns;
    IndexedRunList exportedRuns;
    int jobId;
    std::string script;
};

namespace {

int countOf(const IndexedRunList& list) {
    return static_cast<int>(list.size());
}

HSTFwdIter<HAXPExpRun*>* iterOver(const IndexedRunList& list) {
    return containers::heapIter<HAXPExpRun*>(list.runs());
}

[[noreturn]] void rejectRun(const char* operation, const char* why) {
    throw HEXAlgException(std::string("Job::") + operation + " : run " + why);
}

}  // namespace

HAXPJob::HAXPJob(int jobId) : m_data(std::make_unique<Data>()) {
    m_data->jobId = jobId;
}

HAXPJob::~HAXPJob() {
    // A job that is used too late is known by it.
    m_data->jobId = -1;
}

int HAXPJob::getJobId() const {
    return m_data->jobId;
}

const std::string& HAXPJob::getScript() const {
    return m_data->script;
}

void HAXPJob::setScript(const std::string& script) {
    m_data->script = script;
}

void HAXPJob::addRun(HAXPExpRun* run) {
    m_data->runs.insert(run);
}

void HAXPJob::markAsFailed(HAXPExpRun* run) {
    requireRegistered_(run, "markAsFailed");
    if (m_data->exportedRuns.contains(run))
        rejectRun("markAsFailed", "already exported");
    if (!m_data->failedRuns.insert(run))
        rejectRun("markAsFailed", "already failed");
}

void HAXPJob::markAsExported(HAXPExpRun* run) {
    requireRegistered_(run, "markAsExported");
    // No run is in both lists.
    if (m_data->failedRuns.contains(run))
        rejectRun("markAsExported", "already failed");
    if (!m_data->exportedRuns.insert(run))
        rejectRun("markAsExported", "already exported");
}

bool HAXPJob::hasRunBeenAttempted(HAXPExpRun* run) const {
    return m_data->exportedRuns.contains(run) || m_data->failedRuns.contains(run);
}

bool HAXPJob::allRunsAttempted() const {
    const auto attempted = static_cast<std::uint32_t>(m_data->exportedRuns.size()) +
                           static_cast<std::uint32_t>(m_data->failedRuns.size());
    return attempted == static_cast<std::uint32_t>(m_data->runs.size());
}

int HAXPJob::runCount() const {
    return countOf(m_data->runs);
}

int HAXPJob::failedRunCount() const {
    return countOf(m_data->failedRuns);
}

int HAXPJob::exportedRunCount() const {
    return countOf(m_data->exportedRuns);
}

HSTFwdIter<HAXPExpRun*>* HAXPJob::createRunIter() const {
    return iterOver(m_data->runs);
}

HSTFwdIter<HAXPExpRun*>* HAXPJob::createFailedRunIter() const {
    return iterOver(m_data->failedRuns);
}

HSTFwdIter<HAXPExpRun*>* HAXPJob::createExportedRunIter() const {
    return iterOver(m_data->exportedRuns);
}

void HAXPJob::requireRegistered_(HAXPExpRun* run, const char* operation) const {
    if (!m_data->runs.contains(run))
        rejectRun(operation, "not registered");
}
