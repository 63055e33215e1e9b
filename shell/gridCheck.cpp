// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/gridCheck.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include <fmt/format.h>
#include <unistd.h>

namespace shell {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kMarker = "seen";
constexpr const char* kScript = "runme.sh";
constexpr std::chrono::milliseconds kPause{100};
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

}  // namespace

Check checkGrid(cluster::Scheduler::Kind kind, const std::string& command, const std::string& dir,
                long limitSec) {
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
                           launch};
    const auto start = Clock::now();
    const cluster::Submission submission = scheduler->submit(job);
    if (submission.result != cluster::Submission::kTaken)
        return bad(check, "the job isn't taken: " + submission.told,
                   "Submit a job by hand with the same command");
    const double taken = secondsSince(start);
    while (folder.markedBy().empty() && secondsSince(start) < static_cast<double>(limitSec))
        std::this_thread::sleep_for(kPause);
    const std::string host = folder.markedBy();
    const cluster::JobKey key{job.name, submission.id, {}};
    if (host.empty()) {
        const std::string state = scheduler->look(key).told;
        std::string ignored;
        scheduler->end(key, kEndMs, ignored);
        return bad(check,
                   fmt::format("the marker of job {} wasn't seen within {} s: {}", submission.id,
                               limitSec, state),
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
