// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "workbench/WorkbenchExport.h"

/// How far the step of a run is, by what its tool prints.
namespace workbench {

/// How far a step is.
struct ToolProgress {
    /// Whether the log tells anything; what follows means nothing otherwise.
    bool isKnown = false;
    /// The part of the step's time that has passed, 0 to 1: a guess by the usual shares of
    /// the tool's passes.
    double fraction = 0;
    /// Between these the part lies, as far as the log can tell: a pass that prints nothing for
    /// long leaves them far apart.
    double atLeast = 0;
    double atMost = 1;
    /// What the tool does, such as "routing, 312 arcs left". One line, safe for a terminal.
    std::string text;
};

/// Understands the lines that yosys, nextpnr and the programs around them print while the
/// steps of a run are at work. Keeps some numbers and one short text, however much is read.
class WORKBENCH_API ToolLines {
public:
    ToolLines();
    ~ToolLines();

    ToolLines(const ToolLines&) = delete;
    ToolLines& operator=(const ToolLines&) = delete;

    /// The next line of the log, without its end. `step` is the step that is at work: it
    /// settles whose lines they are when the start of the log wasn't seen.
    void read(const std::string& line, const std::string& step);

    /// How far `step` is; unknown while what was read last belongs to another one.
    ToolProgress progress(const std::string& step) const;

    /// How many times a step's chief tool was started.
    std::size_t sections() const;

    /// Forgets everything.
    void reset();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// Follows the log of a run.
///
/// Each look reads what was appended since the last one, 4 MB at most: of more than that the
/// start is passed over. A log that became shorter or was replaced is read from its start. What
/// can't be read, or is no text, tells nothing. Keeps no file open between two looks.
class WORKBENCH_API ToolProgressReader {
public:
    explicit ToolProgressReader(const std::string& path);
    ~ToolProgressReader();

    ToolProgressReader(const ToolProgressReader&) = delete;
    ToolProgressReader& operator=(const ToolProgressReader&) = delete;

    /// Looks at the log: how far `step`, such as "route_design", is. The fraction doesn't fall
    /// until the step, or its tool anew, begins.
    ToolProgress read(const std::string& step);

    /// How many bytes all looks have read.
    std::size_t bytesRead() const;

private:
    struct Log;
    std::unique_ptr<Log> m_log;
};

}  // namespace workbench
