// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/suggestion.h"

namespace shell {

std::string hintFor(const std::string& typed, const std::vector<std::string>& known,
                    const std::string& otherwise) {
    const std::string meant = suggestionFor(typed, known);
    return meant.empty() ? otherwise : "Did you mean '" + meant + "'?";
}

}  // namespace shell
