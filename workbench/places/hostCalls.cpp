// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/hostCalls.h"

#include <cstdlib>
#include <sstream>
#include <utility>

#include "environment/files/HUTFileUtils.h"
#include "environment/process/remoteCall.h"
#include "workbench/places/hostScripts.h"

namespace workbench {

namespace {

/// A host that is busy takes its time to let someone in.
constexpr long kStartMs = 60000;
constexpr long kLookMs = 45000;
/// Eight seconds more, for those who don't listen.
constexpr long kStopMs = 75000;

constexpr std::size_t kLargestClaim = 4096;

using Words = std::vector<std::string>;

Words wordsOf(const std::string& line) {
    std::istringstream in(line);
    Words words;
    for (std::string word; in >> word;)
        words.push_back(word);
    return words;
}

/// Whether `id` is a word for every program, and none that is found by chance.
bool isIdentity(const std::string& id) {
    constexpr std::size_t kLength = 36;
    return id.size() == kLength && id.front() != '-' &&
           id.find_first_not_of("0123456789abcdef-") == std::string::npos;
}

std::size_t countOf(const std::string& word) {
    return static_cast<std::size_t>(std::strtoul(word.c_str(), nullptr, 10));
}

RunLife lifeOf(const std::string& word) {
    if (word == "held")
        return RunLife::kAlive;
    return word == "free" ? RunLife::kGone : RunLife::kUnknown;
}

/// Why there is no answer, in words.
std::string whyUntold(const process::RemoteAnswer& answer) {
    switch (answer.end) {
    case process::RemoteAnswer::End::kNotStarted:
        return answer.output;
    case process::RemoteAnswer::End::kTimedOut:
        return "the remote command came to no end";
    default:
        break;
    }
    std::string said = answer.lastLine();
    // The sentence goes on, or ends by itself.
    said.resize(said.find_last_not_of('.') + 1);
    return "the remote command ended with status " + std::to_string(answer.status) +
           (said.empty() ? " and said nothing" : " and said: " + said);
}

/// What a refusal means to the user.
std::string whyRefused(const Words& words, const std::string& runDir) {
    const std::string reason = words.empty() ? "" : words.front();
    if (reason == "directory")
        return "it has no folder " + runDir +
               "; a run on another host needs a file system that both share";
    if (reason == "lease")
        return "its folder " + runDir +
               " isn't the one of this host; a run on another host needs a file system that both "
               "share";
    if (reason == "script")
        return "it may not execute runme.sh in " + runDir;
    std::string said;
    for (std::size_t i = 1; i < words.size(); ++i)
        said += (said.empty() ? "" : " ") + words[i];
    return said.empty() ? "the script could not be started" : said;
}

}  // namespace

/// The words behind the verb in the line of the launch.
struct HostCalls::Reply {
    bool isTold = false;
    Words words;
    std::string why;

    const std::string& word(std::size_t index) const {
        static const std::string none;
        return index < words.size() ? words[index] : none;
    }
    /// The fields of a look that stand from `index` on.
    void readLook(HostLook& look) const {
        look.isTold = true;
        look.host = {word(0), word(1), word(2)};
        look.seesDirectory = word(3) == "same";
        look.lock = lifeOf(word(4));
        look.seesProcesses = word(5) == "seen";
    }
    void readPids(std::size_t from, std::vector<long>& pids) const {
        for (std::size_t i = from; i < words.size(); ++i)
            pids.push_back(static_cast<long>(countOf(words[i])));
    }
};

bool readHostClaim(const std::string& runDir, const std::string& launchId, HostIdentity& host) {
    std::string text;
    if (launchId.empty() ||
        !HUTFileUtils::readFile(runDir + "/" + kHostClaimName, kLargestClaim, text))
        return false;
    constexpr std::size_t kFields = 5;
    const Words words = wordsOf(text);
    if (words.size() != kFields || words[0] != launchId)
        return false;
    host = {words[2], words[3], words[4]};
    return true;
}

bool isRemoteHost(const std::string& host) {
    const std::string::size_type at = host.find('@');
    if (at == std::string::npos)
        return process::isHostName(host);
    return process::isHostName(host.substr(0, at)) && process::isHostName(host.substr(at + 1));
}

HostCalls::HostCalls(std::string command, std::string host, std::string runDir,
                     std::string launchId)
    : m_command(std::move(command)), m_host(std::move(host)), m_runDir(std::move(runDir)),
      m_launchId(std::move(launchId)) {}

HostStart HostCalls::start() const {
    HostStart start;
    const Reply reply = call_(hostStartScript(), "start", kStartMs);
    if (!reply.isTold) {
        start.words = reply.why;
    } else if (reply.word(0) == "began") {
        start.kind = HostStart::Kind::kBegan;
    } else {
        start.kind = HostStart::Kind::kRefused;
        start.words = whyRefused(reply.words, m_runDir);
    }
    return start;
}

HostLook HostCalls::look() const {
    HostLook look;
    const Reply reply = call_(hostLookScript(), "look", kLookMs);
    look.words = reply.why;
    if (!reply.isTold)
        return look;
    constexpr std::size_t kPids = 6;
    reply.readLook(look);
    reply.readPids(kPids, look.pids);
    return look;
}

HostStop HostCalls::stop() const {
    HostStop stop;
    const Reply reply = call_(hostStopScript(), "stop", kStopMs);
    stop.words = reply.why;
    if (!reply.isTold)
        return stop;
    constexpr std::size_t kAsked = 6;
    constexpr std::size_t kKilled = 7;
    reply.readLook(stop);
    stop.asked = countOf(reply.word(kAsked));
    stop.killed = countOf(reply.word(kKilled));
    reply.readPids(kKilled + 1, stop.pids);
    return stop;
}

/// Runs the script and looks for its line: whatever else the host and the remote command
/// say is theirs.
HostCalls::Reply HostCalls::call_(const std::string& script, const std::string& verb,
                                  long limitMs) const {
    Reply reply;
    if (!isRemoteHost(m_host) || !isIdentity(m_launchId)) {
        reply.why = "its lease is none that xp writes";
        return reply;
    }
    const process::RemoteAnswer answer = process::callHost(
        m_command, m_host, process::remoteWord(script, {m_runDir, m_launchId}), limitMs);
    std::istringstream lines(answer.end == process::RemoteAnswer::End::kNotStarted ? std::string()
                                                                                   : answer.output);
    for (std::string line; std::getline(lines, line);) {
        Words words = wordsOf(line);
        if (words.size() < 3 || words[0] != "xp:" + m_launchId || words[1] != verb)
            continue;
        reply.isTold = true;
        reply.words.assign(words.begin() + 2, words.end());
    }
    if (!reply.isTold)
        reply.why = whyUntold(answer);
    return reply;
}

}  // namespace workbench
