// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/processTable.h"

#include <array>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <sstream>

#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <boost/filesystem.hpp>

#include "environment/files/HUTFileUtils.h"

namespace process {

namespace {

constexpr std::size_t kMostOfProcFile = 65536;

std::string procPath(long pid, const char* name) {
    return "/proc/" + std::to_string(pid) + "/" + name;
}

std::string linkTarget(const std::string& path) {
    boost::system::error_code ignored;
    return boost::filesystem::read_symlink(path, ignored).string();
}

/// The real user id in /proc/PID/status; -1 when it isn't told.
long realUser(long pid) {
    std::string status;
    if (!HUTFileUtils::readFile(procPath(pid, "status"), kMostOfProcFile, status))
        return -1;
    static const std::string kLabel = "\nUid:";
    const std::string::size_type at = status.find(kLabel);
    return at == std::string::npos ? -1 : std::atol(status.c_str() + at + kLabel.size());
}

bool readStat(long pid, Entry& entry) {
    std::string text;
    return HUTFileUtils::readFile(procPath(pid, "stat"), kMostOfProcFile, text) &&
           parseStat(text, entry);
}

bool isAtOrBelow(const std::string& path, const std::string& folder) {
    return path.compare(0, folder.size(), folder) == 0 &&
           (path.size() == folder.size() || path[folder.size()] == '/');
}

/// A reference to a process that stays with it however its pid is used later.
/// None on a host that has no such thing.
class PidReference {
public:
    explicit PidReference(long pid)
        : m_fd(static_cast<int>(::syscall(kOpen, static_cast<pid_t>(pid), 0))),
          m_error(m_fd < 0 ? errno : 0) {}
    ~PidReference() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    PidReference(const PidReference&) = delete;
    PidReference& operator=(const PidReference&) = delete;

    int error() const { return m_error; }
    int signal(int number) const {
        return ::syscall(kSend, m_fd, number, nullptr, 0) == 0 ? 0 : errno;
    }

private:
    static constexpr long kOpen = 434;  // pidfd_open, newer than some C libraries
    static constexpr long kSend = 424;  // pidfd_send_signal

    int m_fd;
    int m_error;
};

std::string readBootId() {
    std::string id;
    HUTFileUtils::readFile("/proc/sys/kernel/random/boot_id", kMostOfProcFile, id);
    return id.substr(0, id.find('\n'));
}

std::string readPidNamespace() {
    const std::string target = linkTarget("/proc/self/ns/pid");  // pid:[4026531836]
    const std::string::size_type from = target.find('[') + 1;
    return from == 0 ? std::string() : target.substr(from, target.find(']') - from);
}

/// What stays as it is while this process lives.
struct OwnFacts {
    long pid = 0;
    unsigned long long startTicks = 0;
    std::string pidNamespace;
};

/// Read once: a launch of many runs writes them for each. A child of fork() is another process.
OwnFacts ownFacts() {
    static std::mutex s_mutex;
    static OwnFacts s_facts;
    const std::lock_guard<std::mutex> lock(s_mutex);
    Entry entry;
    if (s_facts.pid != ::getpid() && readStat(::getpid(), entry))
        s_facts = {entry.pid, entry.startTicks, readPidNamespace()};
    return s_facts;
}

class HostProcessTable final : public ProcessTable {
public:
    std::string hostName() override {
        std::array<char, 256> name = {};
        ::gethostname(name.data(), name.size() - 1);
        return name.data();
    }

    std::string bootId() override {
        // A process doesn't outlive the start of its host.
        static const std::string s_id = readBootId();
        return s_id;
    }

    std::string pidNamespace() override {
        const OwnFacts own = ownFacts();
        return own.pid == ::getpid() ? own.pidNamespace : readPidNamespace();
    }

    long ownPid() override { return ::getpid(); }
    long ownGroup() override { return ::getpgrp(); }

    bool look(long pid, Entry& entry) override {
        Entry found;
        const OwnFacts own = pid == ::getpid() ? ownFacts() : OwnFacts();
        if (own.pid == pid) {
            entry = {pid, ::getpgrp(), static_cast<long>(::getuid()), 'R', own.startTicks};
            return true;
        }
        if (!readStat(pid, found))
            return false;
        found.user = realUser(pid);
        entry = found;
        return true;
    }

    std::vector<Entry> members(long group) override {
        std::vector<Entry> found;
        if (::kill(static_cast<pid_t>(-group), 0) != 0 && errno == ESRCH)
            return found;
        const auto closeFolder = [](DIR* folder) { ::closedir(folder); };
        const std::unique_ptr<DIR, decltype(closeFolder)> proc(::opendir("/proc"), closeFolder);
        while (const dirent* name = proc ? ::readdir(proc.get()) : nullptr) {
            Entry entry;
            if (std::isdigit(static_cast<unsigned char>(name->d_name[0])) != 0 &&
                readStat(std::atol(name->d_name), entry) && entry.group == group) {
                entry.user = realUser(entry.pid);
                found.push_back(entry);
            }
        }
        return found;
    }

    bool worksIn(long pid, const std::string& folder) override {
        boost::system::error_code missing;
        const std::string real = boost::filesystem::canonical(folder, missing).string();
        if (missing || folder.empty())
            return false;
        for (const char* name : {"cwd", "fd/1", "fd/2"}) {
            if (isAtOrBelow(linkTarget(procPath(pid, name)), real))
                return true;
        }
        return false;
    }

    int signal(const Entry& entry, int number) override {
        const PidReference reference(entry.pid);
        if (reference.error() != 0 && reference.error() != ENOSYS)
            return reference.error();
        // The reference is held: from here on the pid is looked at, not trusted.
        Entry now;
        if (!readStat(entry.pid, now) || now.startTicks != entry.startTicks)
            return ESRCH;
        if (reference.error() == 0)
            return reference.signal(number);
        return ::kill(static_cast<pid_t>(entry.pid), number) == 0 ? 0 : errno;
    }
};

HostProcessTable theHostTable;
ProcessTable* sp_table = nullptr;

}  // namespace

ProcessTable::~ProcessTable() = default;

ProcessTable& processTable() {
    return sp_table != nullptr ? *sp_table : theHostTable;
}

void setProcessTable(ProcessTable* other) {
    sp_table = other;
}

bool parseStat(const std::string& text, Entry& entry) {
    // The program's name stands in parentheses and may hold anything, also ") ".
    const std::string::size_type nameEnd = text.rfind(')');
    if (nameEnd == std::string::npos)
        return false;
    Entry found;
    std::istringstream first(text);
    std::istringstream rest(text.substr(nameEnd + 1));
    std::string skipped;
    first >> found.pid;
    rest >> found.state >> skipped >> found.group;
    constexpr int kFieldsToStart = 16;  // session .. itrealvalue
    for (int field = 0; field < kFieldsToStart; ++field)
        rest >> skipped;
    rest >> found.startTicks;
    if (!first || !rest)
        return false;
    entry = found;
    return true;
}

}  // namespace process
