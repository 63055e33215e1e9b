// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/WorkbenchExport.h"

struct DesignInputs;

/// What may enter a generated script: names, paths and option values go into it as
/// they stand, so they are checked on the way in.
namespace workbench {

/// @throws HEXUserException `name` isn't made of up to 100 letters, digits and . _ + -,
/// beginning with a letter or digit.
WORKBENCH_API void requireRunName(const std::string& name);

/// What may be the name of a strategy, and so of its file: up to 100 bytes of UTF-8 that a
/// terminal shows, without a separator, a dot or a dash in front, or a blank at either end.
/// @throws HEXUserException `name` is something else; the text says what is wrong with it.
WORKBENCH_API void requireStrategyName(const std::string& name);

/// @throws HEXUserException `path` holds a quote, backslash, dollar sign, backtick,
/// control character or one of * ? [.
WORKBENCH_API void requireScriptPath(const std::string& path);

/// @throws HEXUserException the value of the option `name` holds a character that a shell
/// takes as its own.
WORKBENCH_API void requireOptionText(const std::string& name, const std::string& value);

/// @throws HEXUserException `name`, of a report or its file, holds a separator or a
/// control character, or begins with a dot, as the markers of a run do.
WORKBENCH_API void requireReportFile(const std::string& name);

/// @throws HEXUserException the value of the report option `name` would be more than one
/// word for Tcl. "MORE_OPTIONS" may hold several, without a substitution or a second
/// command, quotes and braces in pairs.
WORKBENCH_API void requireReportOption(const std::string& name, const std::string& value);

/// The rules above for every text of `inputs` that reaches a script, and what may be the
/// first part of a file name for its top module.
/// @throws HEXUserException the first that breaks one.
WORKBENCH_API void requireInputs(const DesignInputs& inputs);

}  // namespace workbench
