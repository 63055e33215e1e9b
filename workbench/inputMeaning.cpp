// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/inputMeaning.h"

#include <cstdlib>
#include <map>
#include <mutex>

#include <boost/filesystem/operations.hpp>

#include "workbench/cluster/clientCall.h"
#include "workbench/ice40/meaning.h"
#include "workbench/ice40/stepFailure.h"
#include "workbench/ice40/stepFiles.h"
#include "workbench/ice40/synthStep.h"
#include "workbench/toolStamps.h"

namespace workbench {

namespace {

/// Meanings by what they were found out from.
class KnownMeanings {
public:
    static KnownMeanings& ofProcess() {
        static KnownMeanings known;
        return known;
    }

    bool find(const std::string& key, std::string& meaning) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_meanings.find(key);
        if (found != m_meanings.end())
            meaning = found->second;
        return found != m_meanings.end();
    }
    void keep(const std::string& key, const std::string& meaning) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_meanings[key] = meaning;
    }

private:
    std::mutex m_mutex;
    std::map<std::string, std::string> m_meanings;
};

/// A folder of this process alone, which goes with the object.
class ScratchFolder {
public:
    ScratchFolder() {
        boost::system::error_code error;
        const boost::filesystem::path parent = boost::filesystem::temp_directory_path(error);
        m_path = (error ? boost::filesystem::path("/tmp") : parent).string() + "/xperiment-XXXXXX";
        if (::mkdtemp(m_path.data()) == nullptr)
            m_path.clear();
    }
    ~ScratchFolder() {
        boost::system::error_code ignored;
        if (!m_path.empty())
            boost::filesystem::remove_all(m_path, ignored);
    }

    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /// Empty when there is none.
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

ice40::SynthOptions synthOptionsOf(const DesignInputs& inputs) {
    ice40::SynthOptions options;
    options.sources = inputs.sources;
    options.top = inputs.top;
    options.defines = inputs.defines;
    options.includes = inputs.includeDirs;
    return options;
}

bool isAsPrinted(const std::string& path, const FileFingerprint& print) {
    FileStamp stamp;
    return readStamp(path, stamp) == FileFingerprint::kPresent && stamp == print.stamp;
}

bool areAsPrinted(const InputFiles& files) {
    for (const auto& [path, file] : files) {
        if (!isAsPrinted(path, file.print))
            return false;
    }
    return true;
}

/// All that decides what comes out.
std::string meaningKey(const std::string& script, const InputFiles& files, const ToolStamp& tool) {
    std::string key = script + '\n' + tool.path + ' ' + std::to_string(tool.print.stamp.inode) +
                      ' ' + std::to_string(tool.print.stamp.changed.tv_sec) + '\n';
    for (const auto& [path, file] : files)
        key += path + ' ' + file.print.sha1 + '\n';
    return key;
}

/// Reads the sources by a script that leaves the file "rtlil" in `scratch`.
std::string readSources(const ice40::SynthOptions& options, const std::string& yosys,
                        const std::string& scratch, const std::string& runDir) {
    constexpr long kLimitMs = 10'000;
    const std::string path = scratch + "/rtlil";
    cluster::ClientCall call;
    call.words = {yosys, "-Q", "-q", "-q", "-p", ice40::elaborationScript(options, path)};
    call.workingDir = runDir;
    call.limitMs = kLimitMs;
    std::string text;
    std::string ignored;
    return cluster::callClient(call).isGood() && ice40::readText(path, text, ignored)
               ? ice40::elaborationMeaning(text)
               : std::string();
}

}  // namespace

std::string meaningOfSources(const DesignInputs& inputs, const InputFiles& files,
                             const std::string& runDir) {
    ToolStamp yosys;
    if (!findTool("yosys", {}, yosys))
        return {};
    std::string meaning;
    try {
        const ice40::SynthOptions options = synthOptionsOf(inputs);
        const std::string key =
            meaningKey(ice40::elaborationScript(options, "rtlil"), files, yosys);
        const ScratchFolder scratch;
        if (KnownMeanings::ofProcess().find(key, meaning) || scratch.path().empty())
            return meaning;
        meaning = readSources(options, yosys.path, scratch.path(), runDir);
        if (!areAsPrinted(files))
            return {};
        KnownMeanings::ofProcess().keep(key, meaning);
    } catch (const ice40::StepFailure&) {
        // A name that no script can hold.
    }
    return meaning;
}

std::string meaningOfFile(const std::string& path, const InputFile& file) {
    const std::string key = std::string(inputKindName(file.kind)) + ' ' + file.print.sha1;
    std::string meaning;
    if (!file.print.isPresent() || KnownMeanings::ofProcess().find(key, meaning))
        return meaning;
    std::string text;
    std::string ignored;
    if (!ice40::readText(path, text, ignored))
        return {};
    meaning = file.kind == InputKind::kNetlist ? ice40::netlistMeaning(text)
                                               : ice40::constraintsMeaning(text);
    if (!isAsPrinted(path, file.print))
        return {};
    KnownMeanings::ofProcess().keep(key, meaning);
    return meaning;
}

}  // namespace workbench
