// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/remoteCall.h"

#include <algorithm>
#include <csignal>
#include <fstream>

#include <unistd.h>

#include <boost/filesystem.hpp>

#include "environment/files/HUTFile.h"
#include "environment/process/HUTFork.h"
#include "environment/process/clock.h"
#include "environment/process/commandLine.h"

namespace process {

namespace {

constexpr long kMostBytes = 1000000;
/// Most calls are over in a blink; who isn't takes its time.
constexpr long kQuickPauseMs = 2;
constexpr long kSlowPauseMs = 20;
constexpr long kQuickMs = 200;

/// A file of its own for what a command says; goes with the object.
class Output {
public:
    Output() : m_path((boost::filesystem::temp_directory_path() / "xp-remote-XXXXXX").string()) {
        const int fd = ::mkstemp(&m_path[0]);
        if (fd >= 0)
            ::close(fd);
        else
            m_path.clear();
    }
    ~Output() {
        if (!m_path.empty())
            ::unlink(m_path.c_str());
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    const std::string& path() const { return m_path; }
    bool isTooLarge() const { return HUTFile(m_path).size() > kMostBytes; }

    std::string text() const {
        std::string read(kMostBytes, '\0');
        std::ifstream file(m_path, std::ios::binary);
        file.read(&read[0], kMostBytes);
        read.resize(static_cast<std::size_t>(file.gcount()));
        return read;
    }

private:
    std::string m_path;
};

/// Whether the command ended by itself, with its status in `answer`.
bool awaitEnd(HUTFork& fork, const Output& output, long limitMs, RemoteAnswer& answer) {
    const long start = clock().nowMs();
    while (!fork.hasEnded(answer.status)) {
        const long passed = clock().nowMs() - start;
        if ((limitMs != kNoLimit && passed >= limitMs) || output.isTooLarge())
            return false;
        clock().sleepMs(passed < kQuickMs ? kQuickPauseMs : kSlowPauseMs);
    }
    return true;
}

}  // namespace

std::string RemoteAnswer::lastLine() const {
    const std::string::size_type length = output.find_last_not_of(" \t\r\n") + 1;
    const std::string whole = output.substr(0, length);
    return whole.substr(whole.rfind('\n') + 1);
}

bool isHostName(const std::string& host) {
    static const char kPlain[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:-";
    return !host.empty() && host.front() != '-' &&
           host.find_first_not_of(kPlain) == std::string::npos;
}

std::string remoteWord(const std::string& script, const std::vector<std::string>& args) {
    std::string line = script;
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::string word = "exec sh -c " + quoteWord(line) + " xp";
    for (const std::string& arg : args)
        word += " " + quoteWord(arg);
    return word;
}

RemoteAnswer callHost(const std::string& command, const std::string& host, const std::string& word,
                      long limitMs) {
    const Output output;
    HUTFork fork;
    fork.setCmdLine(command, true);
    fork.addArg(host);
    fork.addArg(word);
    fork.setOutputFile(output.path(), false);
    RemoteAnswer answer;
    // In a session of its own: no key that is typed here ends it half-way.
    const int pid = fork.launch(false, true, true, true);
    if (pid < 1) {
        answer.output = fork.getError();
        return answer;
    }
    const bool hasEnded = awaitEnd(fork, output, limitMs, answer);
    if (!hasEnded)
        ::kill(-pid, SIGKILL);
    answer.end = hasEnded ? RemoteAnswer::End::kEnded : RemoteAnswer::End::kTimedOut;
    answer.output = output.text();
    return answer;
}

}  // namespace process
