// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/strings/HSTStringUtils.h"

#include <algorithm>

namespace {

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace

bool HSTStringUtils::iequals(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                              [](char x, char y) { return lower(x) == lower(y); });
}

void HSTStringUtils::to_lower(std::string& text) {
    std::transform(text.begin(), text.end(), text.begin(), lower);
}

void HSTStringUtils::to_upper(std::string& text) {
    std::transform(text.begin(), text.end(), text.begin(), upper);
}

void HSTStringUtils::constructFromInt(std::string& out, int value) {
    out = std::to_string(value);
}
