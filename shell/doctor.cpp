// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/doctor.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "environment/files/HUTFile.h"
#include "environment/process/HUTFork.h"
#include "shell/exitStatus.h"
#include "shell/terminal.h"
#include "workbench/cluster/clientCall.h"
#include "workbench/ice40/devices.h"
#include "workbench/ice40/process.h"
#include "workbench/ice40/toolVersion.h"
#include "workbench/product.h"

namespace shell {

namespace {

constexpr std::uint64_t kMega = std::uint64_t{1} << 20;
/// A run of a middling design leaves some ten MB.
constexpr std::uint64_t kLeastBytes = 10 * kMega;
constexpr std::uint64_t kFewBytes = 500 * kMega;
constexpr std::uint64_t kLeastFiles = 100;
/// More than that, and a comparison of times between hosts goes wrong.
constexpr double kMostSkewSec = 2;

struct CheckedTool {
    const char* name;
    const char* package;
    bool tellsVersion;
    const char* oldest;
    const char* tested;
};

constexpr CheckedTool kCheckedTools[] = {{"yosys", "yosys", true, "0.10", "0.23"},
                                         {"nextpnr-ice40", "nextpnr-ice40", true, "0.4", "0.4"},
                                         {"icepack", "fpga-icestorm", false, "", ""},
                                         {"icetime", "fpga-icestorm", false, "", ""}};

/// What the run scripts call beside the tools.
struct Helper {
    const char* name;
    const char* package;
    const char* otherwise;  ///< what is lost without it
};

constexpr Helper kHelpers[] = {
    {"flock", "util-linux", "two launches of one run can't be told apart"},
    {"timeout", "coreutils", "a program that hangs is waited for"},
    {"tar", "tar", "xp bug can't pack"}};

/// The numbers of a version: {0, 23} of "Yosys 0.23 (git sha1 7ce)".
std::vector<long> numbersOf(const std::string& version) {
    std::vector<long> numbers;
    std::size_t at = version.find_first_of("0123456789");
    // A number within a word, as in "ice40", isn't the version.
    while (at != std::string::npos && at > 0 && version[at - 1] != ' ' && version[at - 1] != 'v')
        at = version.find_first_of("0123456789", version.find_first_not_of("0123456789", at));
    while (at != std::string::npos && at < version.size() &&
           std::isdigit(static_cast<unsigned char>(version[at])) != 0) {
        std::size_t end = version.find_first_not_of("0123456789", at);
        end = std::min(end, version.size());
        numbers.push_back(std::strtol(
            version.substr(at, std::min<std::size_t>(end - at, 9)).c_str(), nullptr, 10));
        if (end >= version.size() || version[end] != '.')
            break;
        at = end + 1;
    }
    return numbers;
}

std::string sizeText(std::uint64_t bytes) {
    return bytes >= 1024 * kMega
               ? fmt::format("{:.1f} GB",
                             static_cast<double>(bytes) / (1024.0 * static_cast<double>(kMega)))
               : fmt::format("{} MB", bytes / kMega);
}

std::string systemName(long type) {
    struct Kind {
        long type;
        const char* name;
    };
    constexpr Kind kKinds[] = {{0xEF53, "ext"},      {0x6969, "nfs"},       {0x01021994, "tmpfs"},
                               {0x58465342, "xfs"},  {0x9123683E, "btrfs"}, {0x794c7630, "overlay"},
                               {0xFF534D42, "cifs"}, {0x517B, "smb"},       {0xFE534D42, "smb2"},
                               {0x65735546, "fuse"}, {0x2FC12FC1, "zfs"},   {0x0BD00BD0, "lustre"},
                               {0x47504653, "gpfs"}, {0x5346414F, "afs"},   {0x4d44, "fat"}};
    for (const Kind& kind : kKinds)
        if (kind.type == type)
            return kind.name;
    return {};
}

/// Makes a file in the folder and removes it; its time is that of the folder's file system.
void tryWriting(FolderFacts& facts) {
    std::string name = facts.path + "/.xp-doctor-XXXXXX";
    const int fd = ::mkostemp(&name[0], O_CLOEXEC);
    if (fd < 0) {
        facts.writeError = std::strerror(errno);
        return;
    }
    struct timespec now {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    const std::string text(4096, 'x');
    if (::write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        ::fsync(fd) != 0)
        facts.writeError = std::strerror(errno == 0 ? ENOSPC : errno);
    struct stat info {};
    if (::fstat(fd, &info) == 0)
        facts.aheadSec = static_cast<double>(info.st_mtim.tv_sec - now.tv_sec) +
                         static_cast<double>(info.st_mtim.tv_nsec - now.tv_nsec) / 1e9;
    ::close(fd);
    ::unlink(name.c_str());
}

Check checkDatabases() {
    const std::string folder = ice40::defaultDatabaseFolder();
    Check check{"tools", "chip databases", Health::kOk, folder, {}};
    if (!HUTFile(folder).isDir()) {
        check.health = Health::kBad;
        check.text = folder + " isn't there";
        check.advice = "apt-get install fpga-icestorm-chipdb";
    }
    return check;
}

Check checkHelper(const Helper& helper) {
    Check check{"tools", helper.name, Health::kOk, ice40::findInPath(helper.name), {}};
    if (check.text.empty()) {
        check.health = Health::kWarn;
        check.text = fmt::format("not in the search path: {}", helper.otherwise);
        check.advice = fmt::format("apt-get install {}", helper.package);
    }
    return check;
}

Check checkStepPrograms() {
    Check check{"tools", "step programs", Health::kOk, workbench::binDir(), {}};
    for (const char* name :
         {"ice40_synth", "ice40_init", "ice40_place", "ice40_route", "ice40_bitstream", "tarnel"}) {
        if (::access((workbench::binDir() + "/" + name).c_str(), X_OK) == 0)
            continue;
        check.health = Health::kBad;
        check.text = fmt::format("{} isn't in {}", name, workbench::binDir());
        check.advice = "Install xp anew: its programs belong into one folder";
    }
    return check;
}

const char* healthWord(Health health) {
    switch (health) {
    case Health::kOk:
        return "ok";
    case Health::kWarn:
        return "warn";
    default:
        return "bad";
    }
}

Style healthStyle(Health health) {
    return health == Health::kOk     ? Style::kGood
           : health == Health::kWarn ? Style::kWarn
                                     : Style::kBad;
}

}  // namespace

bool isOlderVersion(const std::string& one, const std::string& other) {
    return numbersOf(one) < numbersOf(other);
}

Check judgeTool(const ToolFacts& tool) {
    Check check{"tools", tool.name, Health::kOk, tool.path, {}};
    const std::string install = fmt::format("apt-get install {}", tool.package);
    if (tool.path.empty()) {
        check.health = Health::kBad;
        check.text = "not in the search path";
        check.advice = install + ", or add its folder to PATH";
    } else if (!tool.isAsked) {
        check.text = tool.path + " (tells no version)";
    } else if (numbersOf(tool.version).empty()) {
        check.health = Health::kBad;
        check.text = fmt::format("{} told no version within ten seconds", tool.path);
        check.advice = fmt::format("Start it by hand: {} --version. Then {}", tool.path, install);
    } else if (isOlderVersion(tool.version, tool.oldest)) {
        check.health = Health::kBad;
        check.text = fmt::format("{} in {} is too old: {} is the oldest that works", tool.version,
                                 tool.path, tool.oldest);
        check.advice = install + ", or put a newer one in front in PATH";
    } else {
        check.text = fmt::format("{} in {}", tool.version, tool.path);
        if (isOlderVersion(tool.version, tool.tested)) {
            check.health = Health::kWarn;
            check.text += fmt::format(": older than {}, which xp is tested with", tool.tested);
            check.advice = install;
        }
    }
    return check;
}

std::vector<Check> judgeFolder(const FolderFacts& folder) {
    std::vector<Check> checks{{"folder", "writable", Health::kOk, folder.path, {}},
                              {"folder", "space", Health::kOk, {}, {}},
                              {"folder", "file system", Health::kOk, {}, {}},
                              {"folder", "clock", Health::kOk, {}, {}}};
    if (!folder.writeError.empty()) {
        checks[0].health = Health::kBad;
        checks[0].text = fmt::format("{}: {}", folder.path, folder.writeError);
        checks[0].advice = "Make the folder writable for you, or make the project elsewhere";
    }
    checks[1].text = sizeText(folder.freeBytes) + " free";
    if (folder.freeBytes < kLeastBytes || (folder.countsFiles && folder.freeFiles < kLeastFiles)) {
        checks[1].health = Health::kBad;
        checks[1].advice = "Free space: nothing can be launched on a full disk";
    } else if (folder.freeBytes < kFewBytes) {
        checks[1].health = Health::kWarn;
        checks[1].advice = "Free space before you launch many runs";
    }
    if (folder.countsFiles)
        checks[1].text += fmt::format(", {} files", folder.freeFiles);
    checks[2].text = folder.system.empty() ? "of a kind that xp doesn't know" : folder.system;
    if (folder.system == "tmpfs") {
        checks[2].health = Health::kWarn;
        checks[2].advice = "It is gone when the host starts anew: keep results elsewhere";
    } else if (folder.system == "fat") {
        checks[2].health = Health::kBad;
        checks[2].advice = "Move the project to a file system that knows permissions and links";
    }
    checks[3].text =
        fmt::format("the folder's clock is {:.1f} s {} this host's", std::fabs(folder.aheadSec),
                    folder.aheadSec < 0 ? "behind" : "ahead of");
    if (std::fabs(folder.aheadSec) > kMostSkewSec) {
        checks[3].health = Health::kWarn;
        checks[3].advice = "Set both clocks by a time server (NTP), so that times can be compared";
    }
    if (!folder.writeError.empty())
        checks.pop_back();
    return checks;
}

FolderFacts lookAtFolder(const std::string& path) {
    FolderFacts facts;
    facts.path = path;
    struct statvfs disk {};
    if (::statvfs(path.c_str(), &disk) == 0) {
        facts.freeBytes = static_cast<std::uint64_t>(disk.f_bavail) * disk.f_frsize;
        facts.freeFiles = disk.f_favail;
        facts.countsFiles = disk.f_files != 0;
    }
    struct statfs kind {};
    if (::statfs(path.c_str(), &kind) == 0)
        facts.system = systemName(static_cast<long>(kind.f_type));
    tryWriting(facts);
    return facts;
}

std::vector<Check> checkTools() {
    std::vector<Check> checks;
    for (const CheckedTool& tool : kCheckedTools) {
        ToolFacts facts{tool.name,         tool.package, ice40::findInPath(tool.name),
                        tool.tellsVersion, {},           tool.oldest,
                        tool.tested};
        if (!facts.path.empty() && facts.isAsked)
            facts.version = ice40::toolVersion(tool.name, facts.path);
        checks.push_back(judgeTool(facts));
    }
    checks.push_back(checkDatabases());
    checks.push_back(checkStepPrograms());
    for (const Helper& helper : kHelpers)
        checks.push_back(checkHelper(helper));
    return checks;
}

Check checkTcl() {
    Check check{"tcl", "Tcl", Health::kOk, {}, {}};
    cluster::ClientCall call;
    call.words = {workbench::binDir() + "/tarnel", "-help"};
    call.limitMs = 10000;
    char script[] = "/tmp/xp-doctor-XXXXXX";
    const int fd = ::mkostemp(script, O_CLOEXEC);
    if (fd >= 0) {
        const std::string text = "puts [info patchlevel]\n";
        const bool written = ::write(fd, text.data(), text.size()) > 0;
        ::close(fd);
        if (written)
            call.words = {workbench::binDir() + "/tarnel",
                          "-nolog",
                          "-nojournal",
                          "-notrace",
                          "-mode",
                          "batch",
                          "-source",
                          script};
    }
    const cluster::ClientAnswer answer = cluster::callClient(call);
    if (fd >= 0)
        ::unlink(script);
    check.text = answer.told();
    if (!answer.isGood()) {
        check.health = Health::kBad;
        check.advice = "apt-get install tcl8.6: reports are made by Tcl scripts";
    }
    return check;
}

Check checkPageViewer() {
    const char* browser = std::getenv("BROWSER");
    for (const std::string name : {browser == nullptr ? "" : browser, "xdg-open",
                                   "sensible-browser", "firefox", "chromium"}) {
        const std::string path = name.empty() ? std::string() : ice40::findInPath(name);
        if (!path.empty())
            return {"page", "viewer", Health::kOk, path, {}};
    }
    return {"page", "viewer", Health::kWarn, "no browser is in the search path",
            "Open the page of xp html on another host; it is one file"};
}

int exitStatusOf(const std::vector<Check>& checks) {
    int status = kExitDone;
    for (const Check& check : checks) {
        if (check.health != Health::kBad)
            continue;
        if (check.area == "tools" || check.area == "grid")
            return kExitToolMissing;
        status = kExitRefused;
    }
    return status;
}

std::string checksText(const std::vector<Check>& checks) {
    const Terminal terminal = Terminal::output();
    std::string text;
    for (const Check& check : checks) {
        text += fmt::format("{}  {:<7} {:<15} {}\n",
                            terminal.styled(healthStyle(check.health),
                                            fmt::format("{:<4}", healthWord(check.health))),
                            check.area, check.name, check.text);
        if (!check.advice.empty())
            text += fmt::format("{:>30}-> {}\n", "", check.advice);
    }
    return text;
}

nlohmann::json checksJson(const std::vector<Check>& checks) {
    nlohmann::json all = nlohmann::json::array();
    Health worst = Health::kOk;
    for (const Check& check : checks) {
        worst = std::max(worst, check.health);
        all.push_back(
            {{"area", check.area},
             {"name", check.name},
             {"health", healthWord(check.health)},
             {"text", check.text},
             {"advice", check.advice.empty() ? nlohmann::json() : nlohmann::json(check.advice)}});
    }
    return {{"health", healthWord(worst)}, {"checks", all}};
}

}  // namespace shell
