// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>

namespace xml {

/// Where `text` first holds what no XML document can: bytes that aren't UTF-8,
/// or a character that XML doesn't allow, such as most control characters.
/// std::string::npos when it is all right.
std::size_t findInvalid(const std::string& text);

/// What stands at `position`, in words: "the character U+0007" or "the byte
/// 0xFF, which isn't UTF-8".
std::string describeInvalid(const std::string& text, std::size_t position);

/// Whether `text` is all blanks, tabs and line ends; true when it is empty.
bool isLayout(const std::string& text);

/// Whether `name` can name an element or an attribute, without a prefix.
bool isName(const std::string& name);

}  // namespace xml
