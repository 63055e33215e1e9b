// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

/// Conversion between texts and numbers.
class ENVIRONMENT_API HUTConvert {
public:
    HUTConvert() = delete;

    /// Reads a whole decimal number with an optional sign. False, with `value`
    /// as it was, for an empty text, anything around the number, or a number
    /// out of int's range.
    static bool stringToInteger(const std::string& text, int& value);
};
