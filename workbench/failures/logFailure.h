// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// What the log of a run tells about the step that failed in it.
namespace workbench {

/// A place in a source, as tools write it: "top.v:12", "top.v:12.5-12.9".
struct SourcePlace {
    std::string file;
    int line = 0;
};

/// Reads a place at the beginning of `text` that ends before ':' or '|'; false when there is
/// none. A tool that doesn't know the line says 0.
bool readPlace(const std::string& text, SourcePlace& place);

/// The lines of a log that are about its last failure. Indices are those of the log.
struct FailureLines {
    /// What the step's program ran last, and said since: [begin, end).
    std::size_t begin = 0;
    std::size_t end = 0;
    /// The errors of the tool itself, in order; those of the step's program follow.
    std::vector<std::size_t> toolErrors;
    std::vector<std::size_t> stepErrors;
    /// Why the wrapper says that the step failed; empty when it says nothing.
    std::string wrapperReason;
};

FailureLines findFailureLines(const std::vector<std::string>& log);

/// A line of an error without its mark: "a.v:2: ERROR: syntax error" gives
/// "a.v:2: syntax error", "ERROR: ice40_init: x" gives "ice40_init: x".
std::string withoutErrorMark(const std::string& line);

}  // namespace workbench
