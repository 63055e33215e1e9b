// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

class HUTProcessHandle;

namespace process {

/// Reads a process handle (docs/formats/process-handle.md) from `content` into
/// the empty `record`. False, with `record` of no use, when it isn't one or
/// ends before it has told of a process. True when it has: then the record is
/// complete if all of it was there. Never throws for what `content` holds.
bool readHandle(const std::string& content, HUTProcessHandle& record);

}  // namespace process
