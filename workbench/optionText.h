// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/WorkbenchExport.h"

class HATAttrSpec;
class HATOptGroup;

/// Option values as the texts that users write and read.
namespace workbench {

/// The value of `spec` in `group`: "true" or "false" for a bool, the value text of an
/// enum, the elements of a list with blanks between them.
WORKBENCH_API std::string optionText(const HATOptGroup& group, const HATAttrSpec& spec);

/// The plain default of `spec` as such a text.
WORKBENCH_API std::string defaultText(const HATAttrSpec& spec);

/// Sets `spec` from a text. On refusal `reason` says what would do, and the value stays.
WORKBENCH_API bool setOptionText(HATOptGroup& group, const HATAttrSpec& spec,
                                 const std::string& text, std::string& reason);

}  // namespace workbench
