// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/clientCall.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "environment/process/HUTFork.h"
#include "environment/process/clock.h"
#include "workbench/printable.h"

namespace cluster {

namespace {

constexpr long kLongestPauseMs = 50;
/// A killed process that stays longer hangs in the host.
constexpr long kKillMs = 2000;
constexpr std::size_t kMostTold = 400;

/// A file in memory: a full disk says nothing about the scheduler.
class Output {
public:
    Output() : m_fd(memfd_create("answer", MFD_CLOEXEC)) {}
    ~Output() {
        if (m_fd >= 0)
            close(m_fd);
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    int get() const { return m_fd; }

private:
    int m_fd;
};

std::size_t sizeOf(const Output& file) {
    struct stat info {};
    return fstat(file.get(), &info) == 0 ? static_cast<std::size_t>(info.st_size) : 0;
}

std::string contentOf(const Output& file, std::size_t most) {
    std::string text(std::min(sizeOf(file), most), '\0');
    const ssize_t size = pread(file.get(), text.empty() ? nullptr : &text[0], text.size(), 0);
    text.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return text;
}

/// Kills the client and what it started.
void end(HUTFork& client, long pid) {
    kill(static_cast<pid_t>(-pid), SIGKILL);
    const long limit = process::clock().nowMs() + kKillMs;
    int status = 0;
    while (!client.hasEnded(status) && process::clock().nowMs() < limit)
        process::clock().sleepMs(1);
}

/// Waits for the client; says how it ended.
ClientAnswer::End await(HUTFork& client, long pid, const ClientCall& call, const Output& output,
                        int& status) {
    const long limit = process::clock().nowMs() + call.limitMs;
    long pause = 1;
    while (!client.hasEnded(status)) {
        const bool isTooMuch = sizeOf(output) > call.mostBytes;
        if (isTooMuch || process::clock().nowMs() >= limit) {
            end(client, pid);
            return isTooMuch ? ClientAnswer::kTooMuch : ClientAnswer::kOverTime;
        }
        process::clock().sleepMs(pause);
        pause = std::min(pause * 2, kLongestPauseMs);
    }
    return sizeOf(output) > call.mostBytes ? ClientAnswer::kTooMuch : ClientAnswer::kEnded;
}

/// The lines of `text` that say something, on one.
std::string onOneLine(const std::string& text) {
    std::string line;
    std::string::size_type begin = 0;
    while (begin < text.size() && line.size() <= kMostTold) {
        const std::string::size_type lineEnd = std::min(text.find('\n', begin), text.size());
        const std::string::size_type from = text.find_first_not_of(" \t\r", begin);
        if (from < lineEnd) {
            const std::string::size_type to = text.find_last_not_of(" \t\r", lineEnd - 1);
            line += (line.empty() ? "" : "; ") + text.substr(from, to + 1 - from);
        }
        begin = lineEnd + 1;
    }
    if (line.size() > kMostTold)
        line = line.substr(0, kMostTold) + "...";
    return workbench::printable(line);
}

}  // namespace

std::string ClientAnswer::told() const {
    std::string said = onOneLine(text);
    if (end == kOverTime)
        return said.empty() ? "it gave no answer in time" : "it didn't end in time: " + said;
    if (end == kTooMuch)
        return "it said more than an answer can be";
    if (!said.empty())
        return said;
    return isKilled_() ? "it was killed by signal " + std::to_string(status - kSignalled)
                       : "it ended with status " + std::to_string(status);
}

ClientAnswer callClient(const ClientCall& call) {
    ClientAnswer answer;
    const Output output;
    if (output.get() < 0) {
        answer.text = std::strerror(errno);
        return answer;
    }
    HUTFork client;
    for (const std::string& word : call.words)
        client.addArg(word);
    for (const auto& variable : call.variables)
        client.setEnvVar(variable.first, variable.second);
    client.setWorkingDir(call.workingDir);
    client.setOutputFile("/proc/self/fd/" + std::to_string(output.get()), true);
    const long pid = client.launch(false, true, true, true);
    if (pid < 1) {
        answer.text = client.getError();
        return answer;
    }
    answer.end = await(client, pid, call, output, answer.status);
    answer.text = contentOf(output, call.mostBytes);
    return answer;
}

}  // namespace cluster
