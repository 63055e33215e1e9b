// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <vector>

class HAXPExpRun;

namespace test {

/// Pointers as those to runs of a concrete class are, for code that never looks behind
/// them.
class StandInRuns {
public:
    explicit StandInRuns(std::size_t count) : m_places(count) {}

    HAXPExpRun* operator[](int index) const {
        return reinterpret_cast<HAXPExpRun*>(&m_places[static_cast<std::size_t>(index)]);
    }

private:
    struct alignas(16) Place {
        char bytes[16] = {};
    };

    mutable std::vector<Place> m_places;
};

}  // namespace test
