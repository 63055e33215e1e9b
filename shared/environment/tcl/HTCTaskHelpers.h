// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

/// Helpers of code that writes Tcl.
class ENVIRONMENT_API HTCTaskHelpers {
public:
    HTCTaskHelpers() = delete;

    /// `path` as one word of a Tcl script: evaluating the word gives `path`
    /// again, byte for byte, whatever it holds. A path without characters that
    /// mean something to Tcl stays as it is. The word never spans lines.
    /// @throws HEXDataException `path` holds a zero byte.
    static std::string exportPathForTcl(const std::string& path);
};
