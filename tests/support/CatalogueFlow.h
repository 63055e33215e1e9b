// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

class HATOptGroup;
class HAXPFlow;
class HAXPStrategy;

namespace test {

/// A flow of the process's catalogue with the id `flowId`, made at the first call and
/// never destroyed: default steps "synth" and "place", an optional step "extra", each
/// with addEveryKind()'s options. "place" has attributes of further kinds: "EffortInt"
/// (int, 3), "LimitLong" (long, 4), "NoteFile" (file), "LevelEnum" (enum with the ids
/// "low" and "high" for "Low" and "High"; "Low").
HAXPFlow* catalogueFlow(const std::string& flowId = "kept_flow");

/// The value of the option or attribute with this database id, of whatever kind, as text.
std::string valueOf(const HATOptGroup* group, const std::string& dbId);

/// All that a file keeps of a strategy, as text to compare: flow, name, description,
/// and every value of its steps.
std::string contentOf(const HAXPStrategy& strategy);

}  // namespace test
