// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/RunsExport.h"

/// The names of the marker files in a run directory, and what they say.
///
/// Markers are how a launched run, which may be on another host, tells of its
/// progress. All of them lie directly in the run directory. `runDir` is a path
/// without a separator at its end; names are without the directory.
namespace xperiment {

/// Asks the helper scripts of a run to stop it; empty.
constexpr const char* stopMarker = ".stop.rst";

/// `runDir`, the host's separator, `name`.
RUNS_API std::string markerPath(const std::string& runDir, const std::string& name);

/// ".T.kind.rst", where T is a step's status tracking string, or the program of the
/// whole process, and `kind` is "begin", "end" or "error".
RUNS_API std::string stepMarker(const std::string& trackingStr, const std::string& kind);

/// ".T.kind.stp": counts where the form above isn't there.
RUNS_API std::string alternativeStepMarker(const std::string& trackingStr, const std::string& kind);

/// ".Q.queue.rst", where Q is a flow's queue string, or its name: the run is queued.
RUNS_API std::string queueMarker(const std::string& queueStr);

/// The program in the name of the process's own markers: "tarnel" when this program
/// is that one, otherwise "ridgeLine".
RUNS_API bool runsInTarnel();
RUNS_API const char* processWord();

/// Which markers a step was found to have; `end` and `error` aren't looked at
/// without `begin`, nor `error` with `end`.
struct StepMarkers {
    bool begin = false;
    bool end = false;
    bool error = false;
};

/// The status code (HDGUIStatus::Code) that they give: end or error without begin is
/// not started, and end beats error.
RUNS_API int statusCode(const StepMarkers& found);

/// The marker `kind` that counts as present for a step, found with one look at each
/// name. Without one it is false, and `path` and `stamp` stay as they were; either
/// may be null. The error marker of the process stands in for the step's own unless
/// the step's end marker, with ".rst", is there. A marker that can't be read is absent.
RUNS_API bool findMarker(const std::string& runDir, const std::string& trackingStr,
                         const char* kind, std::string* path, long* stamp);

}  // namespace xperiment
