// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "environment/containers/HSTFwdIter.h"
#include "runs/base/xperiment/RunsExport.h"

class HAXPExpRun;

/// One unit of a launch: a script, the runs that it is to carry out, and which of them
/// have failed and which were exported.
///
/// The launch layer registers runs and marks each once, as failed or as exported; the
/// job is done when every run is marked. No run is ever taken out again. Runs are the
/// concrete class of the environment, known here by name only: they aren't owned and
/// never looked into. A list of hundreds of runs and more is indexed, so that a launch of
/// any size adds, marks and asks in constant time.
///
/// It takes no lock: one thread at a time.
class RUNS_API HAXPJob {
public:
    explicit HAXPJob(int jobId);
    ~HAXPJob();

    HAXPJob(const HAXPJob&) = delete;
    HAXPJob& operator=(const HAXPJob&) = delete;

    int getJobId() const;
    /// The job's script, empty at first; good until it is set again.
    const std::string& getScript() const;
    void setScript(const std::string& script);

    /// Registers the run at the end; one that is registered stays where it is.
    void addRun(HAXPExpRun* run);
    /// @throws HEXAlgException the run isn't registered, or has a mark; nothing changes.
    void markAsFailed(HAXPExpRun* run);
    /// @throws HEXAlgException as markAsFailed().
    void markAsExported(HAXPExpRun* run);

    /// Whether the run has a mark; false for a stranger.
    bool hasRunBeenAttempted(HAXPExpRun* run) const;
    /// Whether every run has a mark; true for a job without runs.
    bool allRunsAttempted() const;

    int runCount() const;
    int failedRunCount() const;
    int exportedRunCount() const;

    /// All runs in the order of their registration, and the marked ones in that of
    /// their marks. The caller deletes the iterator, and does so before the list grows.
    HSTFwdIter<HAXPExpRun*>* createRunIter() const;
    HSTFwdIter<HAXPExpRun*>* createFailedRunIter() const;
    HSTFwdIter<HAXPExpRun*>* createExportedRunIter() const;

private:
    void requireRegistered_(HAXPExpRun* run, const char* operation) const;

    struct Data;
    std::unique_ptr<Data> m_data;
};
