// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

/// Texts of generated scripts and their quoting.
namespace xperiment {

/// A name and what stands for it.
using Value = std::pair<std::string_view, std::string_view>;

/// `text` with each `@{name}` replaced by the value of that name. A value goes in as
/// it is: placeholders inside it stay. A name without a value stays too.
std::string fill(std::string_view text, std::initializer_list<Value> values);

/// `text` as the inside of a JScript string: a backslash before each backslash and
/// each double quote.
std::string escapeJs(std::string_view text);

/// `text` between two double quotes, with nothing escaped.
std::string quoted(std::string_view text);

}  // namespace xperiment
