// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ctime>
#include <vector>

#include <benchmark/benchmark.h>

namespace bench {

/// What something takes and what its floor takes, both measured in turn piece by piece.
///
/// A machine that is busy with other things makes single pieces slow, and whole seconds. Of
/// processor time the median of pieces that lie side by side knows neither; of time on the
/// wall, in which the others' turns are, only the least.
class Pairs {
public:
    /// Processor time of this thread, or what a clock on the wall shows.
    enum Clock { kProcessor = CLOCK_THREAD_CPUTIME_ID, kWall = CLOCK_MONOTONIC };

    explicit Pairs(Clock clock) : m_clock(clock) {}

    template <class Work> void floor(Work work) { m_floors.push_back(time_(work)); }
    template <class Work> void measure(Work work) { m_measures.push_back(time_(work)); }

    /// Publishes medians or leasts, in microseconds a piece, and their ratio.
    void tell(benchmark::State& state) const;

private:
    template <class Work> double time_(Work& work) const {
        const double start = now_();
        work();
        return now_() - start;
    }
    double now_() const;
    double pick_(std::vector<double> values) const;

    Clock m_clock;
    std::vector<double> m_floors;
    std::vector<double> m_measures;
};

}  // namespace bench
