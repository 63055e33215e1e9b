// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace shell {

/// Columns and rows of tiles of the device `name`, from its chip database in `folder`;
/// nothing for a device that isn't known or whose database is missing.
std::optional<std::pair<int, int>> deviceGrid(const std::string& name, const std::string& folder);

}  // namespace shell
