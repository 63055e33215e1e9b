// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/LsfScheduler.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "environment/containers/HSTVector.h"
#include "environment/process/HUTFork.h"
#include "environment/process/commandLine.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "workbench/cluster/jobArray.h"
#include "workbench/launchLease.h"

namespace cluster {

namespace {

bool mentions(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// Whether LSF says that it has no such job, or none that hasn't ended.
bool saysGone(const std::string& text) {
    return mentions(text, "is not found") || mentions(text, "No unfinished job found") ||
           mentions(text, "No matching job found") || mentions(text, "Job has already finished");
}

/// The columns of the lines that begin with the number of a job.
std::vector<std::vector<std::string>> jobLines(const std::string& text) {
    std::vector<std::vector<std::string>> lines;
    std::istringstream all(text);
    std::string line;
    while (std::getline(all, line)) {
        std::istringstream columns(line);
        std::vector<std::string> words;
        std::string word;
        while (columns >> word)
            words.push_back(word);
        if (!words.empty() && isJobId(words.front()))
            lines.push_back(words);
    }
    return lines;
}

JobAnswer::State stateOf(const std::string& word) {
    if (word == "PEND" || word == "PSUSP" || word == "WAIT" || word == "PROV")
        return JobAnswer::kQueued;
    if (word == "RUN" || word == "USUSP" || word == "SSUSP")
        return JobAnswer::kRunning;
    if (word == "DONE" || word == "EXIT")
        return JobAnswer::kGone;
    return JobAnswer::kUnknown;
}

/// A job as bjobs calls it: an array's name, with the number of a task.
std::string calledName(const JobKey& key) {
    return key.task == 0 ? key.name : key.name + "[" + std::to_string(key.task) + "]";
}

/// "JOBID USER STAT QUEUE FROM_HOST EXEC_HOST ...": what a line says of the job `id`.
JobAnswer answerOf(const std::vector<std::string>& columns, const std::string& id) {
    constexpr std::size_t kState = 2;
    constexpr std::size_t kHost = 5;
    JobAnswer answer;
    answer.id = id;
    const std::string state = columns.size() > kState ? columns[kState] : "nothing";
    answer.state = stateOf(state);
    if (answer.state == JobAnswer::kRunning && columns.size() > kHost)
        answer.host = columns[kHost];
    answer.told = "LSF shows job " + answer.id + " as " + state +
                  (answer.host.empty() ? std::string() : " on " + answer.host);
    return answer;
}

}  // namespace

LsfScheduler::LsfScheduler(const std::string& command) : Scheduler(command) {}

LsfScheduler::~LsfScheduler() = default;

bool LsfScheduler::check(std::string& reason) const {
    HSTVector<std::string> errors;
    if (!HAXPUtilsBase::validateLSF(command_(), errors, "")) {
        reason = errors.empty() ? std::string() : errors[0];
        return false;
    }
    // A name of another kind, which no kill would find, or a bsub that stays.
    for (const char* word : {"-J", "-K"}) {
        if (std::find(words_().begin(), words_().end(), word) != words_().end()) {
            reason = std::string("The switch ") + word + " can't be used when launching runs.";
            return false;
        }
    }
    return true;
}

std::string LsfScheduler::nameFor(const std::string&, const std::string& runDir,
                                  const std::string&) const {
    return runDir + "/runme.sh";
}

bool LsfScheduler::checkArrays(std::string& reason) const {
    if (HUTFork::progExists(client_("bjobs")) || HUTFork::isInPath("bjobs"))
        return true;
    reason = "Without bjobs no task of an array can be found; leave -j out.";
    return false;
}

std::string LsfScheduler::taskVariable() const {
    return "LSB_JOBINDEX";
}

std::string LsfScheduler::taskId(const std::string& job, long task) const {
    return job + "[" + std::to_string(task) + "]";
}

ClientCall LsfScheduler::submitCall_(const Job& job) const {
    ClientCall call;
    call.words = words_();
    call.words.push_back(job.name);
    call.workingDir = job.runDir;
    // LSF hands the environment of its client to the job.
    call.variables.emplace_back(workbench::kLaunchVariable, job.launchId);
    call.limitMs = job.submitMs;
    return call;
}

ClientCall LsfScheduler::arrayCall_(const ArrayJob& array) const {
    ClientCall call;
    call.words = words_();
    call.words.insert(call.words.end(), {"-J",
                                         array.name + "[1-" + std::to_string(array.taskCount) +
                                             "]%" + std::to_string(array.mostAtOnce),
                                         array.script});
    call.limitMs = Job().submitMs;
    return call;
}

/// Of "Job <12> is submitted to queue <medium>.", or to the default one.
std::string LsfScheduler::idIn_(const std::string& text, bool /*ofArray*/) const {
    const std::string head = "Job <";
    for (auto at = text.find(head); at != std::string::npos; at = text.find(head, at + 1)) {
        const std::string::size_type begin = at + head.size();
        const std::string::size_type end = text.find("> is submitted to ", begin);
        std::string id = end == std::string::npos ? std::string() : text.substr(begin, end - begin);
        if (isJobId(id))
            return id;
    }
    return {};
}

JobAnswer LsfScheduler::look(const JobKey& key) const {
    ClientCall call;
    call.words = {client_("bjobs"), "-w", "-J", calledName(key)};
    if (!key.owner.empty())
        call.words.insert(call.words.begin() + 1, {"-u", key.owner});
    const ClientAnswer client = callClient(call);
    JobAnswer answer;
    const std::vector<std::vector<std::string>> lines = jobLines(client.text);
    if (client.isGood() && key.task != 0) {
        const std::string name = calledName(key);
        for (const std::vector<std::string>& columns : lines) {
            if (std::find(columns.begin(), columns.end(), name) != columns.end())
                return answerOf(columns, taskId(columns.front(), key.task));
        }
    }
    if (client.isGood() && key.task == 0 && !lines.empty()) {
        const auto same = std::find_if(lines.begin(), lines.end(), [&key](const auto& columns) {
            return columns.front() == key.id;
        });
        const std::vector<std::string>& columns = same == lines.end() ? lines.front() : *same;
        return answerOf(columns, columns.front());
    }
    if (client.end == ClientAnswer::kEnded && lines.empty() && saysGone(client.text)) {
        answer.state = JobAnswer::kGone;
        answer.told = "LSF has no unfinished job of this run";
        return answer;
    }
    answer.told = "LSF can't be asked: " + client.told();
    return answer;
}

/// A task is ended by the number of its job, which is asked for by name.
CancelAnswer LsfScheduler::cancelTask_(const JobKey& key) const {
    const JobAnswer now = look(key);
    if (now.state == JobAnswer::kGone)
        return {CancelAnswer::kGone, ""};
    if (now.id.empty())
        return {CancelAnswer::kFailed, now.told};
    ClientCall call;
    call.words = {client_("bkill"), now.id};
    const ClientAnswer answer = callClient(call);
    if (answer.isGood())
        return {CancelAnswer::kAsked, ""};
    if (answer.isRefusal() && saysGone(answer.text))
        return {CancelAnswer::kGone, ""};
    return {CancelAnswer::kFailed, "bkill of job " + now.id + " failed: " + answer.told()};
}

CancelAnswer LsfScheduler::cancel(const JobKey& key) const {
    if (key.task != 0)
        return cancelTask_(key);
    std::string command;
    HAXPUtilsBase::getDefaultClusterKillCmd(command);
    ClientCall call;
    call.words = process::splitCommand(command);
    call.words.front() = client_(call.words.front());
    call.words.push_back(key.name);
    const ClientAnswer answer = callClient(call);
    if (answer.isGood())
        return {CancelAnswer::kAsked, ""};
    if (answer.isRefusal() && saysGone(answer.text))
        return {CancelAnswer::kGone, ""};
    return {CancelAnswer::kFailed, "bkill failed: " + answer.told()};
}

}  // namespace cluster
