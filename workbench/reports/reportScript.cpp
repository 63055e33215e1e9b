// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/reportScript.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <sys/stat.h>

#include <fmt/format.h>
#include <tcl.h>
#include <unistd.h>

#include "environment/params/HPAParamMgr.h"
#include "workbench/ice40/stepFailure.h"
#include "workbench/ice40/stepFiles.h"
#include "workbench/reports/reportCommands.h"

namespace reports {

namespace {

using ice40::StepFailure;
using Words = std::vector<std::string>;

constexpr const char* kChild = "script";

/// The error of a script that another one sources; its text is the whole message.
class SourceFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::string textOf(Tcl_Obj* object) {
    int length = 0;
    const char* text = Tcl_GetStringFromObj(object, &length);
    return {text, static_cast<std::size_t>(length)};
}

Tcl_Obj* newText(const std::string& text) {
    return Tcl_NewStringObj(text.data(), static_cast<int>(text.size()));
}

void print(std::FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

/// @throws StepFailure there aren't so many words.
void needWords(const Words& words, std::size_t count, const std::string& usage) {
    if (words.size() != count)
        throw StepFailure(fmt::format("{} words are too many or too few", words.size()),
                          fmt::format("Write '{}'", usage));
}

bool readBool(const std::string& text) {
    int value = 0;
    Tcl_Obj* object = newText(text);
    Tcl_IncrRefCount(object);
    const int result = Tcl_GetBooleanFromObj(nullptr, object, &value);
    Tcl_DecrRefCount(object);
    if (result != TCL_OK)
        throw StepFailure(fmt::format("'{}' is no value of a parameter", text),
                          "Use true or false");
    return value != 0;
}

/// A report's name becomes part of a file's name.
void requireReportName(const std::string& name) {
    const auto isBad = [](char c) { return c == '/' || static_cast<unsigned char>(c) < 0x20U; };
    if (name.empty() || std::any_of(name.begin(), name.end(), isBad))
        throw StepFailure(fmt::format("'{}' can't be the name of a report", name),
                          "Use a name without '/' and control characters");
}

}  // namespace

/// The interpreters and what the commands share.
struct ReportScript::Data {
    using Work = std::string (Data::*)(const Words& words);

    /// What Tcl hands back to a command.
    struct Binding {
        Data* data = nullptr;
        Work work = nullptr;
        const ReportCommand* report = nullptr;
    };

    Tcl_Interp* parent = nullptr;
    Tcl_Interp* script = nullptr;
    std::vector<std::unique_ptr<Binding>> bindings;
    std::unique_ptr<StepResults> results;
    int failed = 0;
    /// The first failure of a report command since the last make_report began;
    /// it counts even when the command stood in a "catch".
    std::string failure;

    void bind(const char* name, Work work, const ReportCommand* report = nullptr);
    static int call(ClientData binding, Tcl_Interp* interp, int count, Tcl_Obj* const objects[]);
    std::string runReport(const ReportCommand& command, const Words& words);

    std::string openStep(const Words& words);
    std::string makeReport(const Words& words);
    std::string setParam(const Words& words);
    std::string getParam(const Words& words);
    std::string puts(const Words& words);
    std::string source(const Words& words);

    std::string evaluate(const std::string& command);
    void failReport(const std::string& name, const std::string& reason);
};

void ReportScript::Data::bind(const char* name, Work work, const ReportCommand* report) {
    bindings.push_back(std::make_unique<Binding>());
    *bindings.back() = {this, work, report};
    Tcl_CreateObjCommand(script, name, &Data::call, bindings.back().get(), nullptr);
}

/// No exception passes through Tcl's frames: what a command throws is its error.
int ReportScript::Data::call(ClientData binding, Tcl_Interp* interp, int count,
                             Tcl_Obj* const objects[]) {
    const auto* bound = static_cast<const Binding*>(binding);
    try {
        Words words;
        for (int i = 1; i < count; ++i)
            words.push_back(textOf(objects[i]));
        const std::string result = bound->report != nullptr
                                       ? bound->data->runReport(*bound->report, words)
                                       : (bound->data->*bound->work)(words);
        Tcl_SetObjResult(interp, newText(result));
        return TCL_OK;
    } catch (const std::exception& error) {
        Tcl_SetObjResult(interp, newText(error.what()));
        return TCL_ERROR;
    }
}

std::string ReportScript::Data::runReport(const ReportCommand& command, const Words& words) {
    try {
        if (!results && words != Words{"-help"})
            throw StepFailure(fmt::format("{}: no step is open", command.name),
                              "Call 'open_step STEP' first");
        if (!results)
            return helpOf(command);
        std::vector<std::string> warnings;
        const std::string text = runReportCommand(command, *results, words, warnings);
        for (const std::string& warning : warnings)
            print(stdout, fmt::format("WARNING: [{}] {}\n", command.name, warning));
        print(stdout, text);
        return {};
    } catch (const std::exception& error) {
        if (failure.empty())
            failure = error.what();
        throw;
    }
}

std::string ReportScript::Data::openStep(const Words& words) {
    needWords(words, 1, "open_step STEP");
    if (!isReportStep(words[0]))
        throw StepFailure(fmt::format("open_step: there are no reports of step '{}'", words[0]),
                          fmt::format("Name one of {}", reportSteps()));
    results = std::make_unique<StepResults>(words[0]);
    return {};
}

/// Runs `command` at the top level of the script; gives its error, or nothing.
std::string ReportScript::Data::evaluate(const std::string& command) {
    failure.clear();
    const int result = Tcl_EvalObjEx(script, newText(command), TCL_EVAL_GLOBAL);
    if (result == TCL_ERROR)
        return textOf(Tcl_GetObjResult(script));
    return failure;
}

void ReportScript::Data::failReport(const std::string& name, const std::string& reason) {
    ++failed;
    print(stderr, fmt::format("ERROR: report {}: {}\n", name, reason));
    ice40::OutputFile marker(failMarker(name));
    marker.write(reason + "\n");
    marker.commit();
}

std::string ReportScript::Data::makeReport(const Words& words) {
    needWords(words, 2, "make_report NAME COMMAND");
    const std::string& name = words[0];
    requireReportName(name);
    const std::string marker = failMarker(name);
    std::string reason;
    if (::unlink(marker.c_str()) != 0 && errno != ENOENT)
        reason = fmt::format("the old marker '{}' can't be removed: {}. Make the run directory "
                             "writable.",
                             marker, std::strerror(errno));
    else
        reason = evaluate(words[1]);
    Tcl_ResetResult(script);
    if (!reason.empty())
        failReport(name, reason);
    return {};
}

std::string ReportScript::Data::setParam(const Words& words) {
    needWords(words, 2, "set_param NAME VALUE");
    HPAParamMgr* params = HPAParamMgr::getParamMgr();
    params->declareParam(words[0], "Set by a report script.");
    params->setValueAsBool(words[0], readBool(words[1]));
    return words[1];
}

std::string ReportScript::Data::getParam(const Words& words) {
    needWords(words, 1, "get_param NAME");
    return HPAParamMgr::getParamMgr()->getValueAsBool(words[0]) ? "true" : "false";
}

std::string ReportScript::Data::puts(const Words& words) {
    Words rest = words;
    std::string end = "\n";
    if (!rest.empty() && rest.front() == "-nonewline") {
        end.clear();
        rest.erase(rest.begin());
    }
    const bool isChannel = rest.size() == 2;
    if (rest.empty() || rest.size() > 2 ||
        (isChannel && rest.front() != "stdout" && rest.front() != "stderr"))
        throw StepFailure("puts writes to stdout and stderr only",
                          "Write 'puts ?-nonewline? ?stdout|stderr? TEXT'");
    print(isChannel && rest.front() == "stderr" ? stderr : stdout, rest.back() + end);
    return {};
}

/// A file of the run's own folder: neither in another one nor a link to one.
std::string ReportScript::Data::source(const Words& words) {
    needWords(words, 1, "source FILE");
    const std::string& name = words[0];
    struct stat info {};
    if (name.empty() || name.find('/') != std::string::npos || ::lstat(name.c_str(), &info) != 0 ||
        !S_ISREG(info.st_mode))
        throw StepFailure(fmt::format("source: '{}' is no script of this folder", name),
                          "Name a file beside the report script");
    std::string text;
    std::string reason;
    if (!ice40::readText(name, text, reason, kLargestScript) ||
        text.find('\0') != std::string::npos)
        throw StepFailure(fmt::format("source: '{}' can't be read: {}", name,
                                      reason.empty() ? "it holds a zero byte" : reason),
                          "Write it anew");
    if (Tcl_EvalObjEx(script, newText(text), 0) == TCL_ERROR)
        throw SourceFailure(fmt::format("{}:{}: {}", name, Tcl_GetErrorLine(script),
                                        textOf(Tcl_GetObjResult(script))));
    return textOf(Tcl_GetObjResult(script));
}

ReportScript::ReportScript() : m_data(std::make_unique<Data>()) {
    m_data->parent = Tcl_CreateInterp();
    m_data->script = Tcl_CreateSlave(m_data->parent, kChild, 1);
    m_data->bind("open_step", &Data::openStep);
    m_data->bind("make_report", &Data::makeReport);
    m_data->bind("set_param", &Data::setParam);
    m_data->bind("get_param", &Data::getParam);
    m_data->bind("puts", &Data::puts);
    m_data->bind("source", &Data::source);
    for (const ReportCommand& command : reportCommands())
        m_data->bind(command.name, nullptr, &command);
}

ReportScript::~ReportScript() {
    Tcl_DeleteInterp(m_data->parent);
}

void ReportScript::setArguments(const std::string& program,
                                const std::vector<std::string>& arguments) {
    Tcl_Obj* list = Tcl_NewListObj(0, nullptr);
    for (const std::string& argument : arguments)
        Tcl_ListObjAppendElement(nullptr, list, newText(argument));
    Tcl_SetVar2Ex(m_data->script, "argv", nullptr, list, TCL_GLOBAL_ONLY);
    Tcl_SetVar2Ex(m_data->script, "argc", nullptr,
                  Tcl_NewIntObj(static_cast<int>(arguments.size())), TCL_GLOBAL_ONLY);
    Tcl_SetVar2Ex(m_data->script, "argv0", nullptr, newText(program), TCL_GLOBAL_ONLY);
}

bool ReportScript::run(const std::string& text, const std::string& name, std::string& error) {
    const int result = Tcl_EvalObjEx(m_data->script, newText(text), TCL_EVAL_GLOBAL);
    if (result != TCL_ERROR)
        return true;
    error = fmt::format("{}:{}: {}", name, Tcl_GetErrorLine(m_data->script),
                        textOf(Tcl_GetObjResult(m_data->script)));
    return false;
}

std::string ReportScript::result() const {
    return textOf(Tcl_GetObjResult(m_data->script));
}

int ReportScript::failedReports() const {
    return m_data->failed;
}

std::string failMarker(const std::string& report) {
    return "." + report + ".fail";
}

}  // namespace reports
