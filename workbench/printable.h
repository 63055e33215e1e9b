// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/WorkbenchExport.h"

/// Texts from files and users, as a terminal may show them.
namespace workbench {

/// `text` with every character escaped that a terminal would take as a command or
/// wouldn't show: "\n", "\x1b", "\u{202e}". A byte that isn't UTF-8 becomes "\u{fffd}".
WORKBENCH_API std::string printable(const std::string& text);

/// The same for a text of several lines: line ends and tabs stay.
WORKBENCH_API std::string printableLines(const std::string& text);

}  // namespace workbench
