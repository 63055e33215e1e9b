// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/strings/HUTConvert.h"

#include <charconv>

bool HUTConvert::stringToInteger(const std::string& text, int& value) {
    const char* first = text.data();
    const char* const last = first + text.size();
    if (last - first > 1 && *first == '+' && first[1] != '-')
        ++first;
    int number = 0;
    const auto result = std::from_chars(first, last, number);
    if (result.ec != std::errc() || result.ptr != last)
        return false;
    value = number;
    return true;
}
