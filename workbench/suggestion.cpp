// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/suggestion.h"

#include <algorithm>
#include <cstddef>

namespace workbench {

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

std::string withHint(const std::string& typed, const std::string& known) {
    std::vector<std::string> names;
    for (std::size_t at = 0; at < known.size();) {
        const std::size_t end = std::min(known.find(", ", at), known.size());
        names.push_back(known.substr(at, end - at));
        const std::size_t dot = names.back().rfind('.');
        if (dot != std::string::npos)
            names.push_back(names.back().substr(dot + 1));
        at = end + 2;
    }
    const std::string meant = suggestionFor(typed, names);
    return known + "." + (meant.empty() ? "" : " Did you mean '" + meant + "'?");
}

std::string listOfNames(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ", ") + name;
    return list.empty() ? "none" : list;
}

std::string sentence(const std::string& text) {
    return !text.empty() && (text.back() == '?' || text.back() == '.') ? text : text + ".";
}

}  // namespace workbench
