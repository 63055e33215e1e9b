// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "workbench/failures/failureKind.h"

/// The failures of the open tools that we know: one table, for the step programs that meet
/// them and for all who tell of them later.
namespace workbench {

/// A word or two for `kind`: "syntax", "no such pin". They stay as they are.
const char* failureKindName(FailureKind kind);

/// A failure as the table has it, with the names of this case filled in. Sentences
/// without their full stop.
struct KnownFailure {
    FailureKind kind = FailureKind::kUnknown;
    std::string what;    ///< what happened, in a designer's words
    std::string advice;  ///< what to try
    /// What the signs of the rule stood for, as a designer wrote them.
    std::vector<std::string> names;
};

/// Translates `error`, what a tool or a step program said, in the light of the other `lines`
/// that it printed; nothing when the table doesn't know it.
std::optional<KnownFailure> findKnownFailure(const std::string& error,
                                             const std::vector<std::string>& lines = {});

/// Whether `text` holds what `pattern` says: literal words in that order, with "*" for any
/// text between them, as little as possible, "?" for one word, which has no blank and none of
/// "/,:;", and a blank for any number of blanks. Words at the beginning may stand anywhere, a
/// sign at the beginning stands for that of the text. `captures` gets what stood for each "*" and
/// "?", without blanks around it; on a mismatch it stays as it was.
bool matchWords(const std::string& pattern, const std::string& text,
                std::vector<std::string>& captures);

/// Every pattern of the table in the order in which they are tried, for those who check it.
std::vector<std::string> knownPatterns();

}  // namespace workbench
