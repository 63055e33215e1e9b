// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/runProcesses.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "workbench/launchLease.h"
#include "workbench/runLock.h"

namespace workbench {

namespace {

struct CloseDir {
    void operator()(DIR* dir) const { closedir(dir); }
};
using Dir = std::unique_ptr<DIR, CloseDir>;

/// The number that a name in /proc is, or -1.
long procNumber(const char* name) {
    char* end = nullptr;
    const long number = std::strtol(name, &end, 10);
    return *name >= '0' && *name <= '9' && *end == '\0' ? number : -1;
}

std::string procPath(long pid, const char* name) {
    return "/proc/" + std::to_string(pid) + "/" + name;
}

/// What the link `name` in the folder leads to; empty when that can't be told.
std::string targetOf(int folder, const char* name) {
    std::array<char, PATH_MAX> target{};
    const ssize_t size = readlinkat(folder, name, target.data(), target.size());
    return size < 0 ? std::string() : std::string(target.data(), static_cast<std::size_t>(size));
}

/// Appends what can be read of the file.
void appendFile(const std::string& path, std::string& text) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    // Of every process of the host: not worth being filled with zeros.
    std::array<char, 16384> buffer;  // NOLINT(cppcoreguidelines-pro-type-member-init)
    ssize_t count = 0;
    while (fd >= 0 && (count = read(fd, buffer.data(), buffer.size())) > 0)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    if (fd >= 0)
        close(fd);
}

/// Tells the processes of one run from all others.
class Membership {
public:
    Membership(const std::string& runDir, const std::string& launchId) {
        struct stat info {};
        m_hasLock = ::lstat((runDir + "/" + kRunLockName).c_str(), &info) == 0;
        m_device = info.st_dev;
        m_inode = info.st_ino;
        if (!m_hasLock)
            m_lostLock = lostLockOf_(runDir);
        if (!launchId.empty())
            m_entry = std::string(1, '\0') + kLaunchVariable + "=" + launchId + '\0';
    }

    bool has(long pid) const {
        return pid != getpid() && (carriesIdentity_(pid) || holdsLock_(pid));
    }

private:
    bool carriesIdentity_(long pid) const {
        if (m_entry.empty())
            return false;
        std::string environment(1, '\0');
        appendFile(procPath(pid, "environ"), environment);
        return environment.find(m_entry) != std::string::npos;
    }

    bool holdsLock_(long pid) const {
        const Dir fds(opendir(procPath(pid, "fd").c_str()));
        if (fds == nullptr)
            return false;
        while (const dirent* entry = readdir(fds.get())) {
            if (procNumber(entry->d_name) >= 0 && isLock_(dirfd(fds.get()), entry->d_name) &&
                writes_(pid, entry->d_name))
                return true;
        }
        return false;
    }

    bool isLock_(int fds, const char* fd) const {
        if (!m_hasLock)
            return !m_lostLock.empty() && targetOf(fds, fd) == m_lostLock;
        struct stat info {};
        return fstatat(fds, fd, &info, 0) == 0 && info.st_dev == m_device && info.st_ino == m_inode;
    }

    /// How the lock of a run directory that is gone shows among the open files of those who
    /// hold it.
    static std::string lostLockOf_(const std::string& runDir) {
        const std::string::size_type slash = runDir.find_last_of('/');
        std::array<char, PATH_MAX> parent{};
        if (slash == std::string::npos ||
            realpath(runDir.substr(0, slash + 1).c_str(), parent.data()) == nullptr)
            return {};
        return std::string(parent.data()) + runDir.substr(slash) + "/" + kRunLockName +
               " (deleted)";
    }

    /// The run's script opened the lock for writing; who only asks for it opens it for
    /// reading.
    static bool writes_(long pid, const std::string& fd) {
        std::ifstream file(procPath(pid, "fdinfo/") + fd);
        std::string key;
        std::string value;
        while (file >> key >> value) {
            if (key == "flags:")
                return (std::strtol(value.c_str(), nullptr, 8) & O_ACCMODE) == O_WRONLY;
        }
        return false;
    }

    bool m_hasLock = false;
    std::string m_lostLock;
    dev_t m_device = 0;
    ino_t m_inode = 0;
    /// As it stands in an environment, between the ends of its neighbours.
    std::string m_entry;
};

}  // namespace

std::vector<long> findRunProcesses(const std::string& runDir, const std::string& launchId) {
    const Membership run(runDir, launchId);
    std::vector<long> found;
    const Dir all(opendir("/proc"));
    if (all == nullptr)
        return found;
    while (const dirent* entry = readdir(all.get())) {
        const long pid = procNumber(entry->d_name);
        if (pid > 1 && run.has(pid))
            found.push_back(pid);
    }
    return found;
}

void signalRunProcess(long pid, int number, const std::string& runDir,
                      const std::string& launchId) {
    // Held while it is looked at: until it is closed, the signal reaches this process
    // or none.
    const int fd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
    const bool isOld = fd < 0 && errno == ENOSYS;
    if ((fd < 0 && !isOld) || !Membership(runDir, launchId).has(pid)) {
        if (fd >= 0)
            close(fd);
        return;
    }
    if (isOld) {
        kill(static_cast<pid_t>(pid), number);
        return;
    }
    syscall(SYS_pidfd_send_signal, fd, number, nullptr, 0);
    close(fd);
}

bool isAbandoned(const std::string& runDir, const LaunchLease& lease) {
    if (lease.way.kind != LaunchWay::Kind::kHere)
        return false;
    const HUTProcessHandle::Life life = lookAtLauncher(lease);
    return (life == HUTProcessHandle::Life::kGone || life == HUTProcessHandle::Life::kEarlier) &&
           findRunProcesses(runDir, lease.id).empty();
}

}  // namespace workbench
