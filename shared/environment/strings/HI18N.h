// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

/// Conversion between wide strings, one Unicode code point a character, and
/// the environment's narrow strings, UTF-8. The locale plays no part.
class ENVIRONMENT_API HI18N {
public:
    HI18N() = delete;

    /// A code point that UTF-8 can't hold becomes U+FFFD.
    static std::string convert(const std::wstring& wide);

    /// A byte that isn't part of valid UTF-8 becomes U+FFFD.
    static std::wstring convert(const std::string& narrow);
};
