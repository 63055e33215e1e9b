// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

/// Comparison of names and ids.
class ENVIRONMENT_API HSTStrUtils {
public:
    HSTStrUtils() = delete;

    /// Whether both are equal ignoring the case of ASCII letters.
    static bool equalToCI(const std::string& a, const std::string& b);
};
