// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/optionText.h"

#include <CLI/App.hpp>

namespace shell {

std::vector<std::string> namesOf(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames())
        names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

bool takesValue(const CLI::Option& option) {
    return option.get_items_expected_max() > 0;
}

bool takesSeveral(const CLI::Option& option) {
    return option.get_items_expected_max() > 1;
}

std::string valueWord(const CLI::Option& option) {
    if (!takesValue(option))
        return {};
    std::string word = option.get_type_name();
    // What checks the value has put its conditions behind the type.
    word = word.substr(0, word.find_first_of(": "));
    return word.empty() ? "VALUE" : word;
}

}  // namespace shell
