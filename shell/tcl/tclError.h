// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

struct Tcl_Interp;

/// Errors of the Tcl commands: a text for people, and a list for scripts in errorCode.
namespace shell::tcl {

/// What went wrong, for `try ... trap`. Each has a row in errorCodes().
enum class Code {
    kCommandUnknown,
    kCommandArguments,
    kOptionUnknown,
    kOptionMissing,
    kOptionTwice,
    kValueBad,
    kValueZeroByte,
    kProjectNone,
    kProjectNotOpen,
    kProjectOpen,
    kProjectReadOnly,
    kFlowNotFound,
    kRunNotFound,
    kRunExists,
    kRunForeign,
    kRunNotLaunched,
    kKeyNotFound,
    kReportNotFound,
    kStrategyNotFound,
    kLaunchActive,
    kServeActive,
    kWaitTimeout,
    kInterpDeleted,
    kHandleDeleted,
    kUsage,
    kToolMissing,
    kRefused,
    kFailed,
    kInternal,
};

/// A row of the table of errors.
struct ErrorCode {
    Code code;
    /// The first words of errorCode.
    const char* words;
    /// What stands behind them; empty for nothing.
    const char* more;
    const char* meaning;
};

/// In the order of the enumeration.
const std::vector<ErrorCode>& errorCodes();

/// @throws HTCErrors::error always: `text` with the words of `code` and `more` behind them.
[[noreturn]] void fail(Code code, const std::vector<std::string>& more, const std::string& text);

/// Makes the exception that is being handled the error of `interp`. No exception passes
/// through Tcl's own frames: every command ends in this.
void setError(Tcl_Interp* interp);

}  // namespace shell::tcl
