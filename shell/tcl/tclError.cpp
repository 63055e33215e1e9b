// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/tcl/tclError.h"

#include <exception>

#include <fmt/format.h>
#include <tcl.h>

#include "environment/errors/HEXAll.h"
#include "environment/errors/HEXUserException.h"
#include "environment/errors/HTCErrors.h"
#include "shell/exitStatus.h"
#include "shell/tcl/tclAdvice.h"
#include "shell/tcl/tclValue.h"

namespace shell::tcl {

namespace {

const ErrorCode& errorCodeOf(Code code) {
    return errorCodes()[static_cast<std::size_t>(code)];
}

/// The list for errorCode.
std::string codeText(Code code, const std::vector<std::string>& more) {
    const ValueRef list(newList(more));
    const std::string rest = more.empty() ? std::string() : " " + textOf(list.get());
    return errorCodeOf(code).words + rest;
}

void setResult(Tcl_Interp* interp, const std::string& text, const std::string& code) {
    Tcl_SetObjResult(interp, newText(text));
    Tcl_SetObjErrorCode(interp, newText(code));
}

Code codeOf(ExitStatus status) {
    switch (status) {
    case kExitUsage:
        return Code::kUsage;
    case kExitToolMissing:
        return Code::kToolMissing;
    default:
        return Code::kRefused;
    }
}

}  // namespace

const std::vector<ErrorCode>& errorCodes() {
    static const std::vector<ErrorCode> all{
        {Code::kCommandUnknown, "XP COMMAND UNKNOWN", "ENSEMBLE WORD", "no such subcommand"},
        {Code::kCommandArguments, "XP COMMAND ARGUMENTS", "ENSEMBLE SUBCOMMAND",
         "too few or too many words"},
        {Code::kOptionUnknown, "XP OPTION UNKNOWN", "OPTION", "no such -option"},
        {Code::kOptionMissing, "XP OPTION MISSING", "OPTION",
         "an -option that is needed, or its value, isn't there"},
        {Code::kOptionTwice, "XP OPTION TWICE", "OPTION", "an -option stands twice"},
        {Code::kValueBad, "XP VALUE BAD", "OPTION VALUE",
         "a value isn't what is wanted: a list, a dict, a number or a boolean"},
        {Code::kValueZeroByte, "XP VALUE ZEROBYTE", "", "a text holds a zero byte"},
        {Code::kProjectNone, "XP PROJECT NONE", "", "no project is open"},
        {Code::kProjectNotOpen, "XP PROJECT NOTOPEN", "DIR", "that project isn't open"},
        {Code::kProjectOpen, "XP PROJECT OPEN", "DIR", "this process has the project open already"},
        {Code::kProjectReadOnly, "XP PROJECT READONLY", "DIR",
         "the project is open for reading only"},
        {Code::kFlowNotFound, "XP FLOW NOTFOUND", "FLOW", "no such flow"},
        {Code::kRunNotFound, "XP RUN NOTFOUND", "RUN", "no such run, family or sweep"},
        {Code::kRunExists, "XP RUN EXISTS", "RUN", "there is a run of that name already"},
        {Code::kRunForeign, "XP RUN FOREIGN", "RUN",
         "runs of several projects are named in one command"},
        {Code::kRunNotLaunched, "XP RUN NOTLAUNCHED", "RUN", "the run isn't launched"},
        {Code::kKeyNotFound, "XP KEY NOTFOUND", "RUN KEY",
         "the run has no option, result or fact of that name"},
        {Code::kReportNotFound, "XP REPORT NOTFOUND", "RUN REPORT",
         "the run has no such report, or it isn't made"},
        {Code::kStrategyNotFound, "XP STRATEGY NOTFOUND", "STRATEGY",
         "no such strategy or report strategy, or several"},
        {Code::kLaunchActive, "XP LAUNCH ACTIVE", "DIR",
         "the project has a launch that isn't over; it takes further runs, but no other options"},
        {Code::kServeActive, "XP SERVE ACTIVE", "DIR", "the page of the project is served already"},
        {Code::kWaitTimeout, "XP WAIT TIMEOUT", "RUN ...",
         "the time is over; these runs haven't ended"},
        {Code::kInterpDeleted, "XP INTERP DELETED", "",
         "the interpreter was deleted while it waited"},
        {Code::kHandleDeleted, "XP HANDLE DELETED", "NAME",
         "the run of this handle is gone, or its project was closed"},
        {Code::kUsage, "XP USAGE", "", "a value has the wrong form"},
        {Code::kToolMissing, "XP TOOL MISSING", "", "a tool that a run needs isn't installed"},
        {Code::kRefused, "XP REFUSED", "?ID?",
         "the project, an input, the disk or a run's state doesn't allow it; ID is that of the "
         "message"},
        {Code::kFailed, "XP FAILED", "?ID?", "the library failed; ID is that of the message"},
        {Code::kInternal, "XP INTERNAL", "", "this should not happen; please report it"},
    };
    return all;
}

void fail(Code code, const std::vector<std::string>& more, const std::string& text) {
    throw HTCErrors::error(text, codeText(code, more));
}

void setError(Tcl_Interp* interp) {
    const auto withId = [](Code code, const std::string& id) {
        return codeText(code, id.empty() ? std::vector<std::string>() : std::vector{id});
    };
    try {
        throw;
    } catch (const HTCErrors::error& error) {
        setResult(interp, error.what(), error.getErrorCode());
    } catch (const CommandError& error) {
        setResult(interp, tclAdvice(error.what()), codeText(codeOf(error.status()), {}));
    } catch (const HEXUserException& error) {
        setResult(interp, tclAdvice(error.what()), withId(Code::kRefused, error.getMsgId()));
    } catch (const HEXAll& error) {
        setResult(interp, tclAdvice(error.what()), withId(Code::kFailed, error.getMsgId()));
    } catch (const std::exception& error) {
        setResult(interp,
                  fmt::format("{}. This should not happen; please report it.", error.what()),
                  codeText(Code::kInternal, {}));
    }
}

}  // namespace shell::tcl
