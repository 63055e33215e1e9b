// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <limits>

#include <nlohmann/json.hpp>

namespace ice40 {

/// Takes a whole number that `Whole`, a signed type, can hold. False, with `number` as it
/// was, for anything else.
template <class Whole> bool getWhole(const nlohmann::json& value, Whole& number) {
    using Limits = std::numeric_limits<Whole>;
    if (value.is_number_unsigned()) {
        if (value.get<unsigned long long>() > static_cast<unsigned long long>(Limits::max()))
            return false;
    } else if (!value.is_number_integer() || value.get<long long>() < Limits::min() ||
               value.get<long long>() > Limits::max()) {
        return false;
    }
    number = value.get<Whole>();
    return true;
}

/// How many of something a design may have: sums of counts stay numbers.
inline bool isCount(long number) {
    constexpr long kMost = 1000000000000;
    return number >= 0 && number <= kMost;
}

/// Takes a whole number that can be a count; false for anything else.
inline bool getCount(const nlohmann::json& value, long& count) {
    return getWhole(value, count) && isCount(count);
}

/// Whether a clock can have this frequency: below a kilohertz it would be written as 0.
inline bool isFrequency(double mhz) {
    constexpr double kLeast = 1e-3;
    constexpr double kMost = 1e6;
    return mhz >= kLeast && mhz <= kMost;
}

}  // namespace ice40
