// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "shell/terminal.h"

class HAXPExpRun;
class HAXPExpRunStep;
class HAXPFlow;
class Project;

namespace workbench {
struct LaunchLease;
}

/// What xp shows of a run, for people and for scripts.
namespace shell {

/// "synth" or "impl".
std::string flowWord(const HAXPExpRun& run);

/// The flow called so. @throws CommandError there is none.
const HAXPFlow& flowOf(const std::string& word);

/// One of "not started", "queued", "running", "unknown", "done", "failed", "lost" and
/// "stopped". A lost run's processes went away in the middle of a step, a stopped one's
/// between two steps; of an unknown one that can't be told.
std::string statusWord(const HAXPExpRun& run);

/// How a status, as statusWord() gives it, looks in colours.
Style statusStyle(const std::string& word);

bool isRunning(const HAXPExpRun& run);
bool isDone(const HAXPExpRun& run);
/// Whether it failed, was lost or stopped.
bool hasFailed(const HAXPExpRun& run);

/// The id of the step that the status is about: the running or failed one, else the
/// last that began; empty when none did.
std::string stepWord(const HAXPExpRun& run);

std::vector<std::string> namesOf(const std::vector<HAXPExpRun*>& runs);
/// "a, b and 7 more".
std::string namesText(const std::vector<HAXPExpRun*>& runs);

/// Where a run stopped: " in place_design", or " before place_design".
std::string stopPlace(const HAXPExpRun& run);

/// Why a rule gave `run` up; empty for every other.
std::string abandonedText(const HAXPExpRun& run);

/// What became of a run that was lost or stopped, or may be, what speaks for that, and
/// what can be done; empty for every other.
std::string adviceFor(const HAXPExpRun& run);

/// Looks whether those of `runs` still live of which the markers leave that open; it may
/// take a minute for each that isn't on this host.
void lookForLife(const std::vector<HAXPExpRun*>& runs);

/// The steps of `run` that a launch runs, in order.
std::vector<const HAXPExpRunStep*> stepsOf(const HAXPExpRun& run);

const std::string& idOf(const HAXPExpRunStep& step);

/// Whether the launch of `lease` found `step` done and left it so.
bool isKept(const workbench::LaunchLease& lease, const HAXPExpRunStep& step);

std::string logPath(const HAXPExpRun& run);
/// The bitstream of an implementation that has written it; else empty.
std::string bitstreamPath(const HAXPExpRun& run);

/// The table of `runs`, and the same as JSON, with what lookForLife() saw.
std::string statusTable(const Project& project, const std::vector<HAXPExpRun*>& runs);
nlohmann::json statusJson(const Project& project, const std::vector<HAXPExpRun*>& runs);

}  // namespace shell
