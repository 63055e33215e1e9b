// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

/// Who mistypes a name is told which was probably meant.
namespace workbench {

/// How many letters must be added, taken away, changed or swapped with their neighbour
/// to make `a` of `b`.
WORKBENCH_API int editDistance(const std::string& a, const std::string& b);

/// The one of `known` that was probably meant by `typed`; empty when none is near
/// enough. A name that begins with `typed` wins when it is the only one.
WORKBENCH_API std::string suggestionFor(const std::string& typed,
                                        const std::vector<std::string>& known);

/// The list `known`, "a, b.c", as the end of a sentence, and behind it which of its names,
/// or of what stands behind their dots, was probably meant: "a, b.c. Did you mean 'c'?"
WORKBENCH_API std::string withHint(const std::string& typed, const std::string& known);

/// The names as such a list; "none" without one.
WORKBENCH_API std::string listOfNames(const std::vector<std::string>& names);

/// `text` with a full stop, unless it ends a sentence already.
WORKBENCH_API std::string sentence(const std::string& text);

}  // namespace workbench
