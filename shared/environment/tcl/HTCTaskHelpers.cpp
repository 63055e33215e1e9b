// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/tcl/HTCTaskHelpers.h"

#include <algorithm>
#include <vector>

#include <tcl.h>

#include "environment/errors/HEXDataException.h"

namespace {

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20;
}

}  // namespace

std::string HTCTaskHelpers::exportPathForTcl(const std::string& path) {
    if (path.find('\0') != std::string::npos)
        throw HEXDataException("A path can't hold a zero byte: \"" + path + "\"");
    const int length = static_cast<int>(path.size());
    int flags = 0;
    const int room = Tcl_ScanCountedElement(path.data(), length, &flags);
    // Braces would keep a line end as it is and make two lines of the word.
    if (std::any_of(path.begin(), path.end(), isControl))
        flags |= TCL_DONT_USE_BRACES;
    std::vector<char> word(static_cast<std::size_t>(room) + 1 + 2 * path.size());
    const int used = Tcl_ConvertCountedElement(path.data(), length, word.data(), flags);
    return {word.data(), static_cast<std::size_t>(used)};
}
