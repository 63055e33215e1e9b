// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/HAXPTypes.h"

namespace xperiment {

/// Makes `type` the kind of the checkpoint that the step `stepId` leaves; false, with
/// `type` as it was, for a step that leaves none.
bool findCheckpointType(const std::string& stepId, HAXPTypes::FileType& type);

}  // namespace xperiment
