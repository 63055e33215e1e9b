// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/suggestion.h"

#include <algorithm>
#include <cstddef>

namespace shell {

namespace {

/// The only name that begins with `typed`; empty when there are none or several.
std::string completionOf(const std::string& typed, const std::vector<std::string>& known) {
    std::string found;
    for (const std::string& name : known) {
        if (name.compare(0, typed.size(), typed) != 0)
            continue;
        if (!found.empty())
            return {};
        found = name;
    }
    return found;
}

}  // namespace

int editDistance(const std::string& a, const std::string& b) {
    std::vector<std::vector<int>> cost(a.size() + 1, std::vector<int>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                cost[i][j] = static_cast<int>(i + j);
                continue;
            }
            const int change = a[i - 1] == b[j - 1] ? 0 : 1;
            cost[i][j] =
                std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1, cost[i - 1][j - 1] + change});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
        }
    }
    return cost[a.size()][b.size()];
}

std::string suggestionFor(const std::string& typed, const std::vector<std::string>& known) {
    if (typed.empty())
        return {};
    std::string completion = completionOf(typed, known);
    if (!completion.empty())
        return completion;
    std::string best;
    // A third of the letters may be wrong, two at least: more is no slip.
    int least = std::max(2, static_cast<int>(typed.size()) / 3) + 1;
    for (const std::string& name : known) {
        const int distance = editDistance(typed, name);
        if (distance < least && distance < static_cast<int>(name.size())) {
            least = distance;
            best = name;
        }
    }
    return best;
}

std::string hintFor(const std::string& typed, const std::vector<std::string>& known,
                    const std::string& otherwise) {
    const std::string meant = suggestionFor(typed, known);
    return meant.empty() ? otherwise : "Did you mean '" + meant + "'?";
}

}  // namespace shell
