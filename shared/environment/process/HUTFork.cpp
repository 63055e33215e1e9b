// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/HUTFork.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <features.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/files/diskOps.h"
#include "environment/installation/HUTEnv.h"
#include "environment/process/commandLine.h"
#include "environment/strings/HSTStrTokenizer.h"
#include "environment/threads/HCTMutex.h"

extern char** environ;

namespace {

/// What a shell would report of a child that ended.
int statusOf(int waitStatus) {
    constexpr int kSignalled = 128;
    return WIFSIGNALED(waitStatus) ? kSignalled + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

/// Processes that nobody asks for any more, until they have ended: the host
/// keeps what is left of them for its parent.
class Abandoned {
public:
    void add(long pid) {
        const HCTLock lock(m_mutex);
        m_pids.push_back(static_cast<pid_t>(pid));
    }

    void collect() {
        const HCTLock lock(m_mutex);
        const auto ended = [](pid_t pid) { return ::waitpid(pid, nullptr, WNOHANG) != 0; };
        m_pids.erase(std::remove_if(m_pids.begin(), m_pids.end(), ended), m_pids.end());
    }

private:
    HCTMutex m_mutex;
    std::vector<pid_t> m_pids XP_GUARDED_BY(m_mutex);
};

/// Stays until the process ends: forks may be deleted at any time.
Abandoned& abandoned() {
    static auto* const list = new Abandoned;
    return *list;
}

/// The pointers that a list of words is passed on as.
std::vector<char*> pointers(std::vector<std::string>& words) {
    std::vector<char*> list;
    list.reserve(words.size() + 1);
    for (std::string& word : words)
        list.push_back(&word[0]);
    list.push_back(nullptr);
    return list;
}

/// The variables of this process, with `added` in the place of those of the
/// same names.
std::vector<std::string>
childEnvironment(const std::vector<std::pair<std::string, std::string>>& added) {
    std::vector<std::string> variables;
    const auto isAdded = [&added](const std::string& variable) {
        const std::string name = variable.substr(0, variable.find('='));
        return std::any_of(added.begin(), added.end(),
                           [&name](const auto& one) { return one.first == name; });
    };
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        if (!isAdded(*entry))
            variables.emplace_back(*entry);
    }
    for (const auto& one : added)
        variables.push_back(one.first + "=" + one.second);
    return variables;
}

/// How the child is set up between its birth and its program. The first thing
/// that can't be noted makes the whole fail.
class ChildSetup {
public:
    ChildSetup() {
        note_(::posix_spawn_file_actions_init(&m_actions));
        note_(::posix_spawnattr_init(&m_attributes));
        open(STDIN_FILENO, "/dev/null", O_RDONLY);
    }
    ~ChildSetup() {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }
    ChildSetup(const ChildSetup&) = delete;
    ChildSetup& operator=(const ChildSetup&) = delete;

    void open(int fd, const std::string& path, int flags) {
        constexpr mode_t kNewFile = 0666;
        note_(::posix_spawn_file_actions_addopen(&m_actions, fd, path.c_str(), flags, kNewFile));
    }

    void sendOutputTo(int fd) {
        note_(::posix_spawn_file_actions_adddup2(&m_actions, fd, STDOUT_FILENO));
        note_(::posix_spawn_file_actions_adddup2(&m_actions, fd, STDERR_FILENO));
    }

    void workIn(const std::string& folder) {
        if (!folder.empty())
            note_(::posix_spawn_file_actions_addchdir_np(&m_actions, folder.c_str()));
    }

    /// Keeps what this process has open from the child: a socket or a lock
    /// must not live on in it.
    void closeTheRest() {
#if __GLIBC_PREREQ(2, 34)
        note_(::posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1));
#endif
    }

    void setSignals(bool ownSession) {
        sigset_t none;
        sigset_t all;
        ::sigemptyset(&none);
        ::sigfillset(&all);
        ::sigdelset(&all, SIGKILL);
        ::sigdelset(&all, SIGSTOP);
        note_(::posix_spawnattr_setsigmask(&m_attributes, &none));
        note_(::posix_spawnattr_setsigdefault(&m_attributes, &all));
        const int session = ownSession ? POSIX_SPAWN_SETSID : 0;
        note_(::posix_spawnattr_setflags(
            &m_attributes,
            static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | session)));
    }

    /// 0 with `pid` set, or the error.
    int spawn(const std::string& program, std::vector<std::string> words,
              std::vector<std::string> variables, pid_t& pid) const {
        if (m_error != 0)
            return m_error;
        return ::posix_spawn(&pid, program.c_str(), &m_actions, &m_attributes,
                             pointers(words).data(), pointers(variables).data());
    }

private:
    void note_(int error) {
        if (m_error == 0)
            m_error = error;
    }

    posix_spawn_file_actions_t m_actions = {};
    posix_spawnattr_t m_attributes = {};
    int m_error = 0;
};

/// Opens what output and errors go to.
files::Descriptor openOutput(const std::string& path, bool append) {
    constexpr mode_t kNewFile = 0666;
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY | (append ? O_APPEND : O_TRUNC);
    return files::Descriptor(::open(path.c_str(), flags, kNewFile));
}

std::string absolute(std::string path) {
    if (path.front() != '/')
        HUTFileUtils::makeAbsolutePath(path);
    return path;
}

}  // namespace

HUTFork::HUTFork() = default;

HUTFork::~HUTFork() {
    if (m_pid > 0)
        abandoned().add(m_pid);
}

void HUTFork::setCmdLine(const std::string& line, bool split) {
    m_words = split ? process::splitCommand(line) : std::vector<std::string>{line};
}

void HUTFork::addArg(const std::string& text) {
    m_words.push_back(text);
}

void HUTFork::getCmdLineAsStr(std::string& line) const {
    line = process::showCommand(m_words);
}

void HUTFork::setWorkingDir(const std::string& path) {
    m_workingDir = path;
}

void HUTFork::setOutputFile(const std::string& path, bool append) {
    m_outputFile = path;
    m_append = append;
}

void HUTFork::setEnvVar(const std::string& name, const std::string& value) {
    const auto same = [&name](const auto& one) { return one.first == name; };
    m_variables.erase(std::remove_if(m_variables.begin(), m_variables.end(), same),
                      m_variables.end());
    m_variables.emplace_back(name, value);
}

int HUTFork::launch(bool wait, bool detach, bool usePath, bool quiet) {
    if (m_pid > 0)
        abandoned().add(m_pid);
    m_pid = 0;
    m_ended = false;
    m_error.clear();
    abandoned().collect();

    std::string program;
    if (!resolve_(usePath, program))
        return fail_(m_words.empty() ? std::string() : m_words.front(), ENOENT);
    ChildSetup setup;
    const std::string outputPath = m_outputFile.empty() && quiet ? "/dev/null" : m_outputFile;
    files::Descriptor output;
    if (!outputPath.empty()) {
        output = openOutput(outputPath, m_append);
        if (!output)
            return fail_(outputPath, errno);
        setup.sendOutputTo(output.get());
    }
    if (!m_workingDir.empty() && !HUTFile(m_workingDir).isDir())
        return fail_(m_workingDir, ENOTDIR);
    setup.workIn(m_workingDir);
    setup.closeTheRest();
    setup.setSignals(detach);

    pid_t pid = 0;
    if (const int error = setup.spawn(program, m_words, childEnvironment(m_variables), pid))
        return fail_(program, error);
    if (wait)
        return await_(pid);
    m_pid = pid;
    return pid;
}

bool HUTFork::hasEnded(int& status) {
    int waitStatus = 0;
    const pid_t ended = m_pid > 0 ? ::waitpid(static_cast<pid_t>(m_pid), &waitStatus, WNOHANG) : 0;
    if (ended != 0) {
        m_pid = 0;
        m_ended = true;
        m_status = ended > 0 ? statusOf(waitStatus) : -1;
    }
    if (m_ended)
        status = m_status;
    return m_ended;
}

bool HUTFork::isInPath(const std::string& name) {
    std::string ignored;
    return findInPath(name, ignored);
}

bool HUTFork::findInPath(const std::string& name, std::string& fullPath) {
    if (name.empty())
        return false;
    if (name.find('/') != std::string::npos) {
        if (!progExists(name))
            return false;
        fullPath = absolute(name);
        return true;
    }
    const char* path = HUTEnv::getEnv("PATH");
    HSTStrTokenizer folders(path != nullptr ? path : "/usr/local/bin:/usr/bin:/bin", ":", true);
    std::string folder;
    while (folders.next(folder)) {
        const std::string candidate = (folder.empty() ? "." : folder) + "/" + name;
        if (progExists(candidate)) {
            fullPath = absolute(candidate);
            return true;
        }
    }
    return false;
}

bool HUTFork::progExists(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::access(path.c_str(), X_OK) == 0;
}

/// Sets `program` to what is to be executed; false when it can't be found.
bool HUTFork::resolve_(bool usePath, std::string& program) {
    if (m_words.empty() || m_words.front().empty())
        return false;
    if (usePath)
        return findInPath(m_words.front(), program);
    program = m_words.front();
    return true;
}

int HUTFork::fail_(const std::string& program, int errorNumber) {
    m_error = program.empty() ? "No command was given"
                              : program + ": " + std::generic_category().message(errorNumber);
    return -1;
}

int HUTFork::await_(long pid) {
    int waitStatus = 0;
    while (::waitpid(static_cast<pid_t>(pid), &waitStatus, 0) < 0) {
        if (errno != EINTR)
            return fail_(m_words.front(), errno);
    }
    return statusOf(waitStatus);
}
