// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

/// Operations on strings. Case is that of ASCII, whatever the locale; other
/// bytes compare as they are.
class ENVIRONMENT_API HSTStringUtils {
public:
    HSTStringUtils() = delete;

    /// Whether both are equal ignoring case.
    static bool iequals(const std::string& a, const std::string& b);

    /// Turns `text` into lower case, in place.
    static void to_lower(std::string& text);

    /// Turns `text` into upper case, in place.
    static void to_upper(std::string& text);

    /// Makes `out` the decimal text of `value`.
    static void constructFromInt(std::string& out, int value);
};
