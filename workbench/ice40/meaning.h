// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

/// What a file means to the tools, as a SHA-1 that stays when comments, blanks and line
/// numbers change, and changes with everything else.
namespace ice40 {

/// Of the RTLIL that yosys writes of sources which it has read and whose hierarchy it has
/// resolved. Where something stands in its source, in which order that makes yosys write it,
/// and how far its counter was, doesn't count. Memory contents count.
std::string elaborationMeaning(const std::string& rtlil);

/// Of a yosys JSON netlist; empty when `text` is none. Its creator, the places in the source,
/// and the line numbers in the names of nets that yosys made up don't count.
std::string netlistMeaning(const std::string& text);

/// Of pin constraints: the words of each line, in order.
std::string constraintsMeaning(const std::string& pcf);

/// `name` without the line numbers that yosys puts into names of its own:
/// "$add$a.v:12$3" and "$add$a.v:12.5-12.9$3" become "$add$a.v:$3".
std::string withoutLineNumbers(const std::string& name);

}  // namespace ice40
