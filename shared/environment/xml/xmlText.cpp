// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/xmlText.h"

#include <algorithm>

#include <fmt/format.h>
#include <libxml/tree.h>

namespace xml {

namespace {

using Byte = unsigned char;

/// A code point, and the bytes that it takes; length 0 when they aren't UTF-8.
struct CodePoint {
    unsigned value;
    std::size_t length;
};

constexpr CodePoint kNotUtf8 = {0, 0};

std::size_t lengthFromLead(Byte lead) {
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if ((lead & 0xF0) == 0xE0)
        return 3;
    return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

/// Refuses overlong forms, surrogates and what lies beyond Unicode.
bool isShortestForm(unsigned value, std::size_t length) {
    if (length == 3)
        return value >= 0x800 && (value < 0xD800 || value > 0xDFFF);
    return length != 4 || (value >= 0x10000 && value <= 0x10FFFF);
}

CodePoint codePointAt(const std::string& text, std::size_t at) {
    const Byte lead = static_cast<Byte>(text[at]);
    const std::size_t length = lengthFromLead(lead);
    if (length == 0 || length > text.size() - at)
        return kNotUtf8;
    unsigned value = length == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const Byte next = static_cast<Byte>(text[at + i]);
        if ((next & 0xC0) != 0x80)
            return kNotUtf8;
        value = value << 6 | (next & 0x3Fu);
    }
    return isShortestForm(value, length) ? CodePoint{value, length} : kNotUtf8;
}

/// Where the first run of plain ASCII characters from `at` on ends, or short of it:
/// most documents are nothing else, so it goes by blocks that the compiler can look
/// at as a whole.
std::size_t skipPlain(const std::string& text, std::size_t at) {
    constexpr std::size_t kBlock = 64;
    for (; text.size() - at >= kBlock; at += kBlock) {
        const char* const block = text.data() + at;
        unsigned char bad = 0;
        for (std::size_t i = 0; i < kBlock; ++i) {
            const auto c = static_cast<Byte>(block[i]);
            const auto blank = static_cast<Byte>((c == '\t') | (c == '\n') | (c == '\r'));
            bad |= static_cast<Byte>((c >= 0x80) | ((c < 0x20) & (blank ^ 1u)));
        }
        if (bad != 0)
            break;
    }
    return at;
}

bool isAllowed(unsigned value) {
    if (value < 0x20)
        return value == '\t' || value == '\n' || value == '\r';
    return value != 0xFFFE && value != 0xFFFF;
}

}  // namespace

std::size_t findInvalid(const std::string& text) {
    constexpr std::size_t kBetweenRuns = 64;
    std::size_t at = 0;
    while ((at = skipPlain(text, at)) < text.size()) {
        const std::size_t last = at + std::min(kBetweenRuns, text.size() - at);
        while (at < last) {
            const CodePoint point = codePointAt(text, at);
            if (point.length == 0 || !isAllowed(point.value))
                return at;
            at += point.length;
        }
    }
    return std::string::npos;
}

std::string describeInvalid(const std::string& text, std::size_t position) {
    const CodePoint point = codePointAt(text, position);
    if (point.length != 0)
        return fmt::format("the character U+{:04X}", point.value);
    return fmt::format("the byte 0x{:02X}, which isn't UTF-8", static_cast<Byte>(text[position]));
}

bool isLayout(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

bool isName(const std::string& name) {
    return findInvalid(name) == std::string::npos &&
           xmlValidateNCName(reinterpret_cast<const xmlChar*>(name.c_str()), 0) == 0;
}

}  // namespace xml
