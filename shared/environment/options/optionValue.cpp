// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/optionValue.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

namespace options {

namespace {

/// All of `text` as a decimal number; nothing before or behind it.
bool parseLong(const std::string& text, long& number) {
    const char* first = text.c_str();
    const bool startsLikeNumber = *first == '-' || (*first >= '0' && *first <= '9');
    char* last = nullptr;
    errno = 0;
    const long parsed = std::strtol(first, &last, 10);
    if (!startsLikeNumber || last == first || last != first + text.size() || errno == ERANGE)
        return false;
    number = parsed;
    return true;
}

std::string join(const HSTSList<std::string>& elements) {
    std::string text;
    for (const std::string& element : elements) {
        if (!text.empty())
            text += ' ';
        text += element;
    }
    return text;
}

HSTSList<std::string> split(const std::string& text) {
    HSTSList<std::string> elements;
    std::size_t first = text.find_first_not_of(' ');
    while (first != std::string::npos) {
        const std::size_t last = text.find(' ', first);
        elements.push_back(text.substr(first, last - first));
        first = text.find_first_not_of(' ', last);
    }
    return elements;
}

}  // namespace

OptionValue fromBool(bool value) {
    OptionValue result;
    result.number = value ? 1 : 0;
    return result;
}

OptionValue fromInt(int value) {
    OptionValue result;
    result.number = value;
    return result;
}

OptionValue fromLong(long value) {
    OptionValue result;
    result.number = value;
    result.text = std::to_string(value);
    return result;
}

OptionValue fromText(const std::string& text) {
    OptionValue result;
    result.text = text;
    return result;
}

OptionValue fromElements(const HSTSList<std::string>& elements) {
    OptionValue result;
    result.text = join(elements);
    result.elements = elements;
    return result;
}

bool parseText(HATAttrTypes::AttrType type, const std::string& text, OptionValue& value) {
    if (!hasText(type))
        return false;
    if (type == HATAttrTypes::kLong) {
        long number = 0;
        if (!parseLong(text, number))
            return false;
        value = fromLong(number);
    } else if (type == HATAttrTypes::kStringList) {
        value = fromElements(split(text));
    } else {
        value = fromText(text);
    }
    return true;
}

OptionValue initialValue(HATAttrTypes::AttrType type) {
    return type == HATAttrTypes::kLong ? fromLong(0) : OptionValue();
}

bool hasText(HATAttrTypes::AttrType type) {
    return type != HATAttrTypes::kBool && type != HATAttrTypes::kInt;
}

}  // namespace options
