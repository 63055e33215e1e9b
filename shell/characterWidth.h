// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>

namespace shell {

/// How many columns of a terminal a character takes: 0 for one that joins the one before it, 2
/// for a wide one such as those of Chinese, else 1. The same in every locale.
int widthOf(char32_t character);

/// A character of a text in UTF-8.
struct Character {
    std::size_t bytes;
    int columns;
};

/// The character that begins at `at`, which is within `text`. A byte that begins none counts
/// as one of one column.
Character characterAt(const std::string& text, std::size_t at);

}  // namespace shell
