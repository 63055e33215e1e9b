// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/clock.h"

#include <chrono>
#include <thread>

namespace process {

namespace {

class RealClock final : public Clock {
public:
    long nowMs() override {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        return static_cast<long>(
            std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
    }
    void sleepMs(long ms) override { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }
};

RealClock theRealClock;
Clock* sp_clock = nullptr;

}  // namespace

Clock::~Clock() = default;

Clock& clock() {
    return sp_clock != nullptr ? *sp_clock : theRealClock;
}

void setClock(Clock* other) {
    sp_clock = other;
}

}  // namespace process
