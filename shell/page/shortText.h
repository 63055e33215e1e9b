// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>

namespace shell {

/// `text` in at most `bytes` bytes of UTF-8: what is cut off ends with "…", and no character
/// is cut through.
std::string shortText(const std::string& text, std::size_t bytes);

}  // namespace shell
