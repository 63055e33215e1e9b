// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/gridCheck.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include <fmt/format.h>
#include <unistd.h>

#include "shell/interrupt.h"

namespace shell {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kMarker = "seen";
constexpr const char* kScript = "runme.sh";
constexpr int kTrialPauseMs = 100;
/// To end a job that nobody saw.
constexpr long kEndMs = 10000;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A folder that is gone with this object.
class TrialFolder {
public:
    explicit TrialFolder(const std::string& dir) : m_path(dir + "/.xp-doctor-XXXXXX") {
        if (::mkdtemp(&m_path[0]) == nullptr)
            m_path.clear();
    }
    ~TrialFolder() {
        std::error_code ignored;
        if (!m_path.empty())
            std::filesystem::remove_all(m_path, ignored);
    }
    TrialFolder(const TrialFolder&) = delete;
    TrialFolder& operator=(const TrialFolder&) = delete;

    const std::string& path() const { return m_path; }

    bool writeScript() const {
        if (m_path.empty())
            return false;
        const std::string name = m_path + "/" + kScript;
        std::ofstream script(name);
        script << "#!/bin/sh\ncd '" << m_path << "' || exit 1\nsleep 1\n"
               << "uname -n >.part && mv .part " << kMarker << "\n";
        script.close();
        std::error_code failed;
        std::filesystem::permissions(name, std::filesystem::perms::owner_exec,
                                     std::filesystem::perm_options::add, failed);
        return !script.fail() && !failed;
    }

    /// The name of the host that left the marker; empty when it isn't there yet.
    std::string markedBy() const {
        // A network file system may know of the marker only when its folder is read.
        std::error_code ignored;
        for (std::filesystem::directory_iterator entry(m_path, ignored), end;
             !ignored && entry != end; entry.increment(ignored)) {
        }
        std::ifstream marker(m_path + "/" + kMarker);
        std::string host;
        std::getline(marker, host);
        return host;
    }

private:
    std::string m_path;
};

Check bad(Check check, const std::string& text, const std::string& advice) {
    check.health = Health::kBad;
    check.text = text;
    check.advice = advice;
    return check;
}

/// What the grid says of the trial.
class Trial {
public:
    Trial(const cluster::Scheduler& scheduler, const cluster::Job& job)
        : m_scheduler(scheduler), m_key{job.name, {}, {}, 0} {}

    void setId(const std::string& id) { m_key.id = id; }

    std::string state() const { return m_scheduler.look(m_key).told; }

    /// Ends the job, if there is one; says what became of it.
    std::string endText() const {
        const std::string& name = m_key.id.empty() ? m_key.name : m_key.id;
        std::string reason;
        if (m_scheduler.end(m_key, kEndMs, reason))
            return "; there is no such job any more";
        return fmt::format("; whether job {} is gone can't be told ({}): end it by hand", name,
                           reason);
    }

private:
    const cluster::Scheduler& m_scheduler;
    cluster::JobKey m_key;
};

/// Waits for the marker; whether Ctrl-C was pressed.
bool waitForMarker(const TrialFolder& folder, Clock::time_point start, long limitSec,
                   const Interrupt& interrupt) {
    while (folder.markedBy().empty() && secondsSince(start) < static_cast<double>(limitSec)) {
        if (interrupt.pause(kTrialPauseMs))
            return true;
    }
    return interrupt.pause(0);
}

}  // namespace

Check checkGrid(cluster::Scheduler::Kind kind, const std::string& command, const std::string& dir,
                long limitSec, const Interrupt& interrupt) {
    Check check{"grid", kind == cluster::Scheduler::kSge ? "SGE" : "LSF", Health::kOk, {}, {}};
    const auto scheduler = cluster::Scheduler::make(kind, command);
    std::string reason;
    if (!scheduler->check(reason))
        return bad(check, reason, "Correct the submit command, or install the grid's clients");
    const TrialFolder folder(dir);
    if (!folder.writeScript())
        return bad(check, fmt::format("no trial can be made in {}", dir),
                   "Make the folder writable for you");
    const std::string launch = fmt::format("doctor{}", ::getpid());
    const cluster::Job job{scheduler->nameFor("doctor", folder.path(), launch), folder.path(),
                           launch, std::min(limitSec * 1000, cluster::Job().submitMs)};
    Trial trial(*scheduler, job);
    const auto start = Clock::now();
    const cluster::Submission submission = scheduler->submit(job);
    if (submission.result == cluster::Submission::kUnsure)
        return bad(check,
                   "it can't be told whether the job was taken: " + submission.told +
                       trial.endText(),
                   "Submit a job by hand with the same command, and look at the queue");
    if (submission.result != cluster::Submission::kTaken)
        return bad(check, "the job isn't taken: " + submission.told,
                   "Submit a job by hand with the same command");
    trial.setId(submission.id);
    const double taken = secondsSince(start);
    const bool interrupted = waitForMarker(folder, start, limitSec, interrupt);
    const std::string host = folder.markedBy();
    if (host.empty() && interrupted)
        return bad(
            check,
            fmt::format("Ctrl-C ended the wait for job {}{}", submission.id, trial.endText()),
            "Try again");
    if (host.empty()) {
        const std::string state = trial.state();
        return bad(check,
                   fmt::format("the marker of job {} wasn't seen within {} s: {}{}", submission.id,
                               limitSec, state, trial.endText()),
                   "Look whether the grid's hosts share this folder, and whether they have a slot "
                   "free");
    }
    check.text =
        fmt::format("a job of one second: taken after {:.1f} s, its marker from {} seen after "
                    "{:.1f} s",
                    taken, host, secondsSince(start));
    return check;
}

}  // namespace shell
