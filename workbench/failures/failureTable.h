// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <vector>

#include "workbench/failures/knownFailures.h"

namespace workbench {

/// One row of the table of known failures.
struct FailureRule {
    FailureKind kind;
    /// Of what the tool or the step program said; see matchWords(). What it captures is {0},
    /// {1} ... of the texts.
    const char* pattern;
    /// Of another line that must be there too, or null; its captures follow.
    const char* also;
    const char* what;
    const char* advice;
};

/// The table, in the order in which the rules are tried: the more special goes before.
const std::vector<FailureRule>& failureRules();

struct FailureKindName {
    FailureKind kind;
    const char* name;
};

/// The name of every kind.
const std::vector<FailureKindName>& failureKindNames();

}  // namespace workbench
