// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace CLI {
class App;
}

/// JSON on standard output, for scripts.
namespace shell {

/// Names and paths that aren't UTF-8 don't stop it.
void printJson(const nlohmann::json& json);

/// Adds "--json" to a verb, which sets `json`.
void addJsonFlag(CLI::App& command, bool& json);

/// A number for programs and scripts: without decimals where it is whole.
nlohmann::json numberJson(double number);

/// null for what is empty, or 0, since nothing is known of it.
nlohmann::json textOrNull(const std::string& text);
nlohmann::json numberOrNull(long number);

}  // namespace shell
