// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/printable.h"

#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "environment/strings/HI18N.h"

namespace workbench {

namespace {

struct Range {
    wchar_t first;
    wchar_t last;
};

/// Control characters, what turns the direction of writing, what has no width, and
/// what is no character.
constexpr Range kHidden[] = {
    {0x00, 0x1F},     {0x7F, 0x9F},     {0xAD, 0xAD},     {0x34F, 0x34F},   {0x61C, 0x61C},
    {0x115F, 0x1160}, {0x17B4, 0x17B5}, {0x180B, 0x180F}, {0x200B, 0x200F}, {0x2028, 0x202E},
    {0x2060, 0x206F}, {0x3164, 0x3164}, {0xD800, 0xF8FF}, {0xFDD0, 0xFDEF}, {0xFE00, 0xFE0F},
    {0xFEFF, 0xFEFF}, {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFFB}, {0xFFFD, 0xFFFF}, {0xE0000, 0x10FFFF}};

bool isHidden(wchar_t c) {
    const auto* range =
        std::lower_bound(std::begin(kHidden), std::end(kHidden), c,
                         [](const Range& one, wchar_t value) { return one.last < value; });
    return range != std::end(kHidden) && range->first <= c;
}

/// What stays as it is and is a character of its own.
bool isShownAsIs(char c, bool keepsLines) {
    return (c >= ' ' && c <= '~') || (keepsLines && (c == '\n' || c == '\t'));
}

std::string escaped(wchar_t c) {
    switch (c) {
    case L'\n':
        return "\\n";
    case L'\r':
        return "\\r";
    case L'\t':
        return "\\t";
    default:
        return c < 0x100 ? fmt::format("\\x{:02x}", static_cast<unsigned>(c))
                         : fmt::format("\\u{{{:x}}}", static_cast<unsigned>(c));
    }
}

void appendEscaped(const std::string& text, std::string& shown) {
    std::wstring visible;
    for (const wchar_t c : HI18N::convert(text)) {
        if (!isHidden(c)) {
            visible += c;
            continue;
        }
        shown += HI18N::convert(visible);
        visible.clear();
        shown += escaped(c);
    }
    shown += HI18N::convert(visible);
}

/// Most of a text is plain, and is taken in whole stretches.
std::string makePrintable(const std::string& text, bool keepsLines) {
    std::string shown;
    shown.reserve(text.size());
    const auto plain = [keepsLines](char c) { return isShownAsIs(c, keepsLines); };
    for (auto at = text.begin(); at != text.end();) {
        const auto other = std::find_if_not(at, text.end(), plain);
        shown.append(at, other);
        at = std::find_if(other, text.end(), plain);
        if (at != other)
            appendEscaped({other, at}, shown);
    }
    return shown;
}

}  // namespace

std::string printable(const std::string& text) {
    return makePrintable(text, false);
}

std::string printableLines(const std::string& text) {
    return makePrintable(text, true);
}

}  // namespace workbench
