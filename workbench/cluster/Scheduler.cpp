// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/Scheduler.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "environment/process/HUTFork.h"
#include "environment/process/clock.h"
#include "environment/process/commandLine.h"
#include "workbench/cluster/LsfScheduler.h"
#include "workbench/cluster/SgeScheduler.h"
#include "workbench/cluster/jobArray.h"

namespace cluster {

namespace {

/// Between the tries, and between the looks for a job that may have been taken: a busy
/// scheduler needs some seconds.
constexpr std::array<long, 2> kPausesMs = {1000, 4000};

std::string taken(const std::string& id) {
    return "job " + id;
}

}  // namespace

std::unique_ptr<Scheduler> Scheduler::make(Kind kind, const std::string& command) {
    if (kind == kSge)
        return std::make_unique<SgeScheduler>(command);
    return std::make_unique<LsfScheduler>(command);
}

Scheduler::Scheduler(const std::string& command)
    : m_command(command), m_words(process::splitCommand(command)) {}

Scheduler::~Scheduler() = default;

std::string Scheduler::arrayName(const std::string& label, const std::string& launchId) {
    constexpr std::size_t kIdLength = 13;
    std::string name = kJobNamePrefix + label + "_" + launchId.substr(0, kIdLength);
    for (char& c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '.' && c != '-')
            c = '_';
    }
    return name;
}

Submission Scheduler::submit(const Job& job) {
    return submit_(submitCall_(job), job.name, false);
}

Submission Scheduler::submitArray(const ArrayJob& array) {
    return submit_(arrayCall_(array), array.name, true);
}

Submission Scheduler::submit_(const ClientCall& call, const std::string& name, bool isArray) const {
    std::string log;
    for (std::size_t attempt = 0;; ++attempt) {
        const ClientAnswer answer = callClient(call);
        log += answer.text;
        Submission submission = settle_(name, isArray, answer);
        submission.log = log;
        const bool mayTryAgain = answer.isRefusal() && attempt < kPausesMs.size();
        if (submission.result != Submission::kRefused || !mayTryAgain)
            return submission;
        process::clock().sleepMs(kPausesMs.at(attempt));
    }
}

/// Says what an answer to a submission means. Unless it is plain, the queue is asked for
/// the job's name: a client may fail, or be killed, with its job taken.
Submission Scheduler::settle_(const std::string& name, bool isArray,
                              const ClientAnswer& answer) const {
    Submission submission;
    submission.told = answer.told();
    submission.id = answer.isGood() ? idIn_(answer.text, isArray) : std::string();
    if (!submission.id.empty()) {
        submission.result = Submission::kTaken;
        return submission;
    }
    submission.result = Submission::kRefused;
    if (answer.end == ClientAnswer::kNotStarted)
        return submission;
    for (std::size_t attempt = 0;; ++attempt) {
        const JobAnswer found = look({name, "", ""});
        if (!found.id.empty()) {
            submission.result = Submission::kTaken;
            submission.id = found.id;
            submission.told = taken(found.id);
            return submission;
        }
        // A client that says itself that it failed is believed where nobody else answers.
        if (answer.isRefusal())
            return submission;
        submission.result =
            found.state == JobAnswer::kGone ? Submission::kRefused : Submission::kUnsure;
        if (attempt == kPausesMs.size())
            return submission;
        process::clock().sleepMs(kPausesMs.at(attempt));
    }
}

void Scheduler::forget_() const {}

bool Scheduler::end(const JobKey& key, long limitMs, std::string& reason) const {
    constexpr long kFirstPauseMs = 50;
    constexpr long kLongestPauseMs = 1000;
    const long limit = process::clock().nowMs() + limitMs;
    CancelAnswer cancelled = cancel(key);
    long pause = kFirstPauseMs;
    while (cancelled.result == CancelAnswer::kAsked) {
        forget_();
        const JobAnswer now = look(key);
        if (now.state == JobAnswer::kGone)
            return true;
        if (process::clock().nowMs() >= limit) {
            reason = now.told;
            return false;
        }
        process::clock().sleepMs(pause);
        pause = std::min(pause * 2, kLongestPauseMs);
        // Who ends jobs also knows which there are, where nobody can be asked.
        if (now.state == JobAnswer::kUnknown && now.id.empty())
            cancelled = cancel(key);
    }
    if (cancelled.result == CancelAnswer::kFailed)
        reason = cancelled.told;
    return cancelled.result == CancelAnswer::kGone;
}

std::string Scheduler::client_(const std::string& name) const {
    std::string path;
    if (m_words.empty() || !HUTFork::findInPath(m_words.front(), path))
        return name;
    path = path.substr(0, path.rfind('/') + 1) + name;
    return HUTFork::progExists(path) ? path : name;
}

}  // namespace cluster
