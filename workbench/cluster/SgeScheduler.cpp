// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/SgeScheduler.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>

#include <pwd.h>
#include <unistd.h>

#include "environment/containers/HSTVector.h"
#include "environment/errors/HEXAll.h"
#include "environment/process/clock.h"
#include "environment/xml/xmlDocument.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "workbench/cluster/jobArray.h"
#include "workbench/launchLease.h"
#include "workbench/printable.h"

namespace cluster {

namespace {

/// A cell with thousands of jobs of one user.
constexpr std::size_t kLargestList = std::size_t{12} << 20U;
/// A scheduler that is starting anew answers within this time, in milliseconds.

std::string thisUser() {
    constexpr std::size_t kBufferSize = 16384;
    std::vector<char> buffer(kBufferSize);
    struct passwd entry {};
    struct passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr)
        return std::to_string(geteuid());
    return found->pw_name;
}

bool startsWith(const std::string& text, const std::string& head) {
    return text.compare(0, head.size(), head) == 0;
}

bool has(const std::string& letters, char letter) {
    return letters.find(letter) != std::string::npos;
}

std::string textOf(const xml::Element& element, const char* name) {
    const xml::Element* child = element.child(name);
    return child == nullptr ? std::string() : child->text();
}

/// Every element `name` in `element`, at any depth.
void collect(const xml::Element& element, const std::string& name,
             std::vector<const xml::Element*>& found) {
    for (const xml::Element& child : element.children()) {
        if (child.name() == name)
            found.push_back(&child);
        else
            collect(child, name, found);
    }
}

/// The document in what qstat said, warnings around it left out.
/// @throws HXMLReadException there is none.
xml::Document documentIn(const std::string& text) {
    const std::string::size_type begin = std::min(text.find("<?xml"), text.size());
    const std::string::size_type end = text.rfind('>');
    const std::string::size_type size =
        end == std::string::npos || end < begin ? 0 : end + 1 - begin;
    return xml::Document::fromText(text.substr(begin, size), "qstat");
}

/// "node7" of "all.q@node7".
std::string hostOf(const std::string& queue) {
    const std::string::size_type at = queue.rfind('@');
    return at == std::string::npos ? std::string() : queue.substr(at + 1);
}

}  // namespace

SgeScheduler::SgeScheduler(const std::string& command) : Scheduler(command) {}

SgeScheduler::~SgeScheduler() = default;

bool SgeScheduler::check(std::string& reason) const {
    HSTVector<std::string> errors;
    if (!HAXPUtilsBase::validateSGE(command_(), errors, "")) {
        reason = errors.empty() ? std::string() : errors[0];
        return false;
    }
    // Several jobs of one run, or a qsub that stays as long as its job.
    for (const char* word : {"-t", "-sync"}) {
        if (std::find(words_().begin(), words_().end(), word) != words_().end()) {
            reason = std::string("The switch ") + word + " can't be used when launching runs.";
            return false;
        }
    }
    return true;
}

/// Who says how many at once is xp, then.
bool SgeScheduler::checkArrays(std::string& reason) const {
    if (std::find(words_().begin(), words_().end(), "-tc") == words_().end())
        return true;
    reason = "The switch -tc can't be used with -j, which says how many runs work at once.";
    return false;
}

std::string SgeScheduler::nameFor(const std::string& runName, const std::string&,
                                  const std::string& launchId) const {
    return arrayName(runName, launchId);
}

std::string SgeScheduler::taskVariable() const {
    return "SGE_TASK_ID";
}

std::string SgeScheduler::taskId(const std::string& job, long task) const {
    return job + "." + std::to_string(task);
}

ClientCall SgeScheduler::submitCall_(const Job& job) const {
    ClientCall call;
    call.words = words_();
    // The log's path is relative: a colon or comma in an absolute one would be read as a
    // host or a list.
    const std::vector<std::string> more = {"-S",
                                           "/bin/sh",
                                           "-wd",
                                           job.runDir,
                                           "-N",
                                           job.name,
                                           "-j",
                                           "y",
                                           "-o",
                                           "runme.log",
                                           "-v",
                                           std::string(workbench::kLaunchVariable) + "=" +
                                               job.launchId,
                                           job.runDir + "/runme.sh"};
    call.words.insert(call.words.end(), more.begin(), more.end());
    call.workingDir = job.runDir;
    // Of the variables that a user's -V takes along, this one must be right too.
    call.variables.emplace_back(workbench::kLaunchVariable, job.launchId);
    call.limitMs = job.submitMs;
    return call;
}

ClientCall SgeScheduler::arrayCall_(const ArrayJob& array) const {
    ClientCall call;
    call.words = words_();
    // The script sends what each task says to the log of its run.
    const std::vector<std::string> more = {"-S",        "/bin/sh",
                                           "-N",        array.name,
                                           "-j",        "y",
                                           "-o",        "/dev/null",
                                           "-t",        "1-" + std::to_string(array.taskCount),
                                           "-tc",       std::to_string(array.mostAtOnce),
                                           array.script};
    call.words.insert(call.words.end(), more.begin(), more.end());
    call.limitMs = Job().submitMs;
    return call;
}

/// Of 'Your job 12 ("name") has been submitted' and 'Your job-array 12.1-3:1 ("name") ...', or
/// of the number alone, which -terse gives, with the tasks of an array behind it.
std::string SgeScheduler::idIn_(const std::string& text, bool ofArray) const {
    const std::string head = ofArray ? "Your job-array " : "Your job ";
    std::string::size_type begin = 0;
    while (begin < text.size()) {
        const std::string::size_type end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        const bool isSentence = startsWith(line, head);
        const std::string rest = isSentence ? line.substr(head.size()) : line;
        const std::string word = rest.substr(0, isSentence ? rest.find(' ') : rest.size());
        std::string id = word.substr(0, word.find_first_not_of("0123456789"));
        const bool isWhole =
            ofArray ? startsWith(word.substr(id.size()), ".") &&
                          word.find_first_not_of("0123456789-:", id.size() + 1) == std::string::npos
                    : id.size() == word.size();
        if (isJobId(id) && isWhole)
            return id;
        begin = end + 1;
    }
    return {};
}

/// Shared by the schedulers of the process, which are made anew for each look.
class SgeScheduler::RecentLists {
public:
    static RecentLists& get() {
        static RecentLists s_lists;
        return s_lists;
    }

    bool find(const std::string& key, const JobKey& job, Entry& entry) const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto list = m_lists.find(key);
        if (list == m_lists.end() || process::clock().nowMs() - list->second.timeMs > kAgeMs)
            return false;
        const auto found = list->second.byName.find(job.name);
        return found != list->second.byName.end() &&
               find_(found->second, job, entry) == TaskFound::kYes;
    }

    void put(const std::string& key, const std::vector<Entry>& entries) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        List& list = m_lists[key];
        list.timeMs = process::clock().nowMs();
        list.byName.clear();
        for (const Entry& entry : entries)
            list.byName[entry.name].push_back(entry);
    }

    void clear() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_lists.clear();
    }

private:
    static constexpr long kAgeMs = 2000;
    struct List {
        long timeMs = 0;
        std::map<std::string, Entries> byName;
    };
    mutable std::mutex m_mutex;
    std::map<std::string, List> m_lists;
};

void SgeScheduler::forget_() const {
    RecentLists::get().clear();
}

std::string SgeScheduler::listKey_(const std::string& owner) const {
    return client_("qstat") + '\n' + owner;
}

JobAnswer SgeScheduler::look(const JobKey& key) const {
    JobAnswer answer;
    Entry recent;
    if (RecentLists::get().find(listKey_(key.owner), key, recent))
        return answerOf_(recent, key.task);
    Entries entries;
    std::string reason;
    if (!list_(key.owner, entries, reason)) {
        answer.told = "the grid engine can't be asked: " + reason;
        return answer;
    }
    Entry entry;
    const TaskFound found = find_(entries, key, entry);
    if (found == TaskFound::kYes)
        return answerOf_(entry, key.task);
    if (found == TaskFound::kUnclear) {
        answer.told = "the grid engine lists the tasks of job " + entry.id + " as \"" +
                      workbench::printable(entry.tasks) + "\"";
        return answer;
    }
    answer.state = JobAnswer::kGone;
    answer.told = (parseJobId(key.id) ? "job " + key.id : "a job " + key.name) +
                  " isn't in the grid engine's queue";
    return answer;
}

/// Looks for the job, or the task of it that is meant; `found` is what tells it, or of which it
/// can't be told.
TaskFound SgeScheduler::find_(const Entries& entries, const JobKey& key, Entry& found) {
    TaskFound best = TaskFound::kNo;
    for (const Entry& entry : entries) {
        if (entry.name != key.name)
            continue;
        const TaskFound now = key.task == 0 ? TaskFound::kYes : findTask(entry.tasks, key.task);
        if (now != TaskFound::kNo) {
            found = entry;
            best = now;
        }
        if (now == TaskFound::kYes)
            break;
    }
    return best;
}

JobAnswer SgeScheduler::answerOf_(const Entry& entry, long task) const {
    JobAnswer answer;
    answer.id = task == 0 ? entry.id : taskId(entry.id, task);
    const std::string job = "job " + answer.id;
    if (entry.queue.empty()) {
        answer.state = JobAnswer::kQueued;
        answer.told = job + " waits in the queue, in state " + entry.state;
        if (has(entry.state, 'E'))
            answer.told += ": the grid engine couldn't start it; see \"qstat -j " + entry.id + "\"";
        return answer;
    }
    answer.host = hostOf(entry.queue);
    answer.state = JobAnswer::kRunning;
    answer.told = job + " runs on " + answer.host;
    if (has(entry.state, 'd'))
        answer.told = job + " is to end on " + answer.host;
    if (!isReachable_(entry.queue)) {
        answer.state = JobAnswer::kUnknown;
        answer.told += ", as far as the grid engine knows, which doesn't hear of that host";
    }
    return answer;
}

CancelAnswer SgeScheduler::cancel(const JobKey& key) const {
    forget_();
    const JobAnswer now = look(key);
    if (now.state == JobAnswer::kGone)
        return {CancelAnswer::kGone, ""};
    if (now.id.empty())
        return {CancelAnswer::kFailed, now.told};
    ClientCall call;
    const std::optional<JobId> id = parseJobId(now.id);
    call.words = {client_("qdel"), id->job};
    if (id->task != 0)
        call.words.insert(call.words.end(), {"-t", std::to_string(id->task)});
    const ClientAnswer answer = callClient(call);
    if (answer.isGood())
        return {CancelAnswer::kAsked, ""};
    // It may have come to its end since it was listed.
    forget_();
    if (answer.isRefusal() && look(key).state == JobAnswer::kGone)
        return {CancelAnswer::kGone, ""};
    return {CancelAnswer::kFailed, "qdel of job " + now.id + " failed: " + answer.told()};
}

bool SgeScheduler::endJob(const std::string& id, long limitMs, std::string& reason) const {
    const std::optional<JobId> wanted = parseJobId(id);
    Entries entries;
    if (!wanted) {
        reason = "\"" + workbench::printable(id.substr(0, 40)) + "\" is no identifier of a job";
        return false;
    }
    if (!list_("", entries, reason)) {
        reason = "the grid engine can't be asked: " + reason;
        return false;
    }
    const auto found = std::find_if(entries.begin(), entries.end(), [&wanted](const Entry& entry) {
        return entry.id == wanted->job;
    });
    if (found == entries.end()) {
        if (isUnknownJob_(wanted->job))
            return true;
        reason = "job " + wanted->job + " isn't one of " + thisUser();
        return false;
    }
    if (!startsWith(found->name, kJobNamePrefix)) {
        reason = "job " + wanted->job + " is called " + workbench::printable(found->name) +
                 " and isn't one of a run";
        return false;
    }
    return end({found->name, id, "", wanted->task}, limitMs, reason);
}

bool SgeScheduler::list_(const std::string& owner, Entries& entries, std::string& reason) const {
    ClientCall call;
    call.words = {client_("qstat"), "-u", owner.empty() ? thisUser() : owner, "-xml"};
    call.mostBytes = kLargestList;
    const ClientAnswer answer = callClient(call);
    if (!answer.isGood()) {
        reason = answer.told();
        return false;
    }
    try {
        const xml::Document document = documentIn(answer.text);
        if (document.root().name() != "job_info")
            document.refuse(document.root(), "it is no list of jobs");
        std::vector<const xml::Element*> jobs;
        collect(document.root(), "job_list", jobs);
        for (const xml::Element* job : jobs)
            entries.push_back({textOf(*job, "JB_job_number"), textOf(*job, "JB_name"),
                               textOf(*job, "state"), textOf(*job, "queue_name"),
                               textOf(*job, "tasks")});
    } catch (const HEXAll&) {
        reason = "its qstat doesn't give a list of jobs: " + answer.told();
        return false;
    }
    const bool isSound = std::all_of(entries.begin(), entries.end(), [](const Entry& entry) {
        return isJobId(entry.id) && !entry.name.empty();
    });
    if (isSound)
        RecentLists::get().put(listKey_(owner), entries);
    else
        reason = "its qstat lists a job without number or name";
    return isSound;
}

/// Whether the grid engine hears of the host behind the queue; true when nothing is known.
bool SgeScheduler::isReachable_(const std::string& queue) const {
    ClientCall call;
    call.words = {client_("qstat"), "-f", "-q", queue, "-xml"};
    call.mostBytes = kLargestList;
    const ClientAnswer answer = callClient(call);
    if (!answer.isGood())
        return true;
    try {
        const xml::Document document = documentIn(answer.text);
        std::vector<const xml::Element*> queues;
        collect(document.root(), "Queue-List", queues);
        return std::none_of(queues.begin(), queues.end(), [&queue](const xml::Element* one) {
            return textOf(*one, "name") == queue && has(textOf(*one, "state"), 'u');
        });
    } catch (const HEXAll&) {
        return true;
    }
}

/// Whether the grid engine says that it has no job of that number, whoever's.
bool SgeScheduler::isUnknownJob_(const std::string& id) const {
    ClientCall call;
    call.words = {client_("qstat"), "-j", id, "-xml"};
    call.mostBytes = kLargestList;
    const ClientAnswer answer = callClient(call);
    if (answer.end != ClientAnswer::kEnded)
        return false;
    try {
        const xml::Document document = documentIn(answer.text);
        return document.root().name() == "unknown_jobs" && textOf(document.root(), "ST_name") == id;
    } catch (const HEXAll&) {
        return false;
    }
}

}  // namespace cluster
