// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/scriptText.h"

#include <algorithm>

namespace xperiment {

std::string fill(std::string_view text, std::initializer_list<Value> values) {
    std::string out;
    out.reserve(text.size() + 256);
    while (true) {
        const std::size_t begin = text.find("@{");
        const std::size_t end = begin == text.npos ? text.npos : text.find('}', begin);
        if (end == text.npos)
            return out.append(text);
        const std::string_view name = text.substr(begin + 2, end - begin - 2);
        const auto value = std::find_if(values.begin(), values.end(),
                                        [name](const Value& entry) { return entry.first == name; });
        out.append(text.substr(0, begin));
        out.append(value == values.end() ? text.substr(begin, end + 1 - begin) : value->second);
        text.remove_prefix(end + 1);
    }
}

std::string escapeJs(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 16);
    for (const char c : text) {
        if (c == '\\' || c == '"')
            out += '\\';
        out += c;
    }
    return out;
}

std::string quoted(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    return out.append(1, '"').append(text).append(1, '"');
}

}  // namespace xperiment
