// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

namespace process {

/// The name of the user with that number, as the host knows it; empty when it doesn't. Who has
/// one is asked for once: the host's answer may come from far away.
ENVIRONMENT_API std::string userName(long uid);

}  // namespace process
