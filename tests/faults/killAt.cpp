// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Kills a program at its N-th system call that changes something.
//
//   kill_at [--each | --all] N PROGRAM [ARGUMENT...]
//
// Counted are the calls by which files, locks and processes come, change and go; what
// lies between two of them makes no difference to anybody. The call at which the program
// dies isn't made any more.
//
//   (without an option) the program alone counts and is killed; what it started lives on
//   --each              the calls of everything that it starts count too; whoever makes
//                       the N-th is killed, the others live on
//   --all               the same, but all of them are killed
//
// Comes back when all that it watches has ended. The status is 137 when something was
// killed and 0 when there were fewer calls; what was killed, and where, or how many calls
// there were, is the last line of standard error.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <string>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

enum class Victim { kProgram, kEach, kAll };

struct Options {
    Victim victim = Victim::kProgram;
    long number = 0;
    char** words = nullptr;
};

struct Tracee {
    bool isInCall = false;
};

/// Opening to write, which makes or empties a file, too.
bool changesByOpening(const __ptrace_syscall_info& call) {
    const auto flags = static_cast<int>(call.entry.args[2]);
    return (flags & (O_CREAT | O_TRUNC)) != 0 || (flags & O_ACCMODE) != O_RDONLY;
}

/// The name of the call if it changes something, else null.
const char* changeOf(const __ptrace_syscall_info& call) {
    switch (call.entry.nr) {
    case SYS_openat:
        return changesByOpening(call) ? "openat" : nullptr;
    case SYS_write:
        return call.entry.args[0] > 2 ? "write" : nullptr;
    case SYS_pwrite64:
        return "pwrite64";
    case SYS_writev:
        return "writev";
    case SYS_ftruncate:
        return "ftruncate";
    case SYS_copy_file_range:
        return "copy_file_range";
    case SYS_sendfile:
        return "sendfile";
    case SYS_fsync:
        return "fsync";
    case SYS_flock:
        return "flock";
    case SYS_renameat:
        return "renameat";
    case SYS_renameat2:
        return "renameat2";
    case SYS_unlinkat:
        return "unlinkat";
    case SYS_mkdirat:
        return "mkdirat";
    case SYS_symlinkat:
        return "symlinkat";
    case SYS_linkat:
        return "linkat";
    case SYS_fchmod:
        return "fchmod";
    case SYS_utimensat:
        return "utimensat";
    case SYS_clone:
        return "clone";
    case SYS_clone3:
        return "clone3";
    case SYS_execve:
        return "execve";
    case SYS_kill:
        return "kill";
    case SYS_pidfd_send_signal:
        return "pidfd_send_signal";
    case SYS_exit_group:
        return "exit_group";
#ifdef SYS_rename
    case SYS_rename:
        return "rename";
    case SYS_unlink:
        return "unlink";
    case SYS_mkdir:
        return "mkdir";
    case SYS_rmdir:
        return "rmdir";
    case SYS_symlink:
        return "symlink";
    case SYS_link:
        return "link";
    case SYS_fork:
        return "fork";
    case SYS_vfork:
        return "vfork";
#endif
    default:
        return nullptr;
    }
}

std::string nameOf(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

class Watch {
public:
    explicit Watch(const Options& options) : m_options(options) {}

    int run() {
        m_program = start_();
        int status = 0;
        for (pid_t pid = 0; (pid = waitpid(-1, &status, __WALL)) > 0 || errno == EINTR;) {
            if (pid > 0)
                take_(pid, status);
        }
        if (m_killed.empty())
            std::fprintf(stderr, "%ld calls\n", m_count);
        else
            std::fprintf(stderr, "%s\n", m_killed.c_str());
        return m_killed.empty() ? 0 : 137;
    }

private:
    pid_t start_() const {
        const pid_t pid = fork();
        if (pid == 0) {
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            raise(SIGSTOP);
            execvp(m_options.words[0], m_options.words);
            _exit(127);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        long wishes = PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL | PTRACE_O_TRACEEXEC;
        if (m_options.victim != Victim::kProgram)
            wishes |= PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE;
        ptrace(PTRACE_SETOPTIONS, pid, nullptr, wishes);
        ptrace(PTRACE_SYSCALL, pid, nullptr, nullptr);
        return pid;
    }

    void take_(pid_t pid, int status) {
        if (!WIFSTOPPED(status)) {
            m_tracees.erase(pid);
            return;
        }
        Tracee& tracee = m_tracees[pid];
        const int number = WSTOPSIG(status);
        const int event = status >> 16;
        long passOn = 0;
        if (number == (SIGTRAP | 0x80)) {
            tracee.isInCall = !tracee.isInCall;
            if (tracee.isInCall && isTheOne_(pid))
                return;
        } else if (event != 0) {
            // Comes with a new process or program, none of which is a signal.
            m_isProgram = m_isProgram || event == PTRACE_EVENT_EXEC;
        } else if (isFirstStop_(pid, number)) {
            // Of a process that has only just begun to be traced.
        } else {
            passOn = number;
        }
        ptrace(PTRACE_SYSCALL, pid, nullptr, passOn);
    }

    bool isFirstStop_(pid_t pid, int number) {
        return number == SIGSTOP && pid != m_program && m_seen.insert(pid).second;
    }

    /// Counts the call; kills when it is the one.
    bool isTheOne_(pid_t pid) {
        __ptrace_syscall_info call{};
        if (ptrace(static_cast<__ptrace_request>(PTRACE_GET_SYSCALL_INFO), pid, sizeof call,
                   &call) <= 0 ||
            call.op != PTRACE_SYSCALL_INFO_ENTRY)
            return false;
        const char* change = changeOf(call);
        if (!m_isProgram || change == nullptr || !m_killed.empty() || ++m_count != m_options.number)
            return false;
        m_killed = std::string("killed: ") + nameOf(pid) + " at " + change;
        if (m_options.victim == Victim::kAll) {
            for (const auto& each : m_tracees)
                kill(each.first, SIGKILL);
        } else {
            kill(pid, SIGKILL);
        }
        return true;
    }

    Options m_options;
    pid_t m_program = 0;
    /// Before that it is still this one, which looks for the program.
    bool m_isProgram = false;
    std::map<pid_t, Tracee> m_tracees;
    std::set<pid_t> m_seen;
    long m_count = 0;
    std::string m_killed;
};

bool read(int count, char** words, Options& options) {
    int at = 1;
    if (at < count && std::strcmp(words[at], "--each") == 0)
        options.victim = Victim::kEach;
    else if (at < count && std::strcmp(words[at], "--all") == 0)
        options.victim = Victim::kAll;
    at += options.victim == Victim::kProgram ? 0 : 1;
    if (count - at < 2)
        return false;
    options.number = std::strtol(words[at], nullptr, 10);
    options.words = words + at + 1;
    return options.number > 0;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!read(argc, argv, options)) {
        std::fprintf(stderr, "usage: kill_at [--each | --all] N PROGRAM [ARGUMENT...]\n");
        return 2;
    }
    return Watch(options).run();
}
