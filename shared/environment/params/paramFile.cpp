// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/params/paramFile.h"

#include <cstddef>
#include <sstream>

namespace paramFile {

namespace {

const char kBlanks[] = " \t\r";

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos)
        return "";
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace

HSTVector<Line> parse(const std::string& content, HSTVector<int>& malformed) {
    HSTVector<Line> lines;
    std::istringstream stream(content);
    std::string text;
    for (int number = 1; std::getline(stream, text); ++number) {
        text = trimmed(text.substr(0, text.find('#')));
        if (text.empty())
            continue;
        const std::size_t sign = text.find('=');
        const std::string name = trimmed(text.substr(0, sign));
        if (sign == std::string::npos || name.empty())
            malformed.push_back(number);
        else
            lines.push_back({number, name, trimmed(text.substr(sign + 1))});
    }
    return lines;
}

}  // namespace paramFile
