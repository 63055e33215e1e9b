// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/process.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "workbench/ice40/stepFailure.h"

extern char** environ;

namespace ice40 {

namespace {

/// Descriptors of ours start here, so that a tool's 0 to 9 are free to fill.
constexpr int kLowestOwn = 64;
/// The first descriptor that a tool sees for ToolCommand::files.
constexpr int kFirstFile = 10;
/// A line longer than this is handed on in pieces.
constexpr std::size_t kLongestLine = std::size_t{1} << 20;

std::atomic<pid_t> runningTool{0};
std::atomic<int> stopSignal{0};

extern "C" void onStopSignal(int signal) {
    stopSignal = signal;
    const pid_t tool = runningTool;
    if (tool > 0)
        ::kill(tool, signal);
}

/// A descriptor at kLowestOwn or above that no tool inherits.
class OwnDescriptor {
public:
    explicit OwnDescriptor(int low = -1) {
        if (low < 0)
            return;
        m_fd = ::fcntl(low, F_DUPFD_CLOEXEC, kLowestOwn);
        ::close(low);
    }
    ~OwnDescriptor() { close(); }
    OwnDescriptor(OwnDescriptor&& other) noexcept : m_fd(other.m_fd) { other.m_fd = -1; }
    OwnDescriptor& operator=(OwnDescriptor&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }

    int get() const { return m_fd; }
    void close() {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = -1;
    }

private:
    int m_fd = -1;
};

struct Pipe {
    OwnDescriptor readEnd;
    OwnDescriptor writeEnd;
};

[[noreturn]] void failStart(const std::string& what, int error) {
    throw StepFailure(fmt::format("{}: {}", what, std::strerror(error)),
                      "Close other programs or ask for a higher limit, then run the step again");
}

Pipe makePipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        failStart("no pipe can be made for the tool's output", errno);
    Pipe pipe;
    pipe.readEnd = OwnDescriptor(ends[0]);
    pipe.writeEnd = OwnDescriptor(ends[1]);
    return pipe;
}

/// What posix_spawn does to the descriptors of the new process.
class SpawnActions {
public:
    SpawnActions() { ::posix_spawn_file_actions_init(&m_actions); }
    ~SpawnActions() { ::posix_spawn_file_actions_destroy(&m_actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    void give(int own, int seen) { ::posix_spawn_file_actions_adddup2(&m_actions, own, seen); }
    void emptyInput() {
        ::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

/// Cuts a stream of bytes into lines; a carriage return ends a line too, as
/// tools use it for counters that overwrite themselves.
class LineCutter {
public:
    explicit LineCutter(const LineSink& sink) : m_sink(sink) {}

    void feed(const char* bytes, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            const char c = bytes[i];
            if (c == '\n')
                emit_();
            else if (c == '\r')
                m_return = true;
            else
                add_(c);
        }
    }
    void finish() {
        if (!m_line.empty())
            emit_();
    }

private:
    void add_(char c) {
        if (m_return || m_line.size() >= kLongestLine)
            emit_();
        m_line += c;
    }
    void emit_() {
        m_return = false;
        m_sink(m_line);
        m_line.clear();
    }

    const LineSink& m_sink;
    std::string m_line;
    bool m_return = false;
};

/// Reads what there is; false at the end of the stream.
bool drain(int fd, LineCutter& cutter) {
    char block[1 << 14];
    const ssize_t got = ::read(fd, block, sizeof block);
    if (got > 0)
        cutter.feed(block, static_cast<std::size_t>(got));
    return got > 0 || (got < 0 && errno == EINTR);
}

void passLines(Pipe& output, Pipe& errors, const LineSink& onOutput, const LineSink& onError) {
    LineCutter cutOutput(onOutput);
    LineCutter cutErrors(onError);
    std::array<pollfd, 2> streams{pollfd{output.readEnd.get(), POLLIN, 0},
                                  pollfd{errors.readEnd.get(), POLLIN, 0}};
    while (streams[0].fd >= 0 || streams[1].fd >= 0) {
        if (::poll(streams.data(), streams.size(), -1) < 0)
            continue;
        if (streams[0].revents != 0 && !drain(streams[0].fd, cutOutput))
            streams[0].fd = -1;
        if (streams[1].revents != 0 && !drain(streams[1].fd, cutErrors))
            streams[1].fd = -1;
    }
    cutOutput.finish();
    cutErrors.finish();
}

ToolEnd waitFor(pid_t tool) {
    int status = 0;
    while (::waitpid(tool, &status, 0) < 0 && errno == EINTR) {
    }
    runningTool = 0;
    ToolEnd end;
    if (WIFSIGNALED(status))
        end.signal = WTERMSIG(status);
    else
        end.exitStatus = WEXITSTATUS(status);
    return end;
}

std::vector<OwnDescriptor> openFiles(const std::vector<std::string>& paths) {
    std::vector<OwnDescriptor> files;
    for (const std::string& path : paths) {
        OwnDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
        if (file.get() < 0)
            failStart(fmt::format("'{}' can't be written", path), errno);
        files.push_back(std::move(file));
    }
    return files;
}

std::string packageOf(const std::string& program) {
    static const std::map<std::string, std::string> kPackages{
        {"yosys", "yosys"},
        {"nextpnr-ice40", "nextpnr-ice40"},
        {"icetime", "fpga-icestorm"},
        {"icepack", "fpga-icestorm"},
    };
    const auto found = kPackages.find(program);
    return found == kPackages.end() ? program : found->second;
}

[[noreturn]] void failMissing(const std::string& program) {
    const std::string package = packageOf(program);
    throw StepFailure(fmt::format("{} not found in PATH", program),
                      fmt::format("Install package {}, for example with 'sudo apt-get install {}', "
                                  "or add its folder to PATH",
                                  package, package),
                      kExitNotInstalled);
}

pid_t spawn(const ToolCommand& command, const SpawnActions& actions) {
    std::vector<char*> words;
    for (const std::string& word : command.words)
        words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    pid_t tool = 0;
    const int error =
        ::posix_spawnp(&tool, words[0], actions.get(), nullptr, words.data(), environ);
    if (error == ENOENT)
        failMissing(command.words.front());
    if (error != 0)
        failStart(command.words.front() + " can't be started", error);
    return tool;
}

bool needsQuotes(const std::string& word) {
    return word.empty() || word.find_first_of(" \t\n'\"\\$`;&|<>()*?[]#~!{}") != std::string::npos;
}

}  // namespace

std::string ToolCommand::shown() const {
    std::string line;
    for (const std::string& word : words) {
        if (!line.empty())
            line += ' ';
        line += needsQuotes(word) ? "'" + word + "'" : word;
    }
    return line;
}

std::string ToolEnd::shown() const {
    return signal != 0 ? fmt::format("was killed by signal {}", signal)
                       : fmt::format("ended with status {}", exitStatus);
}

ToolEnd runTool(const ToolCommand& command, const LineSink& onOutput, const LineSink& onError) {
    throwIfStopped();
    if (findInPath(command.words.front()).empty())
        failMissing(command.words.front());
    const std::vector<OwnDescriptor> files = openFiles(command.files);
    Pipe output = makePipe();
    Pipe errors = makePipe();
    SpawnActions actions;
    actions.emptyInput();
    actions.give(output.writeEnd.get(), STDOUT_FILENO);
    actions.give(errors.writeEnd.get(), STDERR_FILENO);
    int seen = kFirstFile;
    for (const OwnDescriptor& file : files)
        actions.give(file.get(), seen++);
    const pid_t tool = spawn(command, actions);
    runningTool = tool;
    if (stopSignal != 0)
        ::kill(tool, stopSignal);
    output.writeEnd.close();
    errors.writeEnd.close();
    passLines(output, errors, onOutput, onError);
    const ToolEnd end = waitFor(tool);
    throwIfStopped();
    return end;
}

void catchStopSignals() {
    struct sigaction action {};
    action.sa_handler = onStopSignal;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(signal, &action, nullptr);
}

void throwIfStopped() {
    if (stopSignal != 0)
        throw StepStopped(stopSignal);
}

std::string findInPath(const std::string& program) {
    if (program.find('/') != std::string::npos)
        return ::access(program.c_str(), X_OK) == 0 ? program : std::string();
    const char* path = std::getenv("PATH");
    std::string rest = path != nullptr ? path : "";
    while (!rest.empty()) {
        const std::size_t colon = rest.find(':');
        const std::string folder = rest.substr(0, colon);
        rest = colon == std::string::npos ? "" : rest.substr(colon + 1);
        std::string candidate = (folder.empty() ? "." : folder) + "/" + program;
        struct stat info {};
        if (::stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
            ::access(candidate.c_str(), X_OK) == 0)
            return candidate;
    }
    return {};
}

}  // namespace ice40
