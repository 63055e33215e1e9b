// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <vector>

#include "environment/process/clock.h"

namespace test {

/// A clock on which waiting takes no time, in use while the object lives.
class FakeClock final : public process::Clock {
public:
    FakeClock() { process::setClock(this); }
    ~FakeClock() override { process::setClock(nullptr); }

    FakeClock(const FakeClock&) = delete;
    FakeClock& operator=(const FakeClock&) = delete;

    long nowMs() override { return m_now; }
    void sleepMs(long ms) override;

    /// Called at each wait, once the time has passed.
    void onSleep(std::function<void()> action) { m_action = std::move(action); }

    /// The waits so far, in milliseconds.
    const std::vector<long>& sleeps() const { return m_sleeps; }

private:
    std::vector<long> m_sleeps;
    std::function<void()> m_action;
    long m_now = 0;
};

}  // namespace test
