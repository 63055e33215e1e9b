// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>

/// The numbers in what nextpnr's routers print.
namespace workbench {

/// The whole number behind `head` in `text`, which may have blanks before it; nothing for one
/// below 0.
std::optional<long> numberAfter(const std::string& text, const char* head);

/// The arcs that are left in a row of the first router's table, with or without "Info: ": its
/// fourth column. Nothing for another line.
std::optional<long> arcsLeft(const std::string& line);

}  // namespace workbench
