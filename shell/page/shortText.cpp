// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/shortText.h"

namespace shell {

namespace {

const char kMore[] = "…";

/// Whether the byte goes on a character that began before it.
bool isInside(char c) {
    return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U;
}

}  // namespace

std::string shortText(const std::string& text, std::size_t bytes) {
    if (text.size() <= bytes)
        return text;
    const std::size_t more = sizeof kMore - 1;
    std::size_t end = bytes > more ? bytes - more : 0;
    while (end > 0 && isInside(text[end]))
        --end;
    return text.substr(0, end) + kMore;
}

}  // namespace shell
