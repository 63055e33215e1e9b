// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/jsonOutput.h"

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace shell {

void printJson(const nlohmann::json& json) {
    fmt::print("{}\n", json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
}

void addJsonFlag(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "For scripts: JSON");
}

nlohmann::json numberJson(double number) {
    const auto whole = static_cast<long>(number);
    return static_cast<double>(whole) == number ? nlohmann::json(whole) : nlohmann::json(number);
}

nlohmann::json textOrNull(const std::string& text) {
    return text.empty() ? nlohmann::json() : nlohmann::json(text);
}

nlohmann::json numberOrNull(long number) {
    return number == 0 ? nlohmann::json() : nlohmann::json(number);
}

}  // namespace shell
