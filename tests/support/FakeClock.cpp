// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/support/FakeClock.h"

namespace test {

void FakeClock::sleepMs(long ms) {
    m_sleeps.push_back(ms);
    m_now += ms;
    if (m_action)
        m_action();
}

}  // namespace test
