// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace shell {

/// Adds `text` to `texts` unless it is among them.
inline void addOnce(const std::string& text, std::vector<std::string>& texts) {
    if (std::find(texts.begin(), texts.end(), text) == texts.end())
        texts.push_back(text);
}

}  // namespace shell
