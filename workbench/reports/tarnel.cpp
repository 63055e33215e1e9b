// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/tarnel.h"

#include <cstdio>

#include <fmt/format.h>

#include "environment/containers/HSTVector.h"
#include "environment/installation/HUTEnv.h"
#include "workbench/ice40/stepFiles.h"
#include "workbench/reports/reportScript.h"

namespace reports {

namespace {

constexpr const char* kUsage =
    "usage: tarnel [-nolog] [-nojournal] [-notrace] -mode batch [-product NAME] -source FILE\n"
    "              [-tclargs ARG...]\n"
    "\n"
    "Runs the Tcl script FILE, which makes the reports of a step in the current folder.\n"
    "\n"
    "  -mode batch      run the script and end; there is no other mode\n"
    "  -product NAME    the product that is meant; only tarnel is one\n"
    "  -source FILE     the script\n"
    "  -tclargs ARG...  all words behind it are the script's argv\n"
    "  -nolog, -nojournal, -notrace\n"
    "                   taken and without effect: none of these files is ever written\n"
    "\n"
    "Exit status: 0 done, 1 the script or one of its reports failed, 2 wrong usage.\n";

bool refuseCall(std::string& reason, const std::string& why) {
    reason = why + ". Call it with -help for its options.";
    return false;
}

/// Reads the words one by one.
class CallReader {
public:
    CallReader(const std::vector<std::string>& words, std::size_t at) : m_words(words), m_at(at) {}

    bool read(std::string& reason) {
        while (m_at < m_words.size())
            if (!readWord_(m_words[m_at++], reason))
                return false;
        return true;
    }

    bool hasMode() const { return m_hasMode; }
    TarnelCall take() { return std::move(m_call); }

private:
    bool readWord_(const std::string& word, std::string& reason) {
        if (word == "-tclargs") {
            m_call.arguments.assign(m_words.begin() + static_cast<std::ptrdiff_t>(m_at),
                                    m_words.end());
            m_at = m_words.size();
            return true;
        }
        if (word == "-help" || word == "--help" || word == "-h")
            m_call.wantsHelp = true;
        else if (word == "-version" || word == "--version")
            m_call.wantsVersion = true;
        else if (word == "-mode" || word == "-product" || word == "-source")
            return readValue_(word, reason);
        else if (word != "-nolog" && word != "-nojournal" && word != "-notrace")
            return refuseCall(reason, fmt::format("there is no option '{}'", word));
        return true;
    }

    bool readValue_(const std::string& option, std::string& reason) {
        if (m_at == m_words.size() || m_words[m_at].empty() || m_words[m_at].front() == '-')
            return refuseCall(reason, fmt::format("{} needs a value", option));
        const std::string& value = m_words[m_at++];
        if (option == "-mode") {
            m_hasMode = value == "batch";
            return m_hasMode || refuseCall(reason, fmt::format("there is no mode '{}'", value));
        }
        if (option == "-product")
            return isTarnel(value) ||
                   refuseCall(reason, fmt::format("there is no product '{}'", value));
        if (!m_call.source.empty())
            return refuseCall(reason, "-source stands twice");
        m_call.source = value;
        return true;
    }

    const std::vector<std::string>& m_words;
    std::size_t m_at;
    bool m_hasMode = false;
    TarnelCall m_call;
};

std::size_t countLoaderArgs(const std::vector<std::string>& words,
                            const std::vector<std::string>& loaderArgs) {
    if (words.size() < loaderArgs.size())
        return 0;
    for (std::size_t i = 0; i < loaderArgs.size(); ++i)
        if (words[i] != loaderArgs[i])
            return 0;
    return loaderArgs.size();
}

void tellError(const std::string& text) {
    fmt::print(stderr, "tarnel: error: {}\n", text);
}

int runScript(const TarnelCall& call) {
    std::string text;
    std::string reason;
    if (!ice40::readText(call.source, text, reason, kLargestScript)) {
        tellError(fmt::format("The script '{}' can't be read: {}. Name the script of a run.",
                              call.source, reason));
        return kTarnelFailed;
    }
    if (text.find('\0') != std::string::npos) {
        tellError(fmt::format("The script '{}' holds a zero byte, so it is no Tcl. Write it anew.",
                              call.source));
        return kTarnelFailed;
    }
    ReportScript script;
    script.setArguments(call.source, call.arguments);
    if (!script.run(text, call.source, reason)) {
        tellError(reason);
        return kTarnelFailed;
    }
    if (script.failedReports() > 0) {
        tellError(fmt::format("{} of the reports failed; the lines above tell why.",
                              script.failedReports()));
        return kTarnelFailed;
    }
    return kTarnelDone;
}

std::vector<std::string> installedLoaderArgs() {
    HSTVector<std::string> args;
    HUTEnv::getLoaderArgs(args);
    return {args.begin(), args.end()};
}

}  // namespace

bool parseTarnelCall(const std::vector<std::string>& words,
                     const std::vector<std::string>& loaderArgs, TarnelCall& call,
                     std::string& reason) {
    CallReader reader(words, countLoaderArgs(words, loaderArgs));
    if (!reader.read(reason))
        return false;
    const bool hasMode = reader.hasMode();
    TarnelCall result = reader.take();
    if (!result.wantsHelp && !result.wantsVersion) {
        if (result.source.empty())
            return refuseCall(reason, "-source is missing");
        if (!hasMode)
            return refuseCall(reason, "-mode batch is missing");
    }
    call = std::move(result);
    return true;
}

bool isTarnel(const std::string& name) {
    const std::string last = name.substr(name.rfind('/') + 1);
    return last == "tarnel";
}

int tarnelMain(const std::vector<std::string>& words) {
    TarnelCall call;
    std::string reason;
    if (!parseTarnelCall(words, installedLoaderArgs(), call, reason)) {
        tellError(reason);
        return kTarnelUsage;
    }
    if (call.wantsHelp || call.wantsVersion) {
        fmt::print("{}", call.wantsHelp
                             ? std::string(kUsage)
                             : fmt::format("tarnel {}\n", HUTEnv::getProductMajorMinorVersion()));
        return kTarnelDone;
    }
    const int status = runScript(call);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        tellError("Standard output can't be written. Make room where it goes.");
        return kTarnelFailed;
    }
    return status;
}

}  // namespace reports
