// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/calendarTime.h"

#include <array>

namespace workbench {

namespace {

std::string formatted(const std::tm* parts, const char* format) {
    std::array<char, 64> text{};
    const std::size_t size =
        parts == nullptr ? 0 : std::strftime(text.data(), text.size(), format, parts);
    return {text.data(), size};
}

}  // namespace

std::string localTime(std::time_t time, const char* format) {
    std::tm parts{};
    return formatted(localtime_r(&time, &parts), format);
}

std::string utcTime(std::time_t time, const char* format) {
    std::tm parts{};
    return formatted(gmtime_r(&time, &parts), format);
}

}  // namespace workbench
