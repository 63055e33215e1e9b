// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/setting.h"

#include <fmt/format.h>

#include "shell/exitStatus.h"

namespace shell {

std::vector<Setting> readSettings(const std::vector<std::string>& words) {
    std::vector<Setting> settings;
    for (const std::string& word : words) {
        const std::size_t sign = word.find('=');
        if (sign == std::string::npos || sign == 0)
            throw CommandError(
                kExitUsage,
                fmt::format("'{}' sets nothing. Say option=value, for example seed=7.", word));
        settings.push_back({word.substr(0, sign), word.substr(sign + 1)});
    }
    return settings;
}

}  // namespace shell
