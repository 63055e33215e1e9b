// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/ice40/process.h"

namespace ice40 {

/// Remembers the first error among a tool's lines and turns it into one clear
/// failure.
class ToolErrors {
public:
    void readLine(const std::string& line);

    /// The first error, without the word "ERROR"; empty when there was none.
    const std::string& first() const { return m_first; }

    /// @throws StepFailure unless the tool ended well: the tool's own error, how
    ///         it ended, and what to do about an error of that kind.
    void require(const std::string& tool, const ToolEnd& end) const;

private:
    std::string m_first;
};

/// What to do about an error text of yosys, nextpnr or an icestorm tool.
std::string adviceFor(const std::string& error);

}  // namespace ice40
