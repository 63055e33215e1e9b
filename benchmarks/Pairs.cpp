// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "benchmarks/Pairs.h"

#include <algorithm>
#include <cstddef>

namespace bench {

void Pairs::tell(benchmark::State& state) const {
    constexpr double kMicro = 1e6;
    const double floor = pick_(m_floors);
    const double measure = pick_(m_measures);
    state.counters["floor_us"] = floor * kMicro;
    state.counters["us"] = measure * kMicro;
    state.counters["ratio"] = floor > 0 ? measure / floor : 0;
}

double Pairs::pick_(std::vector<double> values) const {
    if (values.empty())
        return 0;
    const std::size_t at = m_clock == kWall ? 0 : values.size() / 2;
    const auto chosen = values.begin() + static_cast<std::ptrdiff_t>(at);
    std::nth_element(values.begin(), chosen, values.end());
    return *chosen;
}

double Pairs::now_() const {
    constexpr double kNano = 1e-9;
    timespec time{};
    clock_gettime(static_cast<clockid_t>(m_clock), &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * kNano;
}

}  // namespace bench
