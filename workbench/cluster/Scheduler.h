// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/cluster/clientCall.h"
#include "workbench/cluster/jobId.h"

namespace cluster {

struct ArrayJob;

/// A run that is to become a job.
struct Job {
    std::string name;      ///< as Scheduler::nameFor() gave it
    std::string runDir;    ///< absolute; the job works there
    std::string launchId;  ///< goes to every process of the job
    /// How long the submit program may take, before the queue is asked for the job.
    long submitMs = 60000;
};

/// Which job is meant. The name tells: no other job has it. The identifier, empty when
/// it isn't known, only helps; one that belongs to a job of another name is passed over.
struct JobKey {
    std::string name;
    std::string id;
    std::string owner;  ///< who submitted it; this user when empty
    long task = 0;      ///< of an array: which of its tasks, or 0 for any of them
};

/// What became of a submission.
struct Submission {
    enum Result {
        kTaken,    ///< the job is `id`
        kRefused,  ///< there is no job
        kUnsure,   ///< there may be one
    };
    Result result = kUnsure;
    std::string id;
    /// What the scheduler said last, for a user.
    std::string told;
    /// Everything that it said.
    std::string log;
};

/// What a scheduler says of a job.
struct JobAnswer {
    enum State { kQueued, kRunning, kGone, kUnknown };
    State state = kUnknown;
    std::string id;
    /// Where it runs.
    std::string host;
    /// A sentence: "job 12 runs on node7", "the queue can't be asked: no answer in time".
    std::string told;
};

/// What a request to end a job came to.
struct CancelAnswer {
    enum Result { kAsked, kGone, kFailed };
    Result result = kFailed;
    /// Why it failed.
    std::string told;
};

/// A scheduler of jobs behind its client programs, which lie beside the submit program
/// that the user names, or in PATH.
///
/// No answer of a client makes an operation throw: one that is absent, hangs, is killed,
/// contradicts itself or says something else is an answer that isn't known.
class WORKBENCH_API Scheduler {
public:
    enum Kind { kSge, kLsf };

    /// `command` is the submit command as the user typed it.
    static std::unique_ptr<Scheduler> make(Kind kind, const std::string& command);
    virtual ~Scheduler();

    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    /// Whether the command can submit jobs; otherwise `reason` gets a sentence.
    virtual bool check(std::string& reason) const = 0;

    /// The name of the job of a run, which no other job of this scheduler has while it
    /// is there.
    virtual std::string nameFor(const std::string& runName, const std::string& runDir,
                                const std::string& launchId) const = 0;

    /// Whether arrays can be submitted, too; otherwise `reason` gets a sentence.
    virtual bool checkArrays(std::string& reason) const = 0;

    /// The name of an array of jobs, which no other job has.
    static std::string arrayName(const std::string& label, const std::string& launchId);
    /// The variable that tells a task of an array its number.
    virtual std::string taskVariable() const = 0;
    /// The identifier of a task of the job `job`.
    virtual std::string taskId(const std::string& job, long task) const = 0;

    /// Submits "runme.sh" of a run. A refusal, which the exit status proves, is tried
    /// three times in all, with five seconds of pauses. After any other failure the job
    /// is looked up by its name, and never submitted again. May take minutes.
    Submission submit(const Job& job);
    /// submit() of an array, whose identifier is that of the whole.
    Submission submitArray(const ArrayJob& array);

    /// What the scheduler says of the job; may take half a minute. That a job is there may
    /// be two seconds old, so that many can be looked at; that it is gone never is.
    virtual JobAnswer look(const JobKey& key) const = 0;

    /// Asks the scheduler to end the job. Only a job of that name is ever named.
    virtual CancelAnswer cancel(const JobKey& key) const = 0;

    /// Cancels the job and waits until it is gone, up to `limitMs` milliseconds. False
    /// when it may still be there; then `reason` gets why.
    bool end(const JobKey& key, long limitMs, std::string& reason) const;

protected:
    explicit Scheduler(const std::string& command);

    /// The call that submits the job; once for each try.
    virtual ClientCall submitCall_(const Job& job) const = 0;
    virtual ClientCall arrayCall_(const ArrayJob& array) const = 0;
    /// The number in what a submission of a job or of an array said that went well; empty when
    /// there is none, or it tells of the other.
    virtual std::string idIn_(const std::string& text, bool ofArray) const = 0;

    /// The submit command as the user typed it, and its words.
    const std::string& command_() const { return m_command; }
    const std::vector<std::string>& words_() const { return m_words; }
    /// Called before a look that must not rest on an earlier one. Nothing here.
    virtual void forget_() const;

    /// The client program of that name beside the submit program; the bare name when it
    /// isn't there.
    std::string client_(const std::string& name) const;

private:
    Submission submit_(const ClientCall& call, const std::string& name, bool isArray) const;
    Submission settle_(const std::string& name, bool isArray, const ClientAnswer& answer) const;

    std::string m_command;
    std::vector<std::string> m_words;
};

/// What a job's name begins with where it can be chosen, so that no other job is ever ended.
inline constexpr char kJobNamePrefix[] = "xp_";

}  // namespace cluster
