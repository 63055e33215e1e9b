// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

class HUTProcessHandle;

namespace process {

/// HUTProcessHandle::killRemoteProcess() through `command`.
bool endRemotely(const HUTProcessHandle& handle, const std::string& command, std::string& message);

}  // namespace process
