// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/deviceGrid.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "workbench/ice40/devices.h"

namespace shell {

namespace {

/// The line stands among the first ones, before the long tables.
constexpr int kMostHeadLines = 1000;

}  // namespace

std::optional<std::pair<int, int>> deviceGrid(const std::string& name, const std::string& folder) {
    const auto& all = ice40::devices();
    const auto device =
        std::find_if(all.begin(), all.end(), [&name](const auto& one) { return one.name == name; });
    if (device == all.end())
        return std::nullopt;
    std::ifstream database(folder + "/" + device->database);
    std::string line;
    for (int i = 0; i < kMostHeadLines && std::getline(database, line); ++i) {
        std::istringstream words(line);
        std::string word;
        std::string id;
        int width = 0;
        int height = 0;
        if (words >> word >> id >> width >> height && word == ".device" && width > 0 && height > 0)
            return std::make_pair(width, height);
    }
    return std::nullopt;
}

}  // namespace shell
