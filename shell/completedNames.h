// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "shell/completion.h"

/// The names that a user may mean on a command line.
namespace shell {

/// Where a name is to stand.
struct NameContext {
    std::string projectDir = ".";
    /// The verb, such as "strategy copy".
    std::string verb;
    /// The arguments before it.
    std::vector<std::string> arguments;
    /// What is typed of it.
    std::string typed;
};

/// Every name that may stand for the argument or option that verbs declare as `what`, such
/// as "runs" or "--strategy". Verbs that call the same thing by the same word have its
/// names completed. Throws as reading the project and the strategies does.
Completion namesFor(const std::string& what, const NameContext& context);

/// Whether the value of `what` is a list, "a,b".
bool isList(const std::string& what);

}  // namespace shell
