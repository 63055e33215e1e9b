// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/routerLines.h"

#include <cstdlib>
#include <cstring>

namespace workbench {

std::optional<long> numberAfter(const std::string& text, const char* head) {
    const std::size_t at = text.find(head);
    if (at == std::string::npos)
        return std::nullopt;
    const char* from = text.c_str() + at + std::strlen(head);
    char* end = nullptr;
    const long number = std::strtol(from, &end, 10);
    return end == from || number < 0 ? std::nullopt : std::optional<long>(number);
}

std::optional<long> arcsLeft(const std::string& line) {
    std::size_t at = line.compare(0, 6, "Info: ") == 0 ? 6 : 0;
    if (line.find_first_not_of("0123456789.|() ", at) != std::string::npos)
        return std::nullopt;
    for (int column = 0; column < 3; ++column) {
        at = line.find('|', at);
        if (at == std::string::npos)
            return std::nullopt;
        ++at;
    }
    const std::size_t end = line.find('|', at);
    return end == std::string::npos ? std::nullopt : numberAfter(line.substr(at, end - at), "");
}

}  // namespace workbench
