// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace shell {

/// The page without data, as it is installed: "html/page.html".
/// @throws CommandError it can't be read; the text names it.
std::string pageTemplate();

/// `page` with `data`, a JSON text, in the place of the empty value in its element "xp-data",
/// such that nothing in it can end that element. @throws CommandError there is no such place.
std::string pageWith(const std::string& page, const std::string& data);

}  // namespace shell
