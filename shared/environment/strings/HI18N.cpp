// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/strings/HI18N.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLast = 0x10FFFF;

bool isScalar(char32_t c) {
    return c <= kLast && (c < 0xD800 || c > 0xDFFF);
}

char continuation(char32_t bits) {
    return static_cast<char>(0x80 | (bits & 0x3F));
}

void append(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += continuation(c);
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += continuation(c >> 6);
        out += continuation(c);
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += continuation(c >> 12);
        out += continuation(c >> 6);
        out += continuation(c);
    }
}

/// What a first byte says of its sequence: length and smallest code point.
struct Lead {
    int length;
    char32_t bits;
    char32_t smallest;
};

Lead readLead(unsigned char byte) {
    if (byte < 0x80)
        return {1, byte, 0};
    if (byte >= 0xC2 && byte < 0xE0)
        return {2, byte & 0x1FU, 0x80};
    if (byte >= 0xE0 && byte < 0xF0)
        return {3, byte & 0x0FU, 0x800};
    if (byte >= 0xF0 && byte < 0xF5)
        return {4, byte & 0x07U, 0x10000};
    return {0, 0, 0};
}

/// The code point at `at`, which moves behind it; one byte when it isn't valid.
char32_t take(const std::string& text, std::string::size_type& at) {
    const std::string::size_type begin = at++;
    const Lead lead = readLead(static_cast<unsigned char>(text[begin]));
    if (lead.length == 0 || begin + static_cast<unsigned>(lead.length) > text.size())
        return kReplacement;
    char32_t c = lead.bits;
    for (int i = 1; i < lead.length; ++i) {
        const auto byte = static_cast<unsigned char>(text[begin + static_cast<unsigned>(i)]);
        if ((byte & 0xC0) != 0x80)
            return kReplacement;
        c = (c << 6) | (byte & 0x3FU);
    }
    if (c < lead.smallest || !isScalar(c))
        return kReplacement;
    at = begin + static_cast<unsigned>(lead.length);
    return c;
}

}  // namespace

std::string HI18N::convert(const std::wstring& wide) {
    std::string narrow;
    narrow.reserve(wide.size());
    for (const wchar_t w : wide) {
        const auto c = static_cast<char32_t>(w);
        append(narrow, isScalar(c) ? c : kReplacement);
    }
    return narrow;
}

std::wstring HI18N::convert(const std::string& narrow) {
    std::wstring wide;
    wide.reserve(narrow.size());
    for (std::string::size_type at = 0; at < narrow.size();)
        wide += static_cast<wchar_t>(take(narrow, at));
    return wide;
}
