// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <nlohmann/json.hpp>

namespace ice40 {

/// Whether a module of a netlist is no more than the outside of a cell that the device has.
inline bool isBlackBox(const nlohmann::json& module) {
    const auto attributes = module.find("attributes");
    return attributes != module.end() && attributes->is_object() &&
           (attributes->contains("blackbox") || attributes->contains("whitebox"));
}

}  // namespace ice40
