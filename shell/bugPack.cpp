// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/bugPack.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include "environment/installation/HUTEnv.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "shell/exitStatus.h"
#include "shell/failureView.h"
#include "shell/runDetails.h"
#include "shell/runView.h"
#include "shell/startsWith.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/cluster/clientCall.h"
#include "workbench/failures/logFailure.h"
#include "workbench/failures/runFailure.h"
#include "workbench/ice40/process.h"
#include "workbench/ice40/toolVersion.h"
#include "workbench/product.h"
#include "workbench/sourceReferences.h"

namespace shell {

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

constexpr const char* kCommandMark = "Command: ";
/// Larger files of a run are results, not what it takes to repeat it.
constexpr std::uintmax_t kMostOfFile = std::uintmax_t{64} << 20;
/// So much of a file tells whether it is text.
constexpr std::size_t kLookAt = 65536;
constexpr long kPackMs = 600000;

[[noreturn]] void fail(const std::string& what) {
    throw CommandError(kExitRefused, what);
}

/// What may be a part of a path's name, so that the path goes on.
bool isNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '-' || c == '.';
}

bool isWithin(const std::string& path, const std::string& folder) {
    return !folder.empty() && startsWith(path, folder + "/");
}

std::string inQuotes(const std::string& word) {
    std::string quoted = "'";
    for (const char c : word)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::optional<std::string> contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return file.good() || file.eof() ? std::optional<std::string>(text.str()) : std::nullopt;
}

/// The folders and files of a pack while it is made; gone with this object.
class Staging {
public:
    explicit Staging(std::string name) : m_name(std::move(name)) {
        const char* temporary = std::getenv("TMPDIR");
        m_root = std::string(temporary == nullptr ? "/tmp" : temporary) + "/xp-bug-XXXXXX";
        if (::mkdtemp(&m_root[0]) == nullptr)
            fail("No folder for the pack can be made in " + m_root);
        m_root = fs::path(m_root).string();
    }
    ~Staging() {
        std::error_code ignored;
        fs::remove_all(m_root, ignored);
    }
    Staging(const Staging&) = delete;
    Staging& operator=(const Staging&) = delete;

    const std::string& root() const { return m_root; }
    const std::string& name() const { return m_name; }

    void write(const std::string& name, const std::string& text, bool isProgram = false) const {
        const fs::path path = fs::path(m_root) / m_name / name;
        std::error_code failed;
        fs::create_directories(path.parent_path(), failed);
        std::ofstream file(path, std::ios::binary);
        file << text;
        file.close();
        if (failed || file.fail())
            fail(
                fmt::format("{} can't be written. Free space in the folder for temporary files, or "
                            "name another one by TMPDIR",
                            path.string()));
        if (isProgram)
            fs::permissions(path, fs::perms::owner_exec, fs::perm_options::add, failed);
    }

    /// A copy, with its paths replaced when it is text; or a word of why there is none.
    void copy(const std::string& from, const std::string& name, const PathMap& paths) {
        std::error_code ignored;
        if (!fs::is_regular_file(from, ignored)) {
            m_leftOut.push_back(name + ": it isn't there");
            return;
        }
        if (fs::file_size(from, ignored) > kMostOfFile) {
            m_leftOut.push_back(fmt::format("{}: it has more than {} MB", name, kMostOfFile >> 20));
            return;
        }
        const std::optional<std::string> text = contentOf(from);
        if (!text) {
            m_leftOut.push_back(name + ": it can't be read");
            return;
        }
        const bool isText = text->find('\0') >= std::min(text->size(), kLookAt);
        write(name, isText ? paths.apply(*text) : *text);
    }

    /// What should be in the pack and isn't, and why.
    const Texts& leftOut() const { return m_leftOut; }
    void leaveOut(const std::string& what) { m_leftOut.push_back(what); }

private:
    std::string m_root;
    std::string m_name;
    Texts m_leftOut;
};

/// What a pack is made of, and where it goes.
struct Contents {
    Texts files;          ///< of the design, absolute
    std::string root;     ///< the folder that they lie in
    std::string netlist;  ///< of the synthesis; empty for a synthesis
};

Contents contentsOf(const Project& project, const HAXPExpRun& run) {
    const DesignInputs& inputs = run.getInfo().getInputs();
    Contents contents;
    contents.netlist = inputs.netlist;
    const DesignInputs& design = project.getInputs();
    contents.files = design.sources;
    for (const std::string& file : workbench::referencedFiles(design.sources, design.includeDirs))
        contents.files.push_back(file);
    if (!design.constraints.empty())
        contents.files.push_back(design.constraints);
    Texts all = contents.files;
    for (const std::string& folder : design.includeDirs)
        all.push_back(folder + "/.");
    contents.root = commonFolder(all);
    return contents;
}

/// The place of a file of the design within the pack.
std::string packedName(const Contents& contents, const std::string& file) {
    return "design/" + (isWithin(file, contents.root) ? file.substr(contents.root.size() + 1)
                                                      : file.substr(file.find_first_not_of('/')));
}

/// As seen from "run" and "project", the folders of the pack from which tools and project look.
PathMap mapOf(const Project& project, const HAXPExpRun& run, const Contents& contents) {
    PathMap paths;
    const char* home = std::getenv("HOME");
    paths.add(home == nullptr ? "" : home, "~");
    paths.add(workbench::binDir(), "xp-bin");
    paths.add(project.getDir(), "../project");
    paths.add(run.getDir(), "../run");
    for (const std::string& file : contents.files)
        paths.add(file, "../" + packedName(contents, file));
    paths.add(contents.root, "../design");
    if (!contents.netlist.empty()) {
        paths.add(contents.netlist, "../netlist/netlist.json");
        paths.add(fs::path(contents.netlist).parent_path().string(), "../netlist");
    }
    for (const char* tool : {"yosys", "nextpnr-ice40", "icepack", "icetime"})
        paths.add(ice40::findInPath(tool), tool);
    return paths;
}

/// Options of the run that aren't the default, one a line.
std::string optionLines(const HAXPExpRun& run) {
    std::string text;
    for (const OptionChoice& option : changedOptions(*run.getStrategy()))
        text += fmt::format("{}.{}={}\n", option.step, option.name, option.value);
    return text.empty() ? "# all options have their defaults\n" : text;
}

std::string versionLines() {
    std::string text = fmt::format("xp {}\n", HUTEnv::getProductMajorMinorVersion());
    for (const std::string tool : {"yosys", "nextpnr-ice40", "icepack", "icetime"}) {
        const std::string path = ice40::findInPath(tool);
        const bool tells = tool == "yosys" || tool == "nextpnr-ice40";
        const std::string version = tells && !path.empty() ? ice40::toolVersion(tool, path) : "";
        text += fmt::format("{}: {}\n", tool,
                            path.empty()      ? "not installed"
                            : version.empty() ? "tells no version"
                                              : version);
    }
    return text;
}

/// What the project file says of sources within the project's folder is relative to it.
std::string withPackedPaths(std::string text, const Project& project, const Contents& contents) {
    for (const std::string& file : contents.files) {
        if (!isWithin(file, project.getDir()))
            continue;
        const std::string from =
            fmt::format("Path=\"{}\"", file.substr(project.getDir().size() + 1));
        const std::string to = fmt::format("Path=\"../{}\"", packedName(contents, file));
        for (std::size_t at = text.find(from); at != std::string::npos;
             at = text.find(from, at + to.size()))
            text.replace(at, from.size(), to);
    }
    return text;
}

/// The commands with which the tools do the same when the log names none: the step refused
/// before it called one.
Texts commandsOfStep(const Project& project, const HAXPExpRun& run, const std::string& step) {
    const DesignInputs& inputs = project.getInputs();
    if (step == "synth_design") {
        std::string script;
        for (const std::string& source : inputs.sources)
            script += fmt::format("read_verilog \"{}\"; ", source);
        return {"yosys -p " + inQuotes(script + "synth_ice40 -top " + inputs.top)};
    }
    if (step == "write_bitstream")
        return {fmt::format("icepack {0}.asc {0}.bin", inputs.top)};
    std::string words =
        fmt::format("nextpnr-ice40 --{} --package {} --json {} --freq {} --asc {}.asc",
                    inputs.device, inputs.package, inQuotes(run.getInfo().getInputs().netlist),
                    inputs.frequencyMhz, inputs.top);
    if (!inputs.constraints.empty())
        words += " --pcf " + inQuotes(inputs.constraints);
    return {words};
}

std::string reproduceScript(const Texts& commands, const std::string& step) {
    std::string text =
        fmt::format("#!/bin/sh\n"
                    "# Repeats {} with the tools alone; ends as the last of them does.\n"
                    "cd \"$(dirname \"$0\")/run\" || exit 2\n",
                    step);
    for (std::size_t i = 0; i < commands.size(); ++i)
        text += commands[i] + (i + 1 < commands.size() ? " || exit\n" : "\n");
    return text;
}

std::string readmeText(const HAXPExpRun& run, const std::string& step, const PathMap& paths,
                       const Texts& leftOut) {
    const std::optional<workbench::RunFailure> failure = workbench::findFailure(run);
    std::string told = fmt::format("Run {} is {}.", run.getName(), statusWord(run));
    if (failure)
        told = failureText(run);
    return fmt::format(
        "# {} of run {}\n\n"
        "Packed by xp {}. `./reproduce.sh` repeats the step with the tools alone; it needs yosys,\n"
        "nextpnr-ice40 or the IceStorm tools in the search path, whichever the step calls.\n\n"
        "What xp says:\n\n{}\n\n"
        "| Folder or file | |\n|---|---|\n"
        "| `design` | sources, included files, memory files, constraints |\n"
        "| `netlist` | what the synthesis made, for an implementation |\n"
        "| `run` | logs, scripts and results of the steps, as they were left |\n"
        "| `project/project.xml` | the project, cut to this run |\n"
        "| `options.txt`, `versions.txt` | what of the options isn't the default; the tools |\n\n"
        "Paths are those within this folder, as seen from `run`.\n\n"
        "What xp itself checks before and behind the tools isn't repeated.{}\n",
        step.empty() ? "No step" : step, run.getName(), HUTEnv::getProductMajorMinorVersion(),
        paths.apply(told),
        leftOut.empty() ? "" : fmt::format(" Left out are:\n\n- {}", fmt::join(leftOut, "\n- ")));
}

/// Files of the run that tell how it went, or that a later step starts from.
bool isWantedInPack(const fs::path& path) {
    static const std::set<std::string> kEndings{".log", ".sh",  ".tcl", ".json",
                                                ".txt", ".rpt", ".pcf", ".asc"};
    return kEndings.count(path.extension().string()) != 0;
}

void copyRun(const HAXPExpRun& run, Staging& staging, const PathMap& paths) {
    std::error_code failed;
    for (const fs::directory_entry& entry : fs::directory_iterator(run.getDir(), failed)) {
        const std::string name = entry.path().filename().string();
        // The markers hold who launched, and where.
        if (entry.is_symlink() || !isWantedInPack(entry.path()) ||
            entry.path().extension() == ".rst" || startsWith(name, ".launch"))
            continue;
        staging.copy(entry.path().string(), "run/" + name, paths);
    }
    staging.write("run/.keep", "");
}

void makeArchive(const Staging& staging, const std::string& archive) {
    cluster::ClientCall call;
    const std::string target = fs::absolute(archive).string();
    const std::string part = target + ".part";
    call.words = {"tar",          "--owner=0", "--group=0", "--numeric-owner", "-C",
                  staging.root(), "-czf",      part,        staging.name()};
    call.limitMs = kPackMs;
    const cluster::ClientAnswer answer = cluster::callClient(call);
    std::error_code failed;
    if (answer.isGood())
        fs::rename(part, target, failed);
    if (answer.isGood() && !failed)
        return;
    const std::string why = answer.isGood() ? failed.message() : answer.told();
    fs::remove(part, failed);
    fail(fmt::format("{} can't be packed: {}. Name another place with -o", archive, why));
}

}  // namespace

void PathMap::add(const std::string& from, const std::string& to) {
    if (from.empty() || from == "/")
        return;
    m_pairs.emplace_back(from, to);
    std::stable_sort(m_pairs.begin(), m_pairs.end(), [](const auto& one, const auto& other) {
        return one.first.size() > other.first.size();
    });
}

std::string PathMap::apply(const std::string& text) const {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const auto fits = [&](const auto& pair) {
            const std::size_t end = at + pair.first.size();
            return text.compare(at, pair.first.size(), pair.first) == 0 &&
                   (end >= text.size() || !isNameCharacter(text[end]) ||
                    (text[end] == '.' &&
                     (end + 1 >= text.size() || !isNameCharacter(text[end + 1]))));
        };
        // "-I/folder" has no blank in between.
        const bool mayBegin = text[at] == '/' && (at == 0 || !isNameCharacter(text[at - 1]) ||
                                                  (at >= 2 && text.compare(at - 2, 2, "-I") == 0));
        const auto pair =
            mayBegin ? std::find_if(m_pairs.begin(), m_pairs.end(), fits) : m_pairs.end();
        if (pair == m_pairs.end()) {
            result += text[at++];
        } else {
            result += pair->second;
            at += pair->first.size();
        }
    }
    return result;
}

Texts plainCommands(const Texts& log, const std::string& stepId) {
    Texts commands;
    const std::string tool = stepId == "synth_design"      ? "yosys "
                             : stepId == "write_bitstream" ? "icepack "
                                                           : "nextpnr-ice40 ";
    for (const std::string& line : log) {
        if (!startsWith(line, kCommandMark))
            continue;
        std::string command = line.substr(std::string(kCommandMark).size());
        if (startsWith(command, tool))
            commands = {command};
        else if (startsWith(command, "icetime ") && stepId == "route_design")
            commands.push_back(command);
    }
    // Each step calls its own tool; that of another one, which came before, isn't meant.
    const bool routed = !commands.empty() && commands[0].find(" --asc ") != std::string::npos;
    if (stepId == "init_design" || (stepId == "route_design" && !routed))
        return {};
    for (std::string& command : commands) {
        for (const auto& pair : {std::make_pair("/dev/fd/10", "netlist.json"),
                                 std::make_pair("/dev/fd/11", "before.json"),
                                 std::make_pair("/dev/fd/12", "stat.json"),
                                 std::make_pair("/dev/fd/1", "/dev/stdout")})
            for (std::size_t at = command.find(pair.first); at != std::string::npos;
                 at = command.find(pair.first, at + 1))
                command.replace(at, std::string(pair.first).size(), pair.second);
        // The constraints that icetime gets are made for it and gone by now.
        const std::size_t pins =
            startsWith(command, "icetime ") ? command.find(" -p ") : std::string::npos;
        if (pins != std::string::npos)
            command.erase(pins, command.find(' ', pins + 4) - pins);
    }
    return commands;
}

std::string cutProject(const std::string& project, const Texts& names) {
    std::string result;
    std::size_t at = 0;
    const std::string begin = "<Run Name=\"";
    for (std::size_t run = project.find(begin); run != std::string::npos;
         run = project.find(begin, at)) {
        const std::size_t nameAt = run + begin.size();
        const std::string name = project.substr(nameAt, project.find('"', nameAt) - nameAt);
        const std::size_t tagEnd = project.find('>', nameAt);
        if (tagEnd == std::string::npos)
            break;
        const std::string close = "</Run>";
        const std::size_t closeAt = project.find(close, tagEnd);
        const bool isEmpty = project[tagEnd - 1] == '/';
        const std::size_t end =
            isEmpty || closeAt == std::string::npos ? tagEnd + 1 : closeAt + close.size();
        const bool isKept = std::find(names.begin(), names.end(), name) != names.end();
        result += project.substr(at, (isKept ? end : run) - at);
        at = end;
        // The blanks in front of what went go with it, up to the line before.
        if (!isKept)
            result.erase(result.find_last_not_of(" \n") + 1);
    }
    return result + project.substr(at);
}

std::string commonFolder(const Texts& files) {
    if (files.empty())
        return {};
    std::string folder = files.front().substr(0, files.front().rfind('/'));
    for (const std::string& file : files)
        while (!folder.empty() && !isWithin(file, folder))
            folder.erase(folder.rfind('/'));
    return folder;
}

std::vector<std::string> packRun(const Project& project, HAXPExpRun& run,
                                 const std::string& archive) {
    run.updateRun();
    const std::string step = stepWord(run);
    if (run.getDir().empty() || step.empty())
        fail(fmt::format(
            "Run {0} wasn't launched, so that there is nothing to pack. Launch it with: "
            "xp launch {0}",
            run.getName()));
    const Contents contents = contentsOf(project, run);
    const PathMap paths = mapOf(project, run, contents);
    Staging staging("bug-" + run.getName());
    for (const std::string& file : contents.files)
        staging.copy(file, packedName(contents, file), paths);
    if (!contents.netlist.empty())
        staging.copy(contents.netlist, "netlist/netlist.json", paths);
    copyRun(run, staging, paths);

    bool skipped = false;
    Texts commands = plainCommands(workbench::logLines(logPath(run), skipped), step);
    if (commands.empty())
        commands = commandsOfStep(project, run, step);
    for (std::string& command : commands) {
        command = paths.apply(command);
        if (startsWith(command, "icetime "))
            staging.leaveOut("the pin constraints of icetime, which the step makes for it alone");
    }
    staging.write("reproduce.sh", reproduceScript(commands, step), true);
    staging.write("README.md", readmeText(run, step, paths, staging.leftOut()));
    staging.write("options.txt", optionLines(run));
    staging.write("versions.txt", paths.apply(versionLines()));
    Texts names{run.getName()};
    if (const HAXPExpRun* synthesis = project.getSynthesisOf(run))
        names.push_back(synthesis->getName());
    const std::optional<std::string> text = contentOf(project.getDir() + "/" + Project::kFileName);
    if (text)
        staging.write("project/project.xml",
                      paths.apply(withPackedPaths(cutProject(*text, names), project, contents)));
    makeArchive(staging, archive);
    return staging.leftOut();
}

PackedRun packRunAnew(const Project& project, HAXPExpRun& run, const std::string& archive) {
    const std::string name =
        archive.empty() ? fmt::format("bug-{}.tar.gz", run.getName()) : archive;
    std::error_code ignored;
    if (std::filesystem::exists(name, ignored))
        fail(fmt::format("{} is there already. Remove it, or name another file.", name));
    return {name, packRun(project, run, name)};
}

}  // namespace shell
