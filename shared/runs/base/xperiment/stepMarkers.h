// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "runs/base/xperiment/RunsExport.h"
#include "runs/base/xperiment/runPath.h"

/// The names of the marker files in a run directory, and what they say.
///
/// Markers are how a launched run, which may be on another host, tells of its
/// progress. All of them lie directly in the run directory. `runDir` is a path
/// without a separator at its end; an empty one has no markers. Names are without
/// the directory.
namespace xperiment {

/// The kinds of the markers of a step, and of a whole process.
constexpr const char* beginMarker = "begin";
constexpr const char* endMarker = "end";
constexpr const char* errorMarker = "error";

/// The program whose process has markers of its own, in the place of T below.
constexpr const char* tarnelProcess = "tarnel";

/// Asks the helper scripts of a run to stop it; empty.
constexpr const char* stopMarker = ".stop.rst";

/// ".T.kind.rst", where T is a step's status tracking string, or the program of a
/// whole process.
RUNS_API std::string stepMarker(const std::string& trackingStr, const std::string& kind);

/// ".Q.queue.rst", where Q is a flow's queue string, or its name: the run is queued.
RUNS_API std::string queueMarker(const std::string& queueStr);

/// The path of the marker `name` in `runDir`.
RUNS_API std::string markerPath(const std::string& runDir, const std::string& name);

/// Whether this program is the "tarnel" one, to which the markers ".tarnel.*" of a
/// whole process belong.
RUNS_API bool isTarnelProgram();

/// Finds the markers of one step: asks the disk once a name, and takes no memory
/// while paths stay short. It takes the program for the same as long as it lives.
class StepMarkerFinder {
public:
    /// Both must outlive the finder.
    StepMarkerFinder(RunPath& dir, const std::string& trackingStr);

    /// Looks for the marker `kind` that counts for the step: the form ".rst", else the
    /// form ".stp". For an error also the marker of the whole process, unless the
    /// step's end marker, as ".rst", is there. What can't be read is absent.
    bool find(std::string_view kind);

    /// Of the marker that find() found last: path, time of modification (s) and size
    /// (bytes).
    std::string path() const;
    long stamp() const { return m_stamp; }
    long size() const { return m_size; }
    /// Whether it is the step's own, as ".rst".
    bool isPlain() const { return m_isPlain; }

    /// Removes the marker `kind` that find() finds. The program "tarnel" then removes that
    /// of its process too, of any kind. False only if the first of them can't be removed.
    bool remove(std::string_view kind);
    /// That of "begin", "end" and "error", until one is false.
    bool removeAll();

private:
    bool look_(std::string_view word, std::string_view kind, std::string_view suffix);
    bool isTarnel_();

    RunPath& m_dir;
    const std::string& m_trackingStr;
    std::optional<bool> m_isTarnel;
    /// Of the marker that was found.
    std::string_view m_word;
    std::string_view m_kind;
    std::string_view m_suffix;
    long m_stamp = 0;
    long m_size = 0;
    bool m_isPlain = false;
};

/// What the markers of a step say.
struct StepState {
    int code = 0;            ///< a HDGUIStatus::Code
    long startStamp = 0;     ///< time of the begin marker (s), 0 without one
    long endStamp = 0;       ///< time of the end or error marker (s), 0 without one
    bool hasHandle = false;  ///< whether the begin marker, as ".rst", has content
};

/// The one place that goes from markers to a status code. End or error without begin
/// isn't started, and end beats error; what can't change the code isn't looked at.
RUNS_API StepState readStepState(const std::string& runDir, const std::string& trackingStr);

}  // namespace xperiment
