// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace ice40 {

/// The value that `text` is in JSON, in UTF-8. Where it isn't JSON or is cut short, a value that
/// is_discarded(), as json::parse() gives it without its exceptions. The same values as from
/// there, and the last of members of one name, in a fraction of the time: pages and reports read
/// thousands of such files. A zero byte ends nothing.
nlohmann::json parseJson(std::string_view text);

/// The same, but of an object at the top only the members that are `wanted`. What is left out is
/// JSON all the same, or all is discarded.
nlohmann::json parseJson(std::string_view text, const std::vector<std::string>& wanted);

}  // namespace ice40
